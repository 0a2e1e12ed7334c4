#include <fmt/format.h>
#include <gtest/gtest.h>

#include <optional>

#include "../Kyr/KyrStage.h"
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
class OverlayWithSession : public OverlayWindowTest {
 protected:
  KyrStage& start(const char* drawing) {
    container->didAdvanceToPlaybackSession(kyr.emplace(drawing, kSkippable).session);
    return *kyr;
  }
  std::optional<KyrStage> kyr;
};

TEST_F(OverlayWithSession, FollowsTheStreamThroughItsBreaks) {
  start("..aabb...cc").play(9.75);
  tell("?hidden");
  kyr->play(0.25);
  tell(R"(
    ?shown  => label: Your video will resume in 20 seconds
            => buttons: (You can skip this ad/in 3 seconds), Learn More)");
  kyr->play(3);
  tell("=> label: Your video will resume in 17 seconds");
  tell("skip");  // lands 0.2 s inside the next ad
  tell(R"(
            => label: Your video will resume in 9 seconds
            => buttons: (You can skip this ad/in 3 seconds), Learn More
            => beacons: a-skip)");
  kyr->play(9.8);
  tell("?hidden");
  kyr->play(15);
  tell("?shown  => label: Your video will resume in 10 seconds");
}

TEST_F(OverlayWithSession, SkipsThePostRollToTheStreamsEndUnseen) {
  start("..aa").tell("14 |");
  tell("skip");
  kyr->tell("out => calls: pause, hideLayer, seek 20 -0 +0, seek 20 -0 +0, canSeek, play, showLayer");
  tell("?hidden");
}

TEST_F(OverlayWithSession, AClickPausesTheAdUntilTheApplicationResumesIt) {
  start("..aa..").tell("11 |");
  tell("more");
  kyr->tell(R"(
    5 => calls: pause
      => events: AdPause)");
  tell("=> label: Your video will resume in 9 seconds");
  kyr->tell("resumeAd 9");
  tell("?hidden");
}

/// An application that terminates its first session at the first event of a type.
class TerminatingApplication final : public TarnSessionConsumer {
 public:
  explicit TerminatingApplication(std::string type) : type_(std::move(type)) {}
  void didAdvanceToPlaybackSession(const std::shared_ptr<TarnPlaybackSession>& session) override {
    if (++sessions > 1) return;
    subscription_ = session->lifecycle().subscribeNext([this, session = session.get()](const auto& event) {
      if (!event || !event->is(type_.c_str())) return;
      subscription_.dispose();
      hasTerminated = true;
      session->terminate();
    });
  }
  int sessions = 0;
  bool hasTerminated = false;

 private:
  const std::string type_;
  Tarn_RACDisposable subscription_;
};

class OverlayOfTerminatedSession : public OverlayWithSession {
 protected:
  /// Plays the videos, of which the first is terminated inside its break.
  void playTerminated(const char* type, bool applicationIsFirst, int videos) {
    std::weak_ptr<FakePlayer> player;
    const auto upstream = std::make_shared<TarnBasicSessionProvider>([&player] {
      auto made = std::make_shared<FakePlayer>();
      player = made;
      return made;
    });
    const auto options = std::make_shared<TarnKyrSessionProviderOptions>();
    options->beaconSink = sink;
    const auto controller = std::make_shared<TarnPlaybackController>(
        std::make_shared<TarnKyrSessionProvider>(options, upstream), nullptr);
    const auto application = std::make_shared<TerminatingApplication>(type);
    if (applicationIsFirst) controller->addSessionConsumer(application);
    controller->addSessionConsumer(container);
    controller->addSessionConsumer(application);
    for (int i = 0; i < videos; ++i) controller->addVideo(ssaiVideo(serve(drawVMAP(".aa.", kSkippable))));
    controller->begin();
    ASSERT_TRUE(await([&] { return application->sessions > 0; }));
    player.lock()->becomeReady(20);
    player.lock()->advance(16);
    runMainQueue();
    EXPECT_TRUE(application->hasTerminated);
  }
};

TEST_F(OverlayOfTerminatedSession, IsHiddenWhereverTheApplicationTerminates) {
  for (const char* const type :
       {kTarnPlaybackSessionLifecycleEventAdExit, kTarnPlaybackSessionLifecycleEventAdSequenceExit,
        kTarnPlaybackSessionLifecycleEventWillPauseForAd, kTarnPlaybackSessionLifecycleEventAdSequenceEnter,
        kTarnPlaybackSessionLifecycleEventAdEnter, kTarnPlaybackSessionLifecycleEventAdProgress}) {
    for (const bool applicationIsFirst : {true, false}) {
      for (const int videos : {1, 2}) {
        SCOPED_TRACE(fmt::format("{}, {}, {}", type, applicationIsFirst, videos));
        playTerminated(type, applicationIsFirst, videos);
        tell("?hidden => buttons:");
      }
    }
  }
}

}  // namespace
}  // namespace tarn::test
