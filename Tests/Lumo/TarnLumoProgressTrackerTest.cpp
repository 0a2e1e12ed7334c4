#include "Lumo/TarnLumoProgressTracker.h"

#include <gmock/gmock.h>

#include <sstream>
#include <stdexcept>

#include "Support/TimePrinter.h"
#include "Support/TimelineBuilder.h"

namespace {

using namespace tarn::test;
using namespace testing;

using Log = std::vector<std::string>;

std::string secondsText(const CMTime& time) {
  std::ostringstream out;
  out << CMTimeGetSeconds(time);
  return out.str();
}

/// "+[a" a sequence that begins with ad a is entered, "-[a" left; "+a", "-a" the ad; "a@5" its progress.
std::string eventText(const TarnLumoProgressTrackerEvent& event) {
  const std::string ad = event.ad() ? event.ad()->adId().value_or("?") : "";
  const std::string sequence =
      event.adSequence() ? event.adSequence()->ads().front()->adId().value_or("?") : "";
  switch (event.type()) {
    case TarnLumoProgressTrackerEventTypeEnterAd:
      return "+" + ad;
    case TarnLumoProgressTrackerEventTypeExitAd:
      return "-" + ad;
    case TarnLumoProgressTrackerEventTypeEnterAdSequence:
      return "+[" + sequence;
    case TarnLumoProgressTrackerEventTypeExitAdSequence:
      return "-[" + sequence;
    default:
      return ad + "@" + secondsText(event.adProgress().value());
  }
}

/// A tracker with a log of its outputs, in order; content time reads "=12".
struct Watched {
  explicit Watched(std::shared_ptr<const TarnLumoTimeline> timeline)
      : tracker(std::make_shared<TarnLumoProgressTracker>(std::move(timeline))) {
    events = tracker->event().observe([this](const auto& event) { log.push_back(eventText(*event)); });
    times = tracker->contentTime().observe(
        [this](const CMTime& time) { log.push_back("=" + secondsText(time)); });
  }

  Log at(double time) { return at(seconds(time)); }
  Log at(CMTime time) {
    log.clear();
    tracker->setAbsoluteTime(time);
    return std::exchange(log, {});
  }

  /// Goes to the time at the start of each part of "5 =5, 6 =6", and returns that text with the real outputs.
  std::string travel(const std::string& journey) {
    std::string travelled;
    std::istringstream parts(journey);
    for (std::string part; std::getline(parts, part, ',');) {
      std::string time;
      std::istringstream(part) >> time;
      travelled += (travelled.empty() ? "" : ", ") + time;
      for (const auto& entry : at(std::stod(time))) travelled += " " + entry;
    }
    return travelled;
  }

