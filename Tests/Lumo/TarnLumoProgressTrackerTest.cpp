#include "Lumo/TarnLumoProgressTracker.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <stdexcept>

#include "Support/Script.h"
#include "Support/TimePrinter.h"
#include "Support/TimelineBuilder.h"

namespace {

using namespace tarn::test;
using namespace testing;

std::string text(const TarnLumoProgressTrackerEvent& event) {
  const std::string ad = event.ad() ? event.ad()->adId().value_or("?") : "";
  const std::string sequence =
      event.adSequence() ? event.adSequence()->ads().front()->adId().value_or("?") : "";
  switch (event.type()) {
    case TarnLumoProgressTrackerEventTypeEnterAd:
      return "enter " + ad;
    case TarnLumoProgressTrackerEventTypeExitAd:
      return "exit " + ad;
    case TarnLumoProgressTrackerEventTypeEnterAdSequence:
      return "enter sequence " + sequence;
    case TarnLumoProgressTrackerEventTypeExitAdSequence:
      return "exit sequence " + sequence;
    default:
      return fmt::format("progress {} {}", ad, CMTimeGetSeconds(event.adProgress().value()));
  }
}

/// A tracker with a record of what it publishes: "enter sequence a" for the sequence that begins with ad a,
/// "enter a", "progress a 5", "exit a", "exit sequence a", and "content 12" for the content time.
struct Watched {
  explicit Watched(std::shared_ptr<const TarnLumoTimeline> timeline)
      : tracker(std::make_shared<TarnLumoProgressTracker>(std::move(timeline))) {
    events = tracker->event().observe([this](const auto& event) { published.push_back(text(*event)); });
    times = tracker->contentTime().observe(
        [this](CMTime time) { published.push_back(fmt::format("content {}", CMTimeGetSeconds(time))); });
  }

  /// Moves the playhead to that absolute time; returns what was published meanwhile.
  std::string place(double time) { return place(seconds(time)); }
  std::string place(CMTime time) {
    published.clear();
    tracker->setAbsoluteTime(time);
    return fmt::format("{}", fmt::join(std::exchange(published, {}), ", "));
  }

  /// Runs a script of the command "place 15" with expectations as "=> published: enter a, progress a 5".
  void tell(const std::string& script) {
    std::string last;
    runScript(
        script, [&](const ScriptCommand& command) { last = place(command.number()); },
        [&](const std::string&) { return last; });
  }

  std::shared_ptr<TarnLumoProgressTracker> tracker;
  std::vector<std::string> published;
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
  const char* const scripts[] = {
      R"(// On through everything, and back in the content.
         place 5   => published: content 5
         place 6   => published: content 6
         place 6   => published: content 6
         place 10  => published: enter sequence a, enter a, progress a 0
         place 11  => published: progress a 1
         place 11  => published: progress a 1
         place 20  => published: exit a, enter b, progress b 0
         place 30  => published: exit b, exit sequence a, content 20
         place 31  => published: content 11
         place 40  => published: enter sequence a, enter c, progress c 0
         place 59  => published: exit c, enter d, progress d 9
         place 60  => published: exit d, exit sequence a, enter sequence e, enter e, progress e 0
         place 70  => published: exit e, exit sequence e, content 30
         place 71  => published: content 21
         place 95  => published: content 45
         place 85  => published: content 35)",
      R"(// From an ad on over ads and breaks.
         place 12  => published: enter sequence a, enter a, progress a 2
         place 45  => published: exit a, enter c, progress c 5
         place 69  => published: exit c, exit sequence a, enter sequence e, enter e, progress e 9
         place 71  => published: exit e, exit sequence e, content 21)",
      R"(// From content over all breaks, and far back into an ad.
         place 5   => published: content 5
         place 95  => published: content 45
         place 15  => published: enter sequence a, enter a, progress a 5)",
      R"(// From content into an ad, and back into another.
         place 5   => published: content 5
         place 65  => published: enter sequence e, enter e, progress e 5
         place 15  => published:)",
      R"(// Into a gap and out of it.
         place 5   => published: content 5
         place 35  => published: content 15
         place 75  => published: content 25)",
      R"(// Back in an ad, and on from where it was.
         place 15  => published: enter sequence a, enter a, progress a 5
         place 14  => published:
         place 16  => published: progress a 6)",
      R"(// Back from an ad into content.
         place 15  => published: enter sequence a, enter a, progress a 5
         place 5   => published:)",
      R"(// Back by 4.9 s into an ad.
         place 74    => published: content 24
         place 69.1  => published:)",
      R"(// Back by a tick less than 5 s into an ad.
         place 74       => published: content 24
         place 69.0017  => published:)",
      R"(// Back by 5 s into an ad.
         place 74  => published: content 24
         place 69  => published: enter sequence e, enter e, progress e 9)",
      R"(// Back by 4 s from a gap into an ad.
         place 5   => published: content 5
         place 31  => published: content 11
         place 27  => published:)"};
  for (const auto* const script : scripts)
    Watched(drawTimeline(kDrawing, {.secondsPerCell = 10})).tell(script);
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
  watched.tell(R"(
      place 15  => published: enter sequence a, enter a, progress a 5
      place 25  => published: progress a 15
      place 35  => published: exit a, exit sequence a, content -15)");
}

