#include "Lumo/TarnLumoAnalyticsSession.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "Support/TimePrinter.h"
#include "Support/TimelineBuilder.h"

namespace {

using namespace tarn::test;
using namespace testing;

using Beacons = std::vector<std::string>;

/// An ad with a beacon at every half second of its first five, and each kind of named beacon.
TarnLumoAdBuilder fullAd(double begin) {
  TarnLumoTrackingEventsCollectionBuilder events;
  for (const char* offset : {"0", "0.5", "1", "1.5", "2", "2.5", "3", "3.5", "4", "4.5"}) {
    events.addTrackingEventNamed("progress", offset, beacon(offset));
  }
  for (const char* name : {"creativeView", "complete", "skip"}) {
    events.addTrackingEventNamed(name, beacon(name));
    events.addTrackingEventNamed(name, beacon(std::string(name) + "2"));
  }
  TarnLumoTrackingEventsCollectionBuilder companionEvents;
  companionEvents.addTrackingEventNamed("creativeView", beacon("companion"));
  TarnLumoCompanionAdBuilder companion;
  companion.identifier = "banner";
  companion.trackingEventsCollection = companionEvents.buildTrackingEventsCollection();
  companion.clickTrackingURLs = {beacon("companion-click")};
  TarnLumoCompanionAdsCollectionBuilder companions;
  companions.addCompanionAd(companion.buildCompanionAd());

  TarnLumoAdBuilder ad;
  ad.beginTime = seconds(begin);
  ad.duration = seconds(4);
  ad.impressionURLs = {beacon("i1"), beacon("i2")};
  ad.clickTrackingURLs = {beacon("c1"), beacon("c2")};
  ad.trackingEventsCollection = events.buildTrackingEventsCollection();
  ad.companionsCollection = companions.buildCompanionAdsCollection();
  return ad;
}

struct Played {
  explicit Played(const TarnLumoAdBuilder& ad)
      : session(ad.buildAd(), std::make_shared<TarnLumoAnalyticsDigester>(sink)) {}

  std::shared_ptr<RecordingSink> sink = std::make_shared<RecordingSink>();
  TarnLumoAdAnalyticsSession session;
};

TEST(TarnLumoAdAnalyticsSessionTest, SendsTheBeaconsOfEachMomentInTheirOrder) {
  using Session = TarnLumoAdAnalyticsSession;
  const auto sent = [](Played& played, const std::function<void(Session&)>& track) {
    track(played.session);
    return played.sink->take();
  };
  const std::vector<std::pair<std::function<void(Session&)>, Beacons>> table = {
      {&Session::trackImpression, {"i1", "i2"}},
      {&Session::trackCreativeView, {"creativeView", "creativeView2"}},
      {&Session::trackAdComplete, {"complete", "complete2"}},
      {&Session::trackAdSkip, {"skip", "skip2"}},
      {&Session::trackVideoClick, {"c1", "c2"}},
      {[](Session& s) { s.trackCompanionCreativeView("banner"); }, {"companion"}},
      {[](Session& s) { s.trackCompanionClick("banner"); }, {"companion-click"}},
      {[](Session& s) { s.trackCompanionCreativeView("unknown"); }, {}},
      {[](Session& s) { s.trackCompanionClick(""); }, {}},
      {[](Session& s) { s.trackProgressToTime(seconds(0)); }, {"creativeView", "creativeView2"}},
      {[](Session& s) { s.trackProgressToTime(seconds(1)); }, {"0", "0.5"}},
  };
  Played full(fullAd(600));
  Played bare(TarnLumoAdBuilder{});
  for (const auto& [track, beacons] : table) {
    EXPECT_EQ(sent(full, track), beacons);
    EXPECT_THAT(sent(bare, track), IsEmpty());
  }
}

TEST(TarnLumoAdAnalyticsSessionTest, SendsTimeBasedEventsOnceAForwardPass) {
  struct Pass {
    const char* situation;
    double begin;
    std::vector<std::pair<CMTime, Beacons>> reports;
  };
  const CMTime tick = CMTimeMake(1, 600);
  const Beacons view = {"creativeView", "creativeView2"};
  const Beacons started = {"creativeView", "creativeView2", "0", "0.5"};
  const Pass table[] = {
      {"on, by 1.5 s as no seek yet, back, and on again",
       600,
       {{seconds(0), view},
        {seconds(1), {"0", "0.5"}},
        {seconds(1), {}},
        {seconds(2), {"1", "1.5"}},
        {seconds(3.5), {"2", "2.5", "3"}},
        {seconds(2.5), {}},
        {seconds(3), {"2.5"}}}},
      {"a seek skips what it passed",
       600,
       {{seconds(1), started}, {CMTimeAdd(seconds(2.5), tick), {}}, {seconds(3), {}}, {seconds(3.5), {"3"}}}},
      {"begun part-way", 600, {{seconds(1.6), view}, {seconds(2.5), {"2"}}}},
      {"a time that is no number",
       600,
       {{seconds(1), started}, {kCMTimeInvalid, {}}, {seconds(2), {}}, {seconds(3), {"2", "2.5"}}}},
      // The ad is 4 s long. At the start of the stream its end is 4 s; elsewhere it is out of reach.
      {"the end of an ad at the stream's start",
       0,
       {{seconds(3), view},
        {CMTimeSubtract(seconds(4), tick), {"3", "3.5"}},
        {seconds(4), {}},
        {seconds(5), {}}}},
      {"a report at just that end", 0, {{seconds(3), view}, {seconds(4), {}}}},
      {"the end of an ad elsewhere",
       600,
       {{seconds(3), view}, {seconds(4), {"3", "3.5"}}, {seconds(5), {"4", "4.5"}}}},
  };
  for (const auto& [situation, begin, reports] : table) {
    SCOPED_TRACE(situation);
    Played played(fullAd(begin));
    for (const auto& [time, sent] : reports) {
      played.session.trackProgressToTime(time);
      EXPECT_EQ(played.sink->take(), sent) << CMTimeGetSeconds(time);
    }
  }
}

class Analytics : public Test {
 protected:
  void watch(std::shared_ptr<const TarnLumoTimeline> timeline) {
    tracker = std::make_shared<TarnLumoProgressTracker>(std::move(timeline));
    session = TarnLumoAnalyticsSession::initWithProgessTracker(
        tracker, std::make_shared<TarnLumoAnalyticsDigester>(sink));
  }
  Beacons at(double time) {
    tracker->setAbsoluteTime(seconds(time));
    return sink->take();
  }

