#include "Lumo/TarnLumoAnalyticsSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "Support/TimePrinter.h"
#include "Support/TimelineBuilder.h"

namespace {

using tarn::test::beacon;
using tarn::test::drawTimeline;
using tarn::test::seconds;
using tarn::test::TimelineOptions;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Beacons = std::vector<std::string>;

void addBeacons(char letter, TarnLumoAdBuilder& ad) {
  const std::string id(1, letter);
  TarnLumoTrackingEventsCollectionBuilder events;
  for (const char* name : {"creativeView", "complete"}) {
    events.addTrackingEventNamed(name, beacon(id + "-" + name));
  }
  events.addTrackingEventNamed("start", "0", beacon(id + "-start"));
  ad.impressionURLs = {beacon(id + "-impression")};
  ad.trackingEventsCollection = events.buildTrackingEventsCollection();
}

class Analytics : public ::testing::Test {
 protected:
  void watch(std::shared_ptr<const TarnLumoTimeline> timeline) {
    tracker = std::make_shared<TarnLumoProgressTracker>(std::move(timeline));
    session = TarnLumoAnalyticsSession::initWithProgessTracker(tracker, digester);
  }
  Beacons at(double time) {
    tracker->setAbsoluteTime(seconds(time));
    return digester->take();
  }

