#include <gmock/gmock.h>

#include "Kyr/TarnKyrConstants.h"
#include "Kyr/TarnKyrHostAds.h"
#include "Lumo/TarnLumoAdAnalyticsSession.h"
#include "OverlayFixture.h"

namespace tarn::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AdComponentWiring : public OverlayWindowTest {
 protected:
  std::string label() { return view().durationLabel()->text().toStdString(); }
  std::string skipTitle() { return skip().title().toStdString(); }
};

TEST_F(AdComponentWiring, TheLabelTellsWhatIsLeftOfTheBreak) {
  const auto session = advance();
  EXPECT_EQ(label(), "");
  const auto a = makeAd({.beginTime = 0, .duration = 10, .id = "a"});
  const auto b = makeAd({.beginTime = 10, .duration = 20, .id = "b"});
  session->enterBreak({a, b});
  session->enterAd(a);
  runMainQueue();
  EXPECT_EQ(label(), "") << "nothing is known of the position";
  const struct {
    std::shared_ptr<const TarnLumoAd> ad;
    double position;
    const char* text;
  } rows[] = {
      {a, 0, "Your video will resume in 30 seconds"},  {a, 0.25, "Your video will resume in 29 seconds"},
      {a, 10, "Your video will resume in 20 seconds"}, {b, 7.1, "Your video will resume in 12 seconds"},
      {b, 18.5, "Your video will resume in 1 second"}, {b, 19.6, "Your video will resume now"}};
  for (const auto& row : rows) {
    progress(*session, row.ad, row.position);
    EXPECT_EQ(label(), row.text) << *row.ad->adId() << " " << row.position;
  }
}

TEST_F(AdComponentWiring, WhatIsMissingInAnEventCountsAsNothing) {
  const auto session = advance();
  session->sendNothing();
  session->send(kTarnPlaybackSessionLifecycleEventAdSequenceEnter);
  session->send(kTarnPlaybackSessionLifecycleEventAdEnter);
  session->send(kTarnPlaybackSessionLifecycleEventAdProgress);
  runMainQueue();
  EXPECT_EQ(label(), "Your video will resume now");
  EXPECT_TRUE(skip().isHidden());
  EXPECT_TRUE(learnMore().isHidden());
  session->enterBreak({makeAd({.duration = 20, .id = "b"})});
  progress(*session, makeAd({.id = "another"}), 3);
  EXPECT_EQ(label(), "Your video will resume in 17 seconds") << "an ad that the break does not have";
}

TEST_F(AdComponentWiring, TheSkipButtonCountsDownAndBecomesActive) {
  const auto session = advance();
  const auto ad = makeAd({.duration = 75, .skipOffset = 4.2});
  play(*session, ad);
  EXPECT_FALSE(skip().isHidden());
  const struct {
    double position;
    const char* title;
    bool enabled;
  } rows[] = {{0, "You can skip this ad\nin 5 seconds", false},
              {0.99, "You can skip this ad\nin 5 seconds", false},
              {3, "You can skip this ad\nin 2 seconds", false},
              {4, "You can skip this ad\nin 1 second", false},
              {4.99, "You can skip this ad\nin 1 second", false},
              {5, "Skip Ad \u21E5", true},
              {59.9, "Skip Ad \u21E5", true},
              {62, "You can skip this ad\nin 3 seconds", false},
              {65, "Skip Ad \u21E5", true}};
  for (const auto& row : rows) {
    progress(*session, ad, row.position);
    EXPECT_EQ(skipTitle(), row.title) << row.position;
    EXPECT_EQ(skip().isEnabled(), row.enabled) << row.position;
    EXPECT_EQ(skip().borderWidth(), row.enabled ? 1 : 0) << row.position;
  }
}

