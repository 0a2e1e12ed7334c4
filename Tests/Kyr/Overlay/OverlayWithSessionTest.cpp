#include <gtest/gtest.h>

#include <optional>

#include "../KyrStage.h"
#include "Host/TarnBasicSessionProvider.h"
#include "Host/TarnPlaybackController.h"
#include "OverlayFixture.h"

namespace tarn::test {
namespace {

const VMAPDrawing kSkippable{.linearAttributes = "skipoffset='00:00:03'",
                             .linearContent =
                                 "<VideoClicks><ClickThrough>https://shop.example/</ClickThrough>"
                                 "<ClickTracking>http://t.example/click</ClickTracking></VideoClicks>"};

/// The overlay over the plug-in's own session, whose stream plays in virtual time.
class OverlayWithSessionTest : public OverlayWindowTest {
 protected:
  KyrStage& start(const char* drawing) {
    container->didAdvanceToPlaybackSession(kyr.emplace(drawing, kSkippable).session);
    return *kyr;
  }
  std::optional<KyrStage> kyr;
};

TEST_F(OverlayWithSessionTest, ShowsEachBreakOfTheStream) {
  start("..aabb...cc").play(9.75);
  tell("expect hidden");
  kyr->play(0.25);
  tell(R"(
    expect shown => label: Your video will resume in 20 seconds
                 => buttons: (You can skip this ad/in 3 seconds), Learn More)");
  kyr->play(3);
  tell("=> label: Your video will resume in 17 seconds");
  tell("click skip");  // arrives 0.2 s inside the next ad
  tell(R"(
    => label: Your video will resume in 9 seconds
    => buttons: (You can skip this ad/in 3 seconds), Learn More
    => beacons: a-skip)");
  kyr->play(9.8);
  tell("expect hidden");
  kyr->play(15);
  tell("expect shown => label: Your video will resume in 10 seconds");
}

TEST_F(OverlayWithSessionTest, HidesThePictureWhenSkippingThePostRollToTheStreamsEnd) {
  start("..aa").tell("run 14; forget");
  tell("click skip");
  kyr->tell("runOut => calls: pause, hideLayer, seek 20 -0 +0, seek 20 -0 +0, canSeek, play, showLayer");
  tell("expect hidden");
}

TEST_F(OverlayWithSessionTest, PausesTheAdOnAClickUntilTheApplicationResumesIt) {
  start("..aa..").tell("run 11; forget");
  tell("click more");
  kyr->tell(R"(
    run 5 => calls: pause
          => events: AdPause)");
  tell("=> label: Your video will resume in 9 seconds");
  kyr->tell("resumeAd; run 9");
  tell("expect hidden");
}

/// An application that terminates the first session at its first event of a type.
class TerminatingApplication final : public TarnSessionConsumer {
 public:
  explicit TerminatingApplication(const char* type) : type_(type) {}
  void didAdvanceToPlaybackSession(const std::shared_ptr<TarnPlaybackSession>& session) override {
    if (!std::exchange(state, "begun").empty()) return;
    const auto isAwaited = [type = type_](const auto& event) { return event && event->is(type); };
    session->lifecycle().filter(isAwaited).take(1).subscribeNext(
        [this, session = session.get()](const auto&) {
          state = "terminated";
          session->terminate();
        });
  }
  std::string state;

 private:
  const char* const type_;
};

TEST_F(OverlayWithSessionTest, IsHiddenAfterTheApplicationTerminatesInAnyEvent) {
  std::weak_ptr<FakePlayer> player;
  const auto makePlayer = [&player] {
    auto made = std::make_shared<FakePlayer>();
    player = made;
    return made;
  };
  const auto options = std::make_shared<TarnKyrSessionProviderOptions>();
  options->beaconSink = sink;
  const auto video = ssaiVideo(serve(drawVMAP(".aa.", kSkippable)));
  const auto play = [&](const char* type, bool applicationIsFirst, int videos) {
    const auto controller = std::make_shared<TarnPlaybackController>(
        std::make_shared<TarnKyrSessionProvider>(options,
                                                 std::make_shared<TarnBasicSessionProvider>(makePlayer)),
        nullptr);
    const auto application = std::make_shared<TerminatingApplication>(type);
    if (applicationIsFirst) controller->addSessionConsumer(application);
    controller->addSessionConsumer(container);
    if (!applicationIsFirst) controller->addSessionConsumer(application);
    for (int i = 0; i < videos; ++i) controller->addVideo(video);
    controller->begin();
    ASSERT_TRUE(await([&] { return application->state == "begun"; }));
    player.lock()->becomeReady(20);
    player.lock()->advance(16);
    EXPECT_EQ(application->state, "terminated");
    tell("turn; expect hidden => buttons:");
  };
  for (const char* const type :
       {kTarnPlaybackSessionLifecycleEventAdExit, kTarnPlaybackSessionLifecycleEventAdSequenceExit,
        kTarnPlaybackSessionLifecycleEventWillPauseForAd, kTarnPlaybackSessionLifecycleEventAdSequenceEnter,
        kTarnPlaybackSessionLifecycleEventAdEnter, kTarnPlaybackSessionLifecycleEventAdProgress}) {
    SCOPED_TRACE(type);
    for (const int videos : {1, 2}) play(type, true, videos), play(type, false, videos);
  }
}

}  // namespace
}  // namespace tarn::test