  std::shared_ptr<tarn::test::RecordingDigester> digester = std::make_shared<tarn::test::RecordingDigester>();
  std::shared_ptr<TarnLumoProgressTracker> tracker;
  std::unique_ptr<TarnLumoAnalyticsSession> session;
};

TEST_F(Analytics, SendTheBeaconsOfAnAdPlayInOrder) {
  //   absolute  0    10   20   30
  //             |.   |a   |b   |.
  watch(drawTimeline(".ab.", {.secondsPerCell = 10, .editAd = addBeacons}));
  EXPECT_THAT(at(9), IsEmpty());
  EXPECT_EQ(session->adAnalaytics(), nullptr);
  EXPECT_THAT(at(10), ElementsAre("a-impression", "a-creativeView"));
  EXPECT_EQ(session->adAnalaytics()->ad(), tarn::test::adNamed(*tracker->timeline(), 'a'));
  EXPECT_THAT(at(11), ElementsAre("a-start"));
  EXPECT_THAT(at(20), ElementsAre("a-complete", "b-impression", "b-creativeView"));
  EXPECT_THAT(at(30), ElementsAre("b-complete"));
  EXPECT_EQ(session->adAnalaytics(), nullptr);
}

TEST_F(Analytics, EndWithTheSession) {
  watch(drawTimeline("a.", {.secondsPerCell = 10, .editAd = addBeacons, .contentImpressions = {1}}));
  session.reset();
  EXPECT_THAT(at(1), IsEmpty());
  EXPECT_THAT(at(10), IsEmpty());
}

TEST_F(Analytics, IgnoreAnExitWithoutAnEntryAndEventsWithoutAnAd) {
  watch(drawTimeline("a.", {.secondsPerCell = 10, .editAd = addBeacons}));
  for (const auto type :
       {TarnLumoProgressTrackerEventTypeExitAd, TarnLumoProgressTrackerEventTypeAdProgress,
        TarnLumoProgressTrackerEventTypeEnterAd, TarnLumoProgressTrackerEventTypeExitAdSequence}) {
    tracker->event().set(std::make_shared<const TarnLumoProgressTrackerEvent>(type, std::nullopt));
    EXPECT_THAT(digester->take(), IsEmpty());
    EXPECT_EQ(session->adAnalaytics(), nullptr);
  }
}

TEST_F(Analytics, SendContentImpressionsWhenContentTimeReachesTheirPlaceInTheStream) {
  // The impressions at content 2 and 4 stand at 5 and 7 of the stream: two or three seconds of ad precede.
  //
  //   absolute  0    2    4    6    8
  //             .....|aaa|.................
  watch(drawTimeline("aaa.................", {.contentImpressions = {4, 2, 2}}));
  Beacons sent;
  for (int absolute = 0; absolute <= 20; ++absolute) {
    for (const auto& url : at(absolute)) sent.push_back(std::to_string(absolute - 3) + ":" + url);
  }
  EXPECT_THAT(sent, ElementsAre("5:impression-2", "5:impression-2", "7:impression-4"));
}

struct Steps {
  const char* situation;
  std::vector<double> impressions;
  std::vector<double> times;  ///< Content times reported in turn; the stream has no ads.
  Beacons sent;
};

void PrintTo(const Steps& steps, std::ostream* out) {
  *out << steps.situation;
}

class ContentImpressions : public ::testing::TestWithParam<Steps> {};

TEST_P(ContentImpressions, FireInTheReportThatPassesThem) {
  const auto timeline = drawTimeline(std::string(100, '.'), {.contentImpressions = GetParam().impressions});
  const auto digester = std::make_shared<tarn::test::RecordingDigester>();
  TarnLumoContentAnalyticsSession session(timeline, digester);
  for (const double time : GetParam().times) session.trackProgressToTime(seconds(time));
  EXPECT_EQ(digester->take(), GetParam().sent);
}

INSTANTIATE_TEST_SUITE_P(
    Reports, ContentImpressions,
    ::testing::Values(
        Steps{"steps of a second",
              {1, 1.5, 3},
              {1, 2, 3, 4},
              {"impression-1", "impression-1.5", "impression-3"}},
        Steps{"a tick before", {1}, {1 - 1 / 600.0}, {}},
        Steps{"at the start of playback never", {0}, {0, 1}, {}},
        Steps{"a jump of 1.5 s", {1}, {1.5}, {"impression-1"}},
        Steps{"a jump of a tick more", {1}, {1.5 + 1 / 600.0}, {}},
        Steps{"a jump and on", {1, 3}, {2, 3}, {"impression-3"}},
        Steps{"back and over it again", {2}, {1, 2, 1, 2}, {"impression-2", "impression-2"}},
        Steps{"behind the content never", {101}, {99, 100, 101, 102}, {}},
        // A negative time stands at the payload's end, and stops the walk before what follows until then.
        Steps{"a negative time holds up the others", {-1, 2}, {1, 2, 3}, {}},
        Steps{"a negative time at the end",
              {-1, 99.5},
              {98.8, 99, 100},
              {"impression--1", "impression-99.5"}}));

TEST(ContentImpressionsTest, FireByTheWalkOverThemAll) {
  // Against the plain walk, on a stream with breaks, for any order of impressions and any kind of step.
  std::vector<double> times;
  for (int i = 0; i < 60; ++i) times.push_back((i * 37 % 60) * 0.5 - 2);
  const auto timeline = drawTimeline("aa....b|c...dd..........", {.contentImpressions = times});
  auto ordered = timeline->contentImpressions();
  std::stable_sort(ordered.begin(), ordered.end(), [](const auto& x, const auto& y) {
    return CMTimeCompare(x->logicalTime(), y->logicalTime()) < 0;
  });
  for (const bool withNegativeTimes : {true, false}) {
    SCOPED_TRACE(withNegativeTimes);
    if (!withNegativeTimes) {
      std::erase_if(ordered, [](const auto& each) { return each->logicalTime().value < 0; });
    }
    const auto digester = std::make_shared<tarn::test::RecordingDigester>();
    const auto stream = TarnLumoTimeline::make(std::nullopt, timeline->contentLength(),
                                               timeline->payloadLength(), timeline->adSequences(), ordered);
    TarnLumoContentAnalyticsSession session(stream, digester);
    CMTime previous = kCMTimeZero;
    for (int step = 0; step < 400; ++step) {
      const CMTime time = CMTimeMake(step * 7919 % 97 * (step % 3 == 0 ? 150 : 7) + step * 40, 600);
      Beacons expected;
      if (CMTimeCompare(CMTimeSubtract(time, previous), seconds(1.5)) <= 0) {
        for (const auto& impression : ordered) {
          const CMTime position = stream->absoluteTimeAtContentTime(impression->logicalTime());
          if (CMTimeCompare(time, position) < 0) break;
          if (CMTimeCompare(position, previous) > 0) {
            expected.push_back(impression->url()->absoluteString().substr(18));
          }
        }
      }
      previous = time;
      session.trackProgressToTime(time);
      ASSERT_EQ(digester->take(), expected) << "step " << step;
    }
  }
}

}  // namespace