TEST_F(AdComponentWiring, TheButtonsAreThereOnlyForAdsThatHaveWhatTheyOffer) {
  const auto session = advance();
  const auto both = makeAd({.skipOffset = 0, .hasPage = true, .id = "both"});
  const auto neither = makeAd({.id = "neither"});
  const auto hiding = [this](bool skipHidden, bool learnMoreHidden) {
    runMainQueue();
    EXPECT_EQ(skip().isHidden(), skipHidden);
    EXPECT_EQ(learnMore().isHidden(), learnMoreHidden);
    EXPECT_EQ(learnMore().title().toStdString(), learnMoreHidden ? "" : "Learn More");
  };
  session->enterBreak({neither, both});
  hiding(true, true);
  session->enterAd(neither);
  session->progress(neither, 1);
  hiding(true, true);
  session->exitAd(neither);
  session->enterAd(both);
  session->progress(both, 0);
  hiding(false, false);
  EXPECT_TRUE(learnMore().titleUnderlined());
  EXPECT_TRUE(skip().isEnabled()) << "an offset of zero";
  session->enterBreak({both});  // the exit has been lost
  hiding(true, false);
  session->exitAd(both);
  hiding(true, true);
}

TEST_F(AdComponentWiring, SkippingMovesBehindTheAd) {
  const auto session = advance();
  const auto ad = makeAd({.beginTime = 10, .duration = 20, .skipOffset = 5});
  play(*session, ad, 6);
  click(skip());
  EXPECT_THAT(session->takeCalls(), ElementsAre("pause", "seek 30.2 -0 +0", "play"));
  EXPECT_THAT(digester->take(), ElementsAre("skip-a"));
}

TEST_F(AdComponentWiring, SkippingTheStreamsLastAdMovesToItsEndTwiceUnseen) {
  // 0.2 s behind the ad the item must go on; at its very end there is nothing to play.
  for (const double itemEnd : {30.0, 30.2}) {
    const auto session = advance(itemEnd);
    const auto ad = makeAd({.beginTime = 10, .duration = 20, .skipOffset = 5});
    play(*session, ad, 6);
    click(skip());
    const std::string seek = itemEnd == 30 ? "seek 30 -0 +0" : "seek 30.2 -0 +0";
    EXPECT_THAT(session->takeCalls(), ElementsAre("pause", "hideLayer", seek, seek, "play", "showLayer"));
  }
}

TEST_F(AdComponentWiring, ASecondPressWhileTheSeekIsUnderWaySkipsNothing) {
  const auto session = advance();
  const auto ad = makeAd({.beginTime = 10, .duration = 20, .skipOffset = 5});
  play(*session, ad, 6);
  view().skipButtonDidTouchUpInside(&skip());
  view().skipButtonDidTouchUpInside(&skip());
  runMainQueue();
  EXPECT_THAT(session->takeCalls(), ElementsAre("pause", "seek 30.2 -0 +0", "play"));
  EXPECT_THAT(digester->take(), ElementsAre("skip-a"));
  click(skip());
  EXPECT_THAT(digester->take(), ElementsAre("skip-a")) << "the seek did not lead out of the ad";
}

TEST_F(AdComponentWiring, APlayerThatGoesDuringASkipDoesNotHinderTheNext) {
  auto session = advance();
  const auto ad = makeAd({.beginTime = 10, .duration = 20, .skipOffset = 5});
  play(*session, ad, 6);
  view().skipButtonDidTouchUpInside(&skip());
  tarn::MainQueue::shared().drain();
  session->dropPlayer();
  runMainQueue();
  view().skipButtonDidTouchUpInside(&skip());
  runMainQueue();
  session = advance();
  play(*session, ad, 6);
  click(skip());
  EXPECT_THAT(session->takeCalls(), ElementsAre("pause", "seek 30.2 -0 +0", "play"));
}

TEST_F(AdComponentWiring, NeitherTapDoesAnythingBeforeThereIsAnAdForIt) {
  view().skipButtonDidTouchUpInside(&skip());
  view().learnMoreButtonDidTouchUpInside(&learnMore());
  const auto first = advance();
  view().skipButtonDidTouchUpInside(&skip());
  view().learnMoreButtonDidTouchUpInside(&learnMore());
  const auto second = advance();
  const auto ad = makeAd({.skipOffset = 5, .hasPage = true});
  play(*second, ad, 6);
  EXPECT_THAT(digester->take(), IsEmpty());
  // The taps of before are not made up for, and do not shift those that come to an earlier session.
  click(learnMore());
  click(skip());
  EXPECT_THAT(first->takeCalls(), IsEmpty());
  EXPECT_THAT(second->takeCalls(), ElementsAre("pause", "pause", "seek 30.2 -0 +0", "play"));
  EXPECT_THAT(digester->take(), ElementsAre("click-a", "skip-a"));
}

