#include <gmock/gmock.h>

#include <QSignalSpy>
#include <algorithm>
#include <atomic>
#include <thread>

#include "Kyr/TarnKyrConstants.h"
#include "Lumo/TarnLumoAdAnalyticsSession.h"
#include "OverlayFixture.h"
#include "Platform/MainQueue.h"
#include "Support/TimePrinter.h"

namespace tarn::test {
namespace {

class TarnKyrAdComponentViewWiringTest : public OverlayWindowTest {
 protected:
  /// Plays an ad of absolute 10..30 s that can be skipped.
  void playSkippable(double itemSeconds = 600) {
    advance(itemSeconds);
    play(makeAd({.beginTime = 10, .duration = 20, .skipOffset = 5}), 6);
  }
};

TEST_F(TarnKyrAdComponentViewWiringTest, ShowsTheRemainingTimeOfTheBreak) {
  advance();
  tell("=> label:");
  const auto a = makeAd({.beginTime = 0, .duration = 10, .id = "a"});
  const auto again = makeAd({.beginTime = 10, .duration = 20, .id = "a"});
  session->enterBreak({a, again});
  ad = a;
  tell(R"(
    enterAd       => label:
    progress 0    => label: Your video will resume in 30 seconds
    progress 0.25 => label: Your video will resume in 29 seconds
    progress 10   => label: Your video will resume in 20 seconds)");
  ad = makeAd(
      {.beginTime = 10, .duration = 20, .id = "a"});  // equal to the second ad; also the first has this id
  tell(R"(
    progress 7.1  => label: Your video will resume in 12 seconds
    progress 18.5 => label: Your video will resume in 1 second
    progress 19.6 => label: Your video will resume now)");
}

TEST_F(TarnKyrAdComponentViewWiringTest, TreatsMissingEventPropertiesAsZeroOrNone) {
  advance();
  session->sendNothing();
  session->send(kTarnPlaybackSessionLifecycleEventAdSequenceEnter);
  session->send(kTarnPlaybackSessionLifecycleEventAdEnter);
  session->send(kTarnPlaybackSessionLifecycleEventAdProgress);
  runMainQueue();
  tell(R"(
    => label: Your video will resume now
    => buttons:)");
  session->enterBreak({makeAd({.duration = 20, .id = "b"})});
  tell("turn => label: Your video will resume in 20 seconds");
  ad = makeAd({.id = "another"});
  tell("progress 3 => label: Your video will resume in 17 seconds");
}

TEST_F(TarnKyrAdComponentViewWiringTest, CountsDownOnTheSkipButtonThenEnablesIt) {
  advance();
  play(makeAd({.duration = 75, .skipOffset = 4.2}));
  EXPECT_EQ(skip().borderWidth(), 0);
  const QSignalSpy changes(&skip(), &OverlayButton::lookChanged);
  tell("progress 0.5");
  EXPECT_EQ(changes.count(), 0);
  tell(R"(
                  => buttons: (You can skip this ad/in 5 seconds)
    progress 0.99 => buttons: (You can skip this ad/in 5 seconds)
    progress 3    => buttons: (You can skip this ad/in 2 seconds)
    progress 4    => buttons: (You can skip this ad/in 1 second)
    progress 4.99 => buttons: (You can skip this ad/in 1 second)
    progress 5    => buttons: Skip Ad ⇥
    progress 59.9 => buttons: Skip Ad ⇥
    progress 62   => buttons: (You can skip this ad/in 3 seconds)
    progress 65   => buttons: Skip Ad ⇥)");
  EXPECT_EQ(skip().borderWidth(), 1);
}

TEST_F(TarnKyrAdComponentViewWiringTest, ShowsEachButtonOnlyForAdsWithItsFunction) {
  advance();
  const auto both = makeAd({.skipOffset = 0, .hasPage = true, .id = "both"});
  const auto neither = makeAd({.id = "neither"});
  session->enterBreak({neither, both});
  ad = neither;
  tell(R"(
                        => buttons:
    enterAd; progress 1 => buttons:
    exitAd              => buttons:)");
  ad = both;
  tell("enterAd; progress 0 => buttons: Skip Ad \u21E5, Learn More");
  EXPECT_TRUE(learnMore().titleUnderlined());
  tell(R"(
    exitAd              => buttons:
    enterAd; enterBreak => buttons: Learn More
    exitAd              => buttons:)");
  EXPECT_EQ(learnMore().title(), "");
}

TEST_F(TarnKyrAdComponentViewWiringTest, SeeksTwiceToTheEndWithoutPictureWhenSkippingTheLastAd) {
  // A skip seeks 0.2 s past the ad only if the item is longer than that; otherwise to the item's end.
  playSkippable(30);
  tell("click skip => calls: pause, hideLayer, seek 30 -0 +0, seek 30 -0 +0, play, showLayer");
  playSkippable(30.2);
  tell("click skip => calls: pause, hideLayer, seek 30.2 -0 +0, seek 30.2 -0 +0, play, showLayer");
}

TEST_F(TarnKyrAdComponentViewWiringTest, SkipsOnceHoweverOftenTheButtonIsPressed) {
  playSkippable();
  view().skipButtonDidTouchUpInside(&skip());
  view().skipButtonDidTouchUpInside(&skip());
  runMainQueue();
  tell(R"(
               => calls: pause, seek 30.2 -0 +0, play
               => beacons: skip-a
    click skip => beacons: skip-a)");  // the seek did not leave the ad
  session->dropPlayer();
  tell("click skip => beacons: skip-a");
}

TEST_F(TarnKyrAdComponentViewWiringTest, DoesNotPlayAfterASkipThatEndsAfterItsSession) {
  for (const bool isFirstSeek : {true, false}) {
    playSkippable(30);
    const auto calls = session->fakePlayer().calls();
    const auto player = session->player();
    view().skipButtonDidTouchUpInside(&skip());
    if (!isFirstSeek) tarn::MainQueue::shared().drain();
    session->terminate();
    runMainQueue();
    EXPECT_EQ(std::count(calls->begin(), calls->end(), "play"), 0);
    EXPECT_EQ(std::count(calls->begin(), calls->end(), "seek 30 -0 +0"), isFirstSeek ? 1 : 2);
    EXPECT_EQ(calls->back(), "showLayer");
  }
}

TEST_F(TarnKyrAdComponentViewWiringTest, SendsTheAdPageSessionAndButtonOfAClick) {
  std::vector<TarnKyrAdClickThrough> clicks;
  container->setNextBlock([&](const TarnKyrAdClickThrough& click) { clicks.push_back(click); });
  advance();
  QQuickItem early;
  view().learnMoreButtonDidTouchUpInside(&early);  // there is no ad yet
  play(makeAd({.hasPage = true, .id = "a"}));
  tell("click more; exitAd");
  const auto b = makeAd({.beginTime = 10, .duration = 20, .hasPage = true, .id = "b"});
  play(b);
  tell("click more; click more => beacons: click-a, click-b, click-b");
  play(b);
  tell("click more => beacons: click-b");
  ASSERT_EQ(clicks.size(), 4U);
  EXPECT_EQ(clicks[0].sender(), &learnMore());
  EXPECT_EQ(clicks[1].clickThroughURL().absoluteString(), "https://shop.example/b");
  EXPECT_EQ(clicks[1].session(), session);
  EXPECT_EQ(clicks[1].ad()->adId(), "b");
  EXPECT_THAT(clicks[1].ad()->beginTime(), SecondsEq(10.));
  EXPECT_THAT(clicks[1].ad()->duration(), SecondsEq(20.));
  const auto& properties = clicks[1].ad()->properties();
  EXPECT_NE(properties.get<std::shared_ptr<const TarnLumoAd>>(kTarnKyrAdPropertiesKeyLumoAd), nullptr);
  const auto analytics = properties.get<std::shared_ptr<TarnLumoAdAnalyticsSession>>(
      kTarnKyrAdPropertiesKeyLumoAdAnalyticsSession);
  EXPECT_EQ((*analytics)->ad(), b);
  EXPECT_EQ(clicks[1].ad(), clicks[2].ad()) << "must be the same play";
  EXPECT_NE(clicks[2].ad(), clicks[3].ad()) << "each play must have its own analytics session";
}

TEST_F(TarnKyrAdComponentViewWiringTest, HandlesEventsOfAnyThreadOnTheMainThread) {
  advance();
  ad = makeAd({.skipOffset = 5, .hasPage = true});
  std::thread([this] { session->enterBreak({ad}), session->enterAd(ad), session->progress(ad, 2); }).join();
  tell(R"(
    => label:
    => buttons:
    expect hidden; turn; expect shown
    => label: Your video will resume in 28 seconds
    => buttons: (You can skip this ad/in 3 seconds), Learn More)");
  std::atomic<bool> isOver = false;
  std::thread sender([&] {
    for (int i = 0; i < 100; ++i) session->progress(ad, i / 10.);
    session->send(kTarnPlaybackSessionLifecycleEventTerminate);
    isOver = true;
  });
  while (!isOver) tell("click skip; click more");
  sender.join();
  tell("turn; expect hidden");
}

}  // namespace
}  // namespace tarn::test