  std::shared_ptr<RecordingSink> sink = std::make_shared<RecordingSink>();
  std::shared_ptr<TarnLumoProgressTracker> tracker;
  std::unique_ptr<TarnLumoAnalyticsSession> session;
};

TEST_F(Analytics, IgnoreEventsWithoutAnAdOrAnEntryAndEndWithTheSession) {
  const auto editAd = [](char letter, auto& ad) { ad.impressionURLs = {beacon({&letter, 1})}; };
  watch(drawTimeline("aab", {.editAd = editAd, .contentImpressions = {1}}));
  for (const auto type :
       {TarnLumoProgressTrackerEventTypeExitAd, TarnLumoProgressTrackerEventTypeAdProgress,
        TarnLumoProgressTrackerEventTypeEnterAd, TarnLumoProgressTrackerEventTypeExitAdSequence}) {
    tracker->event().set(std::make_shared<const TarnLumoProgressTrackerEvent>(type, std::nullopt));
    EXPECT_THAT(sink->take(), IsEmpty());
    EXPECT_EQ(session->adAnalaytics(), nullptr);
  }
  EXPECT_THAT(at(1), ElementsAre("a"));
  EXPECT_EQ(session->adAnalaytics()->ad(), adNamed(*tracker->timeline(), 'a'));
  session.reset();
  EXPECT_THAT(at(2), IsEmpty());
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

TEST(ContentImpressionsTest, FireInTheReportThatPassesThem) {
  struct Steps {
    const char* situation;
    std::vector<double> impressions;
    std::vector<double> times;  ///< Content times reported in turn; the stream has no ads.
    Beacons sent;
  };
  const Steps table[] = {
      {"steps of a second", {1, 1.5, 3}, {1, 2, 3, 4}, {"impression-1", "impression-1.5", "impression-3"}},
      {"a tick before", {1}, {1 - 1 / 600.0}, {}},
      {"at the start of playback never", {0}, {0, 1}, {}},
      {"a jump of 1.5 s", {1}, {1.5}, {"impression-1"}},
      {"a jump of a tick more", {1}, {1.5 + 1 / 600.0}, {}},
      {"a jump and on", {1, 3}, {2, 3}, {"impression-3"}},
      {"back and over it again", {2}, {1, 2, 1, 2}, {"impression-2", "impression-2"}},
      {"behind the content never", {101}, {99, 100, 101, 102}, {}},
      // A negative time stands at the payload's end, and stops the walk before what follows until then.
      {"a negative time holds up the others", {-1, 2}, {1, 2, 3}, {}},
      {"one at the end", {-1, 99.5}, {98.8, 99, 100}, {"impression--1", "impression-99.5"}},
  };
  for (const auto& row : table) {
    const auto timeline = drawTimeline(std::string(100, '.'), {.contentImpressions = row.impressions});
    const auto sink = std::make_shared<RecordingSink>();
    TarnLumoContentAnalyticsSession session(timeline, std::make_shared<TarnLumoAnalyticsDigester>(sink));
    for (const double time : row.times) session.trackProgressToTime(seconds(time));
    EXPECT_EQ(sink->take(), row.sent) << row.situation;
  }
}

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
    const auto sink = std::make_shared<RecordingSink>();
    const auto stream = TarnLumoTimeline::make(std::nullopt, timeline->contentLength(),
                                               timeline->payloadLength(), timeline->adSequences(), ordered);
    TarnLumoContentAnalyticsSession session(stream, std::make_shared<TarnLumoAnalyticsDigester>(sink));
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
      ASSERT_EQ(sink->take(), expected) << "step " << step;
    }
  }
}

}  // namespace
