#include "Lumo/TarnLumoProgressTracker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "Support/TimePrinter.h"
#include "Support/TimelineBuilder.h"

namespace {

using tarn::test::drawTimeline;
using tarn::test::IdenticalTo;
using tarn::test::seconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

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
    case TarnLumoProgressTrackerEventTypeAdProgress:
      return ad + "@" + secondsText(*event.adProgress());
  }
  return "unknown event";
}

/// A tracker with a log of what it publishes, in order; content time reads "=12".
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

  std::shared_ptr<TarnLumoProgressTracker> tracker;
  Log log;
  tarn::Token events;
  tarn::Token times;
};

// A cell is 10 s. The second ad of the first break stands before a gap; two breaks touch at 60. Content time
// behind all ads is the absolute time less the 50 s of ads: the gap counts as content.
//
//   absolute  0    10   20   30   40   50   60   70   80   90   100
//             |.   |a   |b   |-   |c   |d   |e   |.   |.   |.   |
constexpr std::string_view kDrawing = ".ab-cd|e...";

struct Move {
  const char* situation;
  std::vector<double> before;  ///< Positions that the tracker has seen.
  double to;
  Log published;
};

void PrintTo(const Move& move, std::ostream* out) {
  *out << move.situation;
}

class TrackerGrammar : public ::testing::TestWithParam<Move> {};

TEST_P(TrackerGrammar, PublishesInOrder) {
  Watched watched(drawTimeline(kDrawing, {.secondsPerCell = 10}));
  for (const double time : GetParam().before) watched.at(time);
  EXPECT_EQ(watched.at(GetParam().to), GetParam().published);
}

INSTANTIATE_TEST_SUITE_P(
    Moves, TrackerGrammar,
    ::testing::Values(
        Move{"first update in content", {}, 5, {"=5"}},
        Move{"first update in an ad", {}, 12, {"+[a", "+a", "a@2"}}, Move{"content advances", {5}, 6, {"=6"}},
        Move{"content repeats", {5}, 5, {"=5"}}, Move{"content goes back", {95}, 85, {"=35"}},
        Move{"into the first ad", {9}, 10, {"+[a", "+a", "a@0"}}, Move{"ad advances", {10}, 11, {"a@1"}},
        Move{"ad repeats", {11}, 11, {"a@1"}},
        Move{"into the next ad of the break", {19}, 20, {"-a", "+b", "b@0"}},
        Move{"over an ad of the break", {19}, 45, {"-a", "+c", "c@5"}},
        Move{"into a gap of the break", {29}, 30, {"-b", "-[a", "=20"}},
        Move{"on in the gap", {29, 30}, 31, {"=11"}},
        Move{"out of the gap into an ad", {29, 30}, 40, {"+[a", "+c", "c@0"}},
        Move{"from content into a gap", {5}, 35, {"=15"}}, Move{"from a gap into content", {35}, 75, {"=25"}},
        Move{"into an ad of the next break", {59}, 60, {"-d", "-[a", "+[e", "+e", "e@0"}},
        Move{"last ad into content, at its end", {69}, 70, {"-e", "-[e", "=30"}},
        Move{"last ad into content", {69}, 71, {"-e", "-[e", "=21"}},
        Move{"seek over all breaks", {5}, 95, {"=45"}},
        Move{"seek forward into an ad", {5}, 65, {"+[e", "+e", "e@5"}}, Move{"back in an ad", {15}, 14, {}},
        Move{"back into another ad", {65}, 15, {}}, Move{"back from an ad into content", {15}, 5, {}},
        Move{"back by 4.9 s into an ad", {74}, 69.1, {}},
        Move{"back by a tick less than 5 s into an ad", {74}, 69 + 1 / 600.0, {}},
        Move{"back by 5 s into an ad", {74}, 69, {"+[e", "+e", "e@9"}},
        Move{"back by more than 5 s into an ad", {95}, 15, {"+[a", "+a", "a@5"}},
        Move{"back by 4 s from a gap into an ad", {5, 31}, 27, {}},
        Move{"after an ignored step back, on from where it was", {15, 14}, 16, {"a@6"}}));

TEST(TarnLumoProgressTrackerTest, StartsBeforeEverything) {
  TarnLumoProgressTracker tracker(drawTimeline(kDrawing));
  EXPECT_THAT(tracker.contentTime().get(), IdenticalTo(kCMTimeNegativeInfinity));
  EXPECT_EQ(tracker.event().get(), nullptr);
  EXPECT_EQ(tracker.contentSeekableTimeRanges().get(), std::nullopt);
}