TEST(TarnLumoProgressTrackerTest, IgnoresTimesThatAreInvalid) {
  Watched watched(drawTimeline(kDrawing, {.secondsPerCell = 10}));
  EXPECT_EQ(watched.place(kCMTimeInvalid), "");
  watched.place(15);
  EXPECT_EQ(watched.place(CMTime{16, 1, 0, 0}), "");
  EXPECT_EQ(watched.place(17), "progress a 7");
  EXPECT_EQ(watched.place(kCMTimePositiveInfinity), "exit a, exit sequence a, content inf");
  EXPECT_EQ(watched.place(15), "enter sequence a, enter a, progress a 5")
      << "back from infinity is a long way";

  Watched withoutTimeline(nullptr);
  EXPECT_EQ(withoutTimeline.place(5), "");
}

TEST(TarnLumoProgressTrackerTest, SuspendedTakesTheFirstPositionOnlyAndComparesWithItLater) {
  Watched watched(drawTimeline(kDrawing, {.secondsPerCell = 10}));
  watched.tracker->setSuspendProgress(true);
  EXPECT_EQ(watched.place(5), "content 5");
  EXPECT_EQ(watched.place(15), "");
  EXPECT_EQ(watched.place(95), "");
  EXPECT_THAT(watched.tracker->absoluteTime(), SecondsEq(95));
  watched.tracker->setSuspendProgress(false);
  EXPECT_THAT(watched.published, IsEmpty());
  EXPECT_EQ(watched.place(16), "enter sequence a, enter a, progress a 6");
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
  watched.place(5);
  bool jumped = false;
  const auto jump = watched.tracker->event().observe([&](const auto& event) {
    if (event->type() != TarnLumoProgressTrackerEventTypeEnterAd || std::exchange(jumped, true)) return;
    watched.tracker->setAbsoluteTime(seconds(20));
    watched.tracker->setAbsoluteTime(seconds(75));
  });
  EXPECT_EQ(watched.place(10),
            "enter sequence a, enter a, progress a 0, "
            "exit a, enter b, progress b 0, exit b, exit sequence a, content 25");
  EXPECT_EQ(watched.place(76), "content 26");
}

TEST(TarnLumoProgressTrackerTest, AnObserverMaySuspendFromWithinAnUpdate) {
  Watched watched(drawTimeline(kDrawing, {.secondsPerCell = 10}));
  watched.place(5);
  const auto suspend = watched.tracker->event().observe([&](const auto&) {
    watched.tracker->setSuspendProgress(true);
    watched.tracker->setAbsoluteTime(seconds(95));
  });
  EXPECT_EQ(watched.place(10), "enter sequence a, enter a, progress a 0");
  EXPECT_EQ(watched.place(11), "");
}

TEST(TarnLumoProgressTrackerTest, ContinuesAfterAPositionWhoseObserverThrows) {
  Watched watched(drawTimeline(kDrawing, {.secondsPerCell = 10}));
  const auto refuse = watched.tracker->event().observe([&](const auto& event) {
    if (event->type() != TarnLumoProgressTrackerEventTypeEnterAd) return;
    watched.tracker->setAbsoluteTime(seconds(95));
    throw std::runtime_error("refused");
  });
  EXPECT_THROW(watched.place(10), std::runtime_error);
  EXPECT_EQ(watched.place(11), "progress a 1");
}

TEST(TarnLumoProgressTrackerTest, SurvivesAnObserverThatEndsItsObservationOrTheTracker) {
  Watched watched(drawTimeline(kDrawing, {.secondsPerCell = 10}));
  const auto end = watched.tracker->event().observe([&](const auto&) { watched.events.reset(); });
  EXPECT_EQ(watched.place(15), "enter sequence a");

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
    std::vector<std::string> log;
    const auto token = (tracker.*content)().observe([&](const Ranges& ranges) {
      log.emplace_back(ranges ? "" : "none");
      for (const auto& each : ranges.value_or(std::vector<CMTimeRange>())) {
        EXPECT_THAT(each.start, IdenticalTo(kCMTimeZero));
        log.back() += fmt::format("{} ", CMTimeGetSeconds(each.duration));
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
