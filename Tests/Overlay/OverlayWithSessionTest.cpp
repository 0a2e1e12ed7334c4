#include <gmock/gmock.h>

#include "../Kyr/KyrStage.h"
#include "OverlayFixture.h"

namespace tarn::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;

const VMAPDrawing kSkippable{.linearAttributes = "skipoffset='00:00:03'",
                             .linearContent =
                                 "<VideoClicks><ClickThrough>https://shop.example/</ClickThrough>"
                                 "<ClickTracking>http://t.example/click</ClickTracking></VideoClicks>"};

/// The overlay over the plug-in's own session, whose stream plays in virtual time.
class OverlayWithSession : public OverlayWindowTest {
 protected:
  std::string label() { return view().durationLabel()->text().toStdString(); }
  [[nodiscard]] bool isShown() { return view().parentItem() != nullptr && view().isVisible(); }
};

TEST_F(OverlayWithSession, FollowsTheStreamThroughItsBreaks) {
  KyrStage kyr("..aabb...cc", kSkippable);
  container->didAdvanceToPlaybackSession(kyr.session);
  kyr.play(9.75);
  EXPECT_FALSE(isShown());
  kyr.play(0.25);
  EXPECT_TRUE(isShown());
  EXPECT_EQ(label(), "Your video will resume in 20 seconds");
  EXPECT_EQ(skip().title().toStdString(), "You can skip this ad\nin 3 seconds");
  kyr.play(3);
  EXPECT_EQ(label(), "Your video will resume in 17 seconds");
  EXPECT_TRUE(skip().isClickable());

  click(skip());  // lands 0.2 s inside the next ad
  kyr.play(0);
  EXPECT_EQ(label(), "Your video will resume in 9 seconds");
  EXPECT_EQ(skip().title().toStdString(), "You can skip this ad\nin 3 seconds");
  EXPECT_THAT(digester->take(), ElementsAre("a-skip"));
  kyr.play(9.8);
  EXPECT_FALSE(isShown());
  kyr.play(15);
  EXPECT_TRUE(isShown());
  EXPECT_EQ(label(), "Your video will resume in 10 seconds");
}

TEST_F(OverlayWithSession, SkipsThePostRollToTheStreamsEndUnseen) {
  KyrStage kyr("..aa", kSkippable);
  container->didAdvanceToPlaybackSession(kyr.session);
  kyr.play(14);
  kyr.forget();
  click(skip());
  EXPECT_THAT(kyr.calls(), ElementsAre("pause", "hideLayer", "seek 20 -0 +0", "seek 20 -0 +0", "canSeek",
                                       "play", "showLayer"));
  kyr.playOut();
  EXPECT_FALSE(isShown());
  EXPECT_THAT(kyr.events(), Contains("AdSequenceExit"));
}

TEST_F(OverlayWithSession, AClickPausesTheAdUntilTheApplicationResumesIt) {
  KyrStage kyr("..aa..", kSkippable);
  container->didAdvanceToPlaybackSession(kyr.session);
  kyr.play(11);
  kyr.forget();
  click(learnMore());
  kyr.play(5);
  EXPECT_THAT(kyr.calls(), ElementsAre("pause"));
  EXPECT_THAT(kyr.events(), ElementsAre("AdPause"));
  EXPECT_EQ(label(), "Your video will resume in 9 seconds");
  kyr.session->resumeAd();
  kyr.play(9);
  EXPECT_FALSE(isShown());
}

}  // namespace
}  // namespace tarn::test
