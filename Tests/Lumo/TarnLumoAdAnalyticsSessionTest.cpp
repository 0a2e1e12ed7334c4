#include "Lumo/TarnLumoAdAnalyticsSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Support/TimePrinter.h"
#include "Support/TimelineBuilder.h"

namespace {

using tarn::test::beacon;
using tarn::test::seconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

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
  explicit Played(const TarnLumoAdBuilder& ad) : session(ad.buildAd(), digester) {}

  std::vector<std::string> at(double time) {
    session.trackProgressToTime(seconds(time));
    return digester->take();
  }

  std::shared_ptr<tarn::test::RecordingDigester> digester = std::make_shared<tarn::test::RecordingDigester>();
  TarnLumoAdAnalyticsSession session;
};

TEST(TarnLumoAdAnalyticsSessionTest, SendsTheBeaconsOfEachMomentInTheirOrder) {
  Played played(fullAd(600));
  using Session = TarnLumoAdAnalyticsSession;
  const auto sent = [&](void (Session::*track)()) {
    (played.session.*track)();
    return played.digester->take();
  };
  EXPECT_THAT(sent(&Session::trackImpression), ElementsAre("i1", "i2"));
  EXPECT_THAT(sent(&Session::trackCreativeView), ElementsAre("creativeView", "creativeView2"));
  EXPECT_THAT(sent(&Session::trackAdComplete), ElementsAre("complete", "complete2"));
  EXPECT_THAT(sent(&Session::trackAdSkip), ElementsAre("skip", "skip2"));
  EXPECT_THAT(sent(&Session::trackVideoClick), ElementsAre("c1", "c2"));

  played.session.trackCompanionCreativeView("banner");
  EXPECT_THAT(played.digester->take(), ElementsAre("companion"));
  played.session.trackCompanionClick("banner");
  EXPECT_THAT(played.digester->take(), ElementsAre("companion-click"));
  played.session.trackCompanionCreativeView("unknown");
  played.session.trackCompanionClick("");
  EXPECT_THAT(played.digester->take(), IsEmpty());
}

TEST(TarnLumoAdAnalyticsSessionTest, AnAdWithoutAnythingSendsNothing) {
  Played played(TarnLumoAdBuilder{});
  played.session.trackImpression();
  played.session.trackAdComplete();
  played.session.trackAdSkip();
  played.session.trackVideoClick();
  played.session.trackCompanionCreativeView("banner");
  played.session.trackCompanionClick("banner");
  EXPECT_THAT(played.at(0), IsEmpty());
  EXPECT_THAT(played.at(1), IsEmpty());
}

TEST(TarnLumoAdAnalyticsSessionTest, SendsTimeBasedEventsOnceAForwardPass) {
  Played played(fullAd(600));
  EXPECT_THAT(played.at(0), ElementsAre("creativeView", "creativeView2"));
  EXPECT_THAT(played.at(1), ElementsAre("0", "0.5"));
  EXPECT_THAT(played.at(1), IsEmpty());
  EXPECT_THAT(played.at(2), ElementsAre("1", "1.5"));
  EXPECT_THAT(played.at(3.5), ElementsAre("2", "2.5", "3")) << "1.5 s is no seek yet";
  EXPECT_THAT(played.at(2.5), IsEmpty());
  EXPECT_THAT(played.at(3), ElementsAre("2.5")) << "a step back opens the interval again";
}

TEST(TarnLumoAdAnalyticsSessionTest, SkipsWhatASeekPassed) {
  Played played(fullAd(600));
  played.at(1);
  EXPECT_THAT(played.at(2.5 + 1 / 600.0), IsEmpty());
  EXPECT_THAT(played.at(3), IsEmpty());
  EXPECT_THAT(played.at(3.5), ElementsAre("3"));

  Played partWay(fullAd(600));
  EXPECT_THAT(partWay.at(1.6), ElementsAre("creativeView", "creativeView2"));
  EXPECT_THAT(partWay.at(2.5), ElementsAre("2"));
}

TEST(TarnLumoAdAnalyticsSessionTest, TakesTheAdsEndInTheStreamForItsBound) {
  // The ad is 4 s long. At the start of the stream its end is 4 s; elsewhere it is out of reach.
  Played atStart(fullAd(0));
  for (const double time : {0.0, 1.0, 2.0, 3.0}) atStart.at(time);
  EXPECT_THAT(atStart.at(4 - 1 / 600.0), ElementsAre("3", "3.5"));
  EXPECT_THAT(atStart.at(4), IsEmpty());
  EXPECT_THAT(atStart.at(5), IsEmpty());

  Played later(fullAd(600));
  for (const double time : {0.0, 1.0, 2.0, 3.0, 4.0}) later.at(time);
  EXPECT_THAT(later.at(5), ElementsAre("4", "4.5"));
}

TEST(TarnLumoAdAnalyticsSessionTest, GoesOnAfterATimeThatIsNoNumber) {
  Played played(fullAd(600));
  played.at(1);
  played.session.trackProgressToTime(kCMTimeInvalid);
  EXPECT_THAT(played.digester->take(), IsEmpty());
  EXPECT_THAT(played.at(2), IsEmpty());
  EXPECT_THAT(played.at(3), ElementsAre("2", "2.5"));
}

}  // namespace