  std::shared_ptr<TarnLumoProgressTracker> tracker;
  Log log;
  tarn::Token events;
  tarn::Token times;
};

// A cell is 10 s. The second ad of the first break is before a gap; two breaks touch at 60. Content time
// after all ads is the absolute time less the 50 s of ads: the gap counts as content.
//
//   absolute  0    10   20   30   40   50   60   70   80   90   100
//             |.   |a   |b   |-   |c   |d   |e   |.   |.   |.   |
constexpr std::string_view kDrawing = ".ab-cd|e...";

TEST(TarnLumoProgressTrackerTest, PublishesInOrder) {
  const std::pair<const char*, const char*> table[] = {
      {"on through everything, and back in content",
       "5 =5, 6 =6, 6 =6, 10 +[a +a a@0, 11 a@1, 11 a@1, 20 -a +b b@0, 30 -b -[a =20, 31 =11, 40 +[a +c c@0, "
       "59 -c +d d@9, 60 -d -[a +[e +e e@0, 70 -e -[e =30, 71 =21, 95 =45, 85 =35"},
      {"from an ad on over ads and breaks",
       "12 +[a +a a@2, 45 -a +c c@5, 69 -c -[a +[e +e e@9, 71 -e -[e =21"},
      {"from content over all breaks, and far back into an ad", "5 =5, 95 =45, 15 +[a +a a@5"},
      {"from content into an ad, and back into another", "5 =5, 65 +[e +e e@5, 15"},
      {"into a gap and out of it", "5 =5, 35 =15, 75 =25"},
      {"back in an ad, and on from where it was", "15 +[a +a a@5, 14, 16 a@6"},
      {"back from an ad into content", "15 +[a +a a@5, 5"},
      {"back by 4.9 s into an ad", "74 =24, 69.1"},
      {"back by a tick less than 5 s into an ad", "74 =24, 69.0017"},
      {"back by 5 s into an ad", "74 =24, 69 +[e +e e@9"},
      {"back by 4 s from a gap into an ad", "5 =5, 31 =11, 27"}};
  for (const auto& [situation, journey] : table) {
    Watched watched(drawTimeline(kDrawing, {.secondsPerCell = 10}));
    EXPECT_EQ(watched.travel(journey), journey) << situation;
  }
}

TEST(TarnLumoProgressTrackerTest, TakesEqualAdsOfDifferentBreaksForOne) {
  // The second break's ad c is made equal to the first one's ad a, and b ends the first break in its middle.
  Watched watched(drawTimeline(".aab|c.", {.secondsPerCell = 10, .editAd = [](char letter, auto& ad) {
                                             if (letter == 'a') return;
                                             ad.adId = "a";
                                             ad.beginTime = seconds(10);
                                             ad.duration = seconds(letter == 'b' ? 10 : 20);
                                           }}));
  const auto& sequences = watched.tracker->timeline()->adSequences();
  ASSERT_EQ(*sequences[0]->ads()[0], *sequences[1]->ads()[0]);
  EXPECT_EQ(watched.travel("15 +[a +a a@5, 25 a@15, 35 -a -[a =-15"),
            "15 +[a +a a@5, 25 a@15, 35 -a -[a =-15");
}

TEST(TarnLumoProgressTrackerTest, IgnoresTimesThatAreInvalid) {
  Watched watched(drawTimeline(kDrawing, {.secondsPerCell = 10}));
  EXPECT_THAT(watched.at(kCMTimeInvalid), IsEmpty());
  watched.at(15);
  EXPECT_THAT(watched.at(CMTime{16, 1, 0, 0}), IsEmpty());
  EXPECT_THAT(watched.at(17), ElementsAre("a@7"));
  EXPECT_THAT(watched.at(kCMTimePositiveInfinity), ElementsAre("-a", "-[a", "=inf"));
  EXPECT_THAT(watched.at(15), ElementsAre("+[a", "+a", "a@5")) << "back from infinity is a long way";

  Watched withoutTimeline(nullptr);
  EXPECT_THAT(withoutTimeline.at(5), IsEmpty());
}

TEST(TarnLumoProgressTrackerTest, SuspendedTakesTheFirstPositionOnlyAndComparesWithItLater) {
  Watched watched(drawTimeline(kDrawing, {.secondsPerCell = 10}));
  watched.tracker->setSuspendProgress(true);
  EXPECT_THAT(watched.at(5), ElementsAre("=5"));
  EXPECT_THAT(watched.at(15), IsEmpty());
  EXPECT_THAT(watched.at(95), IsEmpty());
  EXPECT_THAT(watched.tracker->absoluteTime(), SecondsEq(95));
  watched.tracker->setSuspendProgress(false);
  EXPECT_THAT(watched.log, IsEmpty());
  EXPECT_THAT(watched.at(16), ElementsAre("+[a", "+a", "a@6"));
}

TEST(TarnLumoProgressTrackerTest, LeavesOutThePropertiesOfWhatIsAbsent) {
  TarnLumoProgressTracker tracker(drawTimeline("a", {.secondsPerCell = 10}));
  EXPECT_THAT(tracker.contentTime().get(), IdenticalTo(kCMTimeNegativeInfinity));
  EXPECT_EQ(tracker.event().get(), nullptr);
  tracker.setAbsoluteTime(seconds(1));
  std::vector<std::string> keys;
  const auto properties = tracker.event().get()->properties();
  for (const auto& [key, value] : *properties) keys.push_back(key);
  EXPECT_THAT(keys, UnorderedElementsAre("kTarnLumoProgressTrackerEventPropertiesKeyAd",
                                         "kTarnLumoProgressTrackerEventPropertiesKeyAdProgress"));
}

TEST(TarnLumoProgressTrackerTest, FinishesAnUpdateBeforeOneThatAnObserverWrites) {
  Watched watched(drawTimeline(kDrawing, {.secondsPerCell = 10}));
  watched.at(5);
  bool jumped = false;
  const auto jump = watched.tracker->event().observe([&](const auto& event) {
    if (event->type() != TarnLumoProgressTrackerEventTypeEnterAd || std::exchange(jumped, true)) return;
    watched.tracker->setAbsoluteTime(seconds(20));
    watched.tracker->setAbsoluteTime(seconds(75));
  });
  EXPECT_THAT(watched.at(10), ElementsAre("+[a", "+a", "a@0", "-a", "+b", "b@0", "-b", "-[a", "=25"));
  EXPECT_THAT(watched.at(76), ElementsAre("=26"));
}

TEST(TarnLumoProgressTrackerTest, AnObserverMaySuspendFromWithinAnUpdate) {
  Watched watched(drawTimeline(kDrawing, {.secondsPerCell = 10}));
  watched.at(5);
  const auto suspend = watched.tracker->event().observe([&](const auto&) {
    watched.tracker->setSuspendProgress(true);
    watched.tracker->setAbsoluteTime(seconds(95));
  });
  EXPECT_THAT(watched.at(10), ElementsAre("+[a", "+a", "a@0"));
  EXPECT_THAT(watched.at(11), IsEmpty());
}

TEST(TarnLumoProgressTrackerTest, ContinuesAfterAPositionWhoseObserverThrows) {
  Watched watched(drawTimeline(kDrawing, {.secondsPerCell = 10}));
  const auto refuse = watched.tracker->event().observe([&](const auto& event) {
    if (event->type() != TarnLumoProgressTrackerEventTypeEnterAd) return;
    watched.tracker->setAbsoluteTime(seconds(95));
    throw std::runtime_error("refused");
  });
  EXPECT_THROW(watched.at(10), std::runtime_error);
  EXPECT_THAT(watched.at(11), ElementsAre("a@1"));
}

TEST(TarnLumoProgressTrackerTest, SurvivesAnObserverThatEndsItsObservationOrTheTracker) {
  Watched watched(drawTimeline(kDrawing, {.secondsPerCell = 10}));
  const auto end = watched.tracker->event().observe([&](const auto&) { watched.events.reset(); });
  EXPECT_THAT(watched.at(15), ElementsAre("+[a"));

  auto tracker = std::make_shared<TarnLumoProgressTracker>(drawTimeline(kDrawing, {.secondsPerCell = 10}));
  TarnLumoProgressTracker& last = *tracker;
  int events = 0;
  const auto drop = tracker->event().observe([&](const auto&) {
    ++events;
    tracker.reset();
  });
  last.setAbsoluteTime(seconds(15));
  EXPECT_EQ(events, 3);
}

TEST(TarnLumoProgressTrackerTest, RangesReachFromZeroToTheContentTimeOfTheirEndAndAreAnnouncedWhenChanged) {
  using Tracker = TarnLumoProgressTracker;
  using Ranges = Tracker::TimeRanges;
  const auto range = [](double start, double duration) {
    return CMTimeRange{seconds(start), seconds(duration)};
  };
  for (const auto& [name, write, content] :
       {std::tuple("seekable", &Tracker::setAbsoluteSeekableTimeRanges, &Tracker::contentSeekableTimeRanges),
        std::tuple("loaded", &Tracker::setAbsoluteLoadedTimeRanges, &Tracker::contentLoadedTimeRanges)}) {
    SCOPED_TRACE(name);
    Tracker tracker(drawTimeline(kDrawing, {.secondsPerCell = 10}));
    Log log;
    const auto token = (tracker.*content)().observe([&](const Ranges& ranges) {
      log.emplace_back(ranges ? "" : "none");
      for (const auto& each : ranges.value_or(std::vector<CMTimeRange>())) {
        EXPECT_THAT(each.start, IdenticalTo(kCMTimeZero));
        log.back() += secondsText(each.duration) + " ";
      }
    });
    const Ranges empty = std::vector<CMTimeRange>();
    const Ranges some = Ranges({range(10, 20), range(60, 15), range(0, 5)});
    for (const auto& ranges : {Ranges(), empty, empty, some, some, empty, Ranges(), Ranges()})
      (tracker.*write)(ranges);
    EXPECT_THAT(log, ElementsAre("", "10 15 5 ", "10 15 5 ", "", "none"));

    Tracker withoutTimeline(nullptr);
    (withoutTimeline.*write)(some);
    EXPECT_THAT((withoutTimeline.*content)().get()->front().duration, IdenticalTo(CMTime{}));
  }
}

}  // namespace