TEST(TarnLumoProgressTrackerTest, TakesEqualAdsOfDifferentBreaksForOne) {
  // Both breaks claim the same span, and differ by a second ad only.
  const auto drawn = drawTimeline(".aab.", {.secondsPerCell = 10});
  const auto& ads = drawn->adSequences().front()->ads();
  TarnLumoAdBuilder twin;
  twin.adId = "a";
  twin.beginTime = ads[0]->beginTime();
  twin.duration = ads[0]->duration();
  twin.logicalOffset = ads[0]->logicalOffset();
  ASSERT_EQ(*twin.buildAd(), *ads[0]);
  const auto sequence = [](TarnLumoAdSequence::Ads list) {
    return std::make_shared<const TarnLumoAdSequence>(std::move(list));
  };
  TarnLumoAdBuilder cut = twin;
  cut.duration = seconds(10);
  Watched watched(TarnLumoTimeline::make(std::nullopt, seconds(50), seconds(50),
                                         {sequence({ads[0], cut.buildAd()}), sequence({twin.buildAd()})},
                                         {}));
  EXPECT_THAT(watched.at(15), ElementsAre("+[a", "+a", "a@5"));
  EXPECT_THAT(watched.at(25), ElementsAre("a@15")) << "now in the second break";
  EXPECT_THAT(watched.at(35), ElementsAre("-a", "-[a", "=-15"));
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
  EXPECT_THAT(watched.tracker->absoluteTime(), tarn::test::SecondsEq(95));
  watched.tracker->setSuspendProgress(false);
  EXPECT_THAT(watched.log, IsEmpty());
  EXPECT_THAT(watched.at(16), ElementsAre("+[a", "+a", "a@6"));
}

TEST(TarnLumoProgressTrackerTest, LeavesOutThePropertiesOfWhatIsAbsent) {
  const TarnLumoProgressTrackerEvent bare(TarnLumoProgressTrackerEventTypeExitAd, std::nullopt);
  EXPECT_EQ(bare.properties(), std::nullopt);
  EXPECT_EQ(bare.ad(), nullptr);
  EXPECT_EQ(bare.adSequence(), nullptr);
  EXPECT_EQ(bare.adProgress(), std::nullopt);

  TarnLumoProgressTracker tracker(drawTimeline("a", {.secondsPerCell = 10}));
  tracker.setAbsoluteTime(seconds(1));
  const auto& progress = *tracker.event().get();
  EXPECT_EQ(progress.properties()->size(), 2U);
  EXPECT_NE(progress.properties()->get<std::shared_ptr<const TarnLumoAd>>(
                "kTarnLumoProgressTrackerEventPropertiesKeyAd"),
            nullptr);
  EXPECT_NE(progress.properties()->get<CMTime>("kTarnLumoProgressTrackerEventPropertiesKeyAdProgress"),
            nullptr);
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

using Ranges = TarnLumoProgressTracker::TimeRanges;

CMTimeRange range(double start, double duration) {
  return CMTimeRangeMake(seconds(start), seconds(duration));
}

/// Seekable and loaded ranges behave alike.
struct RangesOf {
  void (TarnLumoProgressTracker::*write)(Ranges);
  tarn::Observable<Ranges>& (TarnLumoProgressTracker::*content)();
};

class TrackerRanges : public ::testing::TestWithParam<RangesOf> {};

TEST_P(TrackerRanges, ReachFromZeroToTheContentTimeOfTheirEnd) {
  TarnLumoProgressTracker tracker(drawTimeline(kDrawing, {.secondsPerCell = 10}));
  auto& content = (tracker.*GetParam().content)();
  (tracker.*GetParam().write)(Ranges({range(10, 20), range(60, 15), range(0, 5)}));
  std::vector<double> ends;
  for (const auto& each : *content.get()) {
    EXPECT_THAT(each.start, IdenticalTo(kCMTimeZero));
    ends.push_back(CMTimeGetSeconds(each.duration));
  }
  EXPECT_THAT(ends, ElementsAre(10, 15, 5));

  TarnLumoProgressTracker withoutTimeline(nullptr);
  (withoutTimeline.*GetParam().write)(Ranges({range(10, 20)}));
  EXPECT_THAT((withoutTimeline.*GetParam().content)().get()->front().duration, IdenticalTo(CMTime{}));
}

TEST_P(TrackerRanges, AnnounceEmptyAndAbsentOnlyWhenTheyAreNews) {
  TarnLumoProgressTracker tracker(drawTimeline(kDrawing, {.secondsPerCell = 10}));
  Log log;
  const auto token = (tracker.*GetParam().content)().observe(
      [&](const Ranges& ranges) { log.push_back(ranges ? std::to_string(ranges->size()) : "none"); });
  const auto write = [&](Ranges ranges) {
    log.clear();
    (tracker.*GetParam().write)(std::move(ranges));
    return log;
  };
  const Ranges empty = std::vector<CMTimeRange>();
  EXPECT_THAT(write(std::nullopt), IsEmpty());
  EXPECT_THAT(write(empty), ElementsAre("0"));
  EXPECT_THAT(write(empty), IsEmpty());
  EXPECT_THAT(write(Ranges({range(0, 5)})), ElementsAre("1"));
  EXPECT_THAT(write(Ranges({range(0, 5)})), ElementsAre("1"));
  EXPECT_THAT(write(empty), ElementsAre("0"));
  EXPECT_THAT(write(std::nullopt), ElementsAre("none"));
  EXPECT_THAT(write(std::nullopt), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(SeekableAndLoaded, TrackerRanges,
                         ::testing::Values(RangesOf{&TarnLumoProgressTracker::setAbsoluteSeekableTimeRanges,
                                                    &TarnLumoProgressTracker::contentSeekableTimeRanges},
                                           RangesOf{&TarnLumoProgressTracker::setAbsoluteLoadedTimeRanges,
                                                    &TarnLumoProgressTracker::contentLoadedTimeRanges}));

}  // namespace