TEST_F(AdComponentWiring, AClickTellsTheAdItsPageTheSessionAndTheButton) {
  std::vector<TarnKyrAdClickThrough> clicks;
  container->setNextBlock([&](const TarnKyrAdClickThrough& click) { clicks.push_back(click); });
  const auto session = advance();
  const auto a = makeAd({.hasPage = true, .id = "a"});
  const auto b = makeAd({.hasPage = true, .id = "b"});
  for (const auto& ad : {a, b}) {
    play(*session, ad);
    click(learnMore());
    session->exitAd(ad);
  }
  ASSERT_EQ(clicks.size(), 2U);
  EXPECT_EQ(clicks[1].clickThroughURL().absoluteString(), "https://shop.example/b");
  EXPECT_EQ(clicks[1].session(), session);
  EXPECT_EQ(clicks[1].sender(), &learnMore());
  EXPECT_EQ(clicks[1].ad()->adId(), "b");
  const auto& properties = clicks[1].ad()->properties();
  ASSERT_NE(properties.get<std::shared_ptr<const TarnLumoAd>>(kTarnKyrAdPropertiesKeyLumoAd), nullptr);
  const auto* const analytics = properties.get<std::shared_ptr<TarnLumoAdAnalyticsSession>>(
      kTarnKyrAdPropertiesKeyLumoAdAnalyticsSession);
  ASSERT_NE(analytics, nullptr);
  EXPECT_EQ((*analytics)->ad(), b);
  EXPECT_THAT(digester->take(), ElementsAre("click-a", "click-b"));
}

TEST(ClickThroughSignal, PairsEachTouchThatHasAnAdWithItsOwnButton) {
  const Tarn_RACSubject<TarnPlaybackSession::LifecycleEvent> adEnters;
  const Tarn_RACInvocations<QQuickItem*> touches;
  std::vector<std::string> pairs;
  QQuickItem first;
  QQuickItem second;
  TarnKyrAdComponentView::clickThroughURLSignalWithAdEnterSignal(adEnters, touches.signal())
      .subscribeNext([&](const auto& pair) {
        pairs.push_back(*std::get<0>(pair)->adId() + (std::get<1>(pair) == &first ? " first" : " second"));
      });
  const auto enter = [&adEnters](const AdPlan& plan) {
    tarn::Dictionary properties;
    properties.set(kTarnPlaybackSessionLifecycleEventPropertiesKeyAd, hostAd(makeAd(plan), nullptr));
    adEnters.sendNext(std::make_shared<const TarnPlaybackSessionLifecycleEvent>(
        kTarnPlaybackSessionLifecycleEventAdEnter, std::move(properties)));
  };
  touches(&first);
  enter({.hasPage = true, .id = "a"});
  touches(&second);
  enter({.id = "b"});
  touches(&first);
  EXPECT_THAT(pairs, ElementsAre("a second", "a first"));
}

TEST_F(AdComponentWiring, EachPlayOfAnAdHasAnAnalyticsSessionOfItsOwn) {
  std::vector<std::shared_ptr<const TarnAd>> ads;
  container->setNextBlock([&](const TarnKyrAdClickThrough& click) { ads.push_back(click.ad()); });
  const auto session = advance();
  const auto ad = makeAd({.hasPage = true});
  for (int i = 0; i < 2; ++i) {
    play(*session, ad);
    click(learnMore());
    click(learnMore());
  }
  ASSERT_EQ(ads.size(), 4U);
  EXPECT_EQ(ads[0], ads[1]) << "the same play";
  EXPECT_NE(ads[1], ads[2]);
}

TEST_F(AdComponentWiring, KeepsNoSessionAlive) {
  auto session = advance();
  play(*session, makeAd({.skipOffset = 5, .hasPage = true}), 6);
  click(learnMore());
  const std::weak_ptr<TarnPlaybackSession> weak = session;
  session.reset();
  EXPECT_TRUE(weak.expired());
  EXPECT_EQ(container->currentSession(), nullptr);
  click(skip());
  click(learnMore());
  EXPECT_THAT(digester->take(), ElementsAre("click-a", "skip-a", "click-a"));
}

}  // namespace
}  // namespace tarn::test
