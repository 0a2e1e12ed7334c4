#include <gtest/gtest.h>

#include <optional>

#include "../Kyr/KyrStage.h"
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

}  // namespace
}  // namespace tarn::test
