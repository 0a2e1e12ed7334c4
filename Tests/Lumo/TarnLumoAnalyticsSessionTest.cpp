#include "Lumo/TarnLumoAnalyticsSession.h"

#include <gmock/gmock.h>

#include <cmath>

#include "Support/TimePrinter.h"
#include "Support/TimelineBuilder.h"

namespace {

using namespace tarn::test;
using namespace testing;

using Beacons = std::vector<std::string>;

/// An ad with a beacon at every half second of its first five, and each kind of named beacon.
TarnLumoAdBuilder fullAd(double begin) {
  TarnLumoTrackingEventsCollectionBuilder events;
  for (const char* offset : {"0", "0.5", "1", "1.5", "2", "2.5", "3", "3.5", "4", "4.5"})
    events.addTrackingEventNamed("progress", offset, beacon(offset));
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

class TarnLumoAnalyticsSessionTest : public Test {
 protected:
  void watch(std::shared_ptr<const TarnLumoTimeline> timeline) {
    watch(std::make_shared<TarnLumoProgressTracker>(std::move(timeline)));
  }
  void watch(std::shared_ptr<TarnLumoProgressTracker> watched) {
    tracker = std::move(watched);
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

TEST_F(TarnLumoAnalyticsSessionTest, AnAdSendsTheBeaconsOfEachMomentInTheirOrder) {
  using Session = TarnLumoAdAnalyticsSession;
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
      {[](Session& s) { s.trackProgressToTime(seconds(1)); }, {"0", "0.5"}}};
  Played full(fullAd(600));
  Played bare(TarnLumoAdBuilder{});
  for (const auto& [track, beacons] : table) {
    track(full.session);
    track(bare.session);
    EXPECT_EQ(full.sink->take(), beacons);
    EXPECT_THAT(bare.sink->take(), IsEmpty());
  }
}

TEST_F(TarnLumoAnalyticsSessionTest, AnAdSendsTimeBasedEventsOnceAForwardPass) {
  using Pass = std::tuple<const char*, double, std::vector<std::pair<CMTime, Beacons>>>;
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
      {"an ad without an end", NAN, {{seconds(3), view}, {seconds(4), {"3", "3.5"}}}}};
  for (const auto& [situation, begin, reports] : table) {
    SCOPED_TRACE(situation);
    Played played(fullAd(begin));
    for (const auto& [time, sent] : reports) {
      played.session.trackProgressToTime(time);
      EXPECT_EQ(played.sink->take(), sent) << CMTimeGetSeconds(time);
    }
  }
}

/// Has every ad send an impression, the creative view, its progress and its completion.
void giveBeacons(char letter, TarnLumoAdBuilder& ad) {
  ad.impressionURLs = {beacon({&letter, 1}), beacon(std::string(2, letter))};
  ad.trackingEventsCollection = fullAd(0).trackingEventsCollection;
}

TEST_F(TarnLumoAnalyticsSessionTest, IgnoresEventsWithoutAnAdOrAnEntryAndEndsWithTheSession) {
  watch(drawTimeline("aab", {.editAd = giveBeacons, .contentImpressions = {1}}));
  for (const auto type :
       {TarnLumoProgressTrackerEventTypeExitAd, TarnLumoProgressTrackerEventTypeAdProgress,
        TarnLumoProgressTrackerEventTypeEnterAd, TarnLumoProgressTrackerEventTypeExitAdSequence}) {
    tracker->event().set(std::make_shared<const TarnLumoProgressTrackerEvent>(type, std::nullopt));
    EXPECT_THAT(sink->take(), IsEmpty());
    EXPECT_EQ(session->adAnalaytics(), nullptr);
  }
  EXPECT_THAT(at(1), ElementsAre("a", "aa", "creativeView", "creativeView2", "0", "0.5"));
  EXPECT_EQ(session->adAnalaytics()->ad(), adNamed(*tracker->timeline(), 'a'));
  const auto announceEntry = [&] {
    tracker->event().set(std::make_shared<const TarnLumoProgressTrackerEvent>(
        TarnLumoProgressTrackerEventTypeEnterAd,
        TarnLumoProgressTrackerEvent::Fields{.ad = adNamed(*tracker->timeline(), 'b')}));
    return sink->take();
  };
  EXPECT_THAT(announceEntry(), ElementsAre("b", "bb")) << "a was not left";
  tracker->event().set(std::make_shared<const TarnLumoProgressTrackerEvent>(
      TarnLumoProgressTrackerEventTypeExitAd, std::nullopt));
  EXPECT_THAT(sink->take(), ElementsAre("complete", "complete2"));
  EXPECT_EQ(session->adAnalaytics(), nullptr);
  session.reset();
  EXPECT_THAT(at(2), IsEmpty());
  EXPECT_THAT(announceEntry(), IsEmpty());
  watch(tracker);
  EXPECT_THAT(sink->take(), IsEmpty()) << "entered before the session was made";
}

TEST_F(TarnLumoAnalyticsSessionTest, EndsInTheMiddleOfAReportWhenTheSinkDestroysIt) {
  const auto timeline = drawTimeline(".aab...", {.editAd = giveBeacons, .contentImpressions = {1, 1}});
  const auto sendUntil = [&](std::size_t last) {
    watch(timeline);
    sink->afterSend = [&, sent = std::size_t{0}](const auto&) mutable {
      if (++sent != last) return;
      session.reset();
      tracker.reset();
    };
    for (int time = 1; tracker && time <= 7; ++time) tracker->setAbsoluteTime(seconds(time));
    return sink->take();
  };
  const Beacons all = sendUntil(0);
  ASSERT_THAT(all, IsSupersetOf({"impression-1", "aa", "creativeView2", "0.5", "complete2"}));
  for (std::size_t last = 1; last < all.size(); ++last)
    EXPECT_EQ(sendUntil(last), Beacons(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(last)));
}

TEST_F(TarnLumoAnalyticsSessionTest, SendsContentImpressionsWhenContentTimeReachesTheirAbsoluteTime) {
  // Three seconds of ad precede content 2 and 4, which are at 5 and 7 of the stream.
  //
  //   content   0 1 2     3 4 5 6 7
  //             . . a a a . . . . .
  watch(drawTimeline("..aaa...............", {.contentImpressions = {4, 2, 1, 2}}));
  Beacons sent;
  for (int absolute = 1; absolute <= 20; ++absolute) {
    for (const auto& url : at(absolute)) sent.push_back(std::to_string(absolute) + ":" + url);
  }
  EXPECT_THAT(sent, ElementsAre("1:impression-1", "8:impression-2", "8:impression-2", "10:impression-4"));
}

TEST_F(TarnLumoAnalyticsSessionTest, ContentImpressionsFireInTheReportThatPassesThem) {
  // The impressions' times, the content times reported in turn, and the beacons. The stream has no ads.
  using Steps = std::tuple<const char*, std::vector<double>, std::vector<double>, Beacons>;
  const Steps table[] = {
      {"steps of a second", {1, 1.5, 3}, {1, 2, 3, 4}, {"impression-1", "impression-1.5", "impression-3"}},
      {"a tick before", {1}, {1 - 1 / 600.0}, {}},
      {"at the start of playback never", {0}, {0, 1}, {}},
      {"a jump of 1.5 s", {1}, {1.5}, {"impression-1"}},
      {"a jump of a tick more", {1}, {1.5 + 1 / 600.0}, {}},
      {"a jump and on", {1, 3}, {2, 3}, {"impression-3"}},
      {"back and over it again", {2}, {1, 2, 1, 2}, {"impression-2", "impression-2"}},
      {"behind the content never", {101}, {99, 100, 101, 102}, {}},
      // A negative time maps to the payload's end, and stops the walk before the later ones until then.
      {"a negative time holds up the others", {-1, 2, 3}, {1, 2, 3}, {}},
      {"one at the end", {-1, 99.5}, {98.8, 99, 100, 101}, {"impression--1", "impression-99.5"}}};
  for (const auto& [situation, impressions, times, beacons] : table) {
    const auto timeline = drawTimeline(std::string(100, '.'), {.contentImpressions = impressions});
    TarnLumoContentAnalyticsSession content(timeline, std::make_shared<TarnLumoAnalyticsDigester>(sink));
    for (const double time : times) content.trackProgressToTime(seconds(time));
    EXPECT_EQ(sink->take(), beacons) << situation;
  }
}

}  // namespace
