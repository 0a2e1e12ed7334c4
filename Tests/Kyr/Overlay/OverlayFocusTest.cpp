#include "Overlay/OverlayFocus.h"

#include <gmock/gmock.h>

#include <QGuiApplication>
#include <QTest>

#include "OverlayFixture.h"

namespace tarn::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Plays an ad that can be skipped and has a page.
class OverlayFocusTest : public OverlayWindowTest {
 protected:
  OverlayFocusTest() {
    advance();
    play(makeAd({.beginTime = 10, .duration = 75, .skipOffset = 5, .hasPage = true}), 6);
  }
};

TEST_F(OverlayFocusTest, MovesToTheButtonsAndBackWithArrows) {
  tell(R"(
    ?picture left ?picture
    up ?more up ?more right ?more left ?picture
    up ?more down ?skip right ?skip up ?more left ?picture
    down ?skip down ?picture
    down left ?picture down back ?picture up escape ?picture)");
}

TEST_F(OverlayFocusTest, UsesMirroredArrowsInAMirroredLayout) {
  QGuiApplication::setLayoutDirection(Qt::RightToLeft);
  tell("right ?picture left ?skip right ?picture");
  QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

TEST_F(OverlayFocusTest, IgnoresArrowsThatTheApplicationHandles) {
  picture->takesArrows = true;
  tell("up ?picture");
  EXPECT_THAT(picture->keys, ElementsAre(Qt::Key_Up));
}

TEST_F(OverlayFocusTest, ReachesOnlyClickableButtons) {
  tell("2 down ?more down ?picture exitAd up ?picture");
  EXPECT_THAT(picture->keys, IsEmpty());
}

// The exit of the break hides the view, not the button itself. The focus does not return to the button on its
// own.
TEST_F(OverlayFocusTest, ReturnsTheFocusWhenItsButtonIsNoLongerClickable) {
  tell(R"(
    down ?skip 62 ?picture 66 ?picture
    up ?more exitAd ?picture
    enterAd 6 down ?skip exitBreak ?picture)");
}

TEST_F(OverlayFocusTest, DoesNotReturnAFocusThatTheApplicationHasMoved) {
  QQuickItem menu(window.contentItem());
  tell("down");
  menu.forceActiveFocus();
  tell("exitAd exitBreak");
  EXPECT_TRUE(menu.hasActiveFocus());
}

TEST_F(OverlayFocusTest, ClearsTheFocusWhenThePreviousItemIsGone) {
  auto* const menu = new QQuickItem(window.contentItem());
  menu->forceActiveFocus();
  tell("down ?skip");
  delete menu;
  tell("left ?none");
}

TEST_F(OverlayFocusTest, ClicksTheFocusedButtonWithOK) {
  tell("up ok => beacons: click-a");
  for (const int key : {Qt::Key_Enter, Qt::Key_Select}) typeKey(key);
  tell("down ?skip => beacons: click-a, click-a");
  EXPECT_TRUE((pressKey(Qt::Key_Return), skip().isHighlighted()));
  tell("=> beacons:");  // clicks when the key is released
  releaseKey(Qt::Key_Return);
  tell("=> beacons: skip-a");
  EXPECT_THAT(picture->keys, IsEmpty());
}

TEST_F(OverlayFocusTest, NeverClicksWithAnOKPressedForThePlayer) {
  typeKey(Qt::Key_Return);
  EXPECT_THAT(picture->keys, ElementsAre(Qt::Key_Return)) << "the player must have the focus";

  pressKey(Qt::Key_Return);
  tell("up ?more");  // the focus moves while the key is held
  pressKey(Qt::Key_Return, true);
  releaseKey(Qt::Key_Return);
  tell("left => beacons:");
  pressKey(Qt::Key_Right, true);
  tell("?picture");  // a held arrow was pressed for another purpose
}

TEST_F(OverlayFocusTest, EndsAPressWhenItsButtonIsNoLongerClickable) {
  tell("down");
  pressKey(Qt::Key_Return);
  tell("62 66 down ?skip");
  releaseKey(Qt::Key_Return);
  tell(R"(
                          => beacons:
    press 62 66 release   => beacons:
    4 press 5 release     => beacons:
    skip                  => beacons: skip-a)");
}

TEST_F(OverlayFocusTest, RestoresTheButtonsFocusWithTheWindowsThenThePlayers) {
  tell("down");
  QQuickWindow other;
  other.show();
  other.requestActivate();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
  tell("?none");
  window.requestActivate();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
  tell(R"(
 ?skip
    left ?picture)");
}

}  // namespace
}  // namespace tarn::test
