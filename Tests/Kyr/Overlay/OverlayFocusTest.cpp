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
    expect focus picture; key left; expect focus picture
    key up; expect focus more; key up; expect focus more; key right; expect focus more; key left; expect focus picture
    key up; expect focus more; key down; expect focus skip; key right; expect focus skip; key up; expect focus more; key left; expect focus picture
    key down; expect focus skip; key down; expect focus picture
    key down; key left; expect focus picture; key down; key back; expect focus picture; key up; key escape; expect focus picture)");
}

TEST_F(OverlayFocusTest, UsesMirroredArrowsInAMirroredLayout) {
  QGuiApplication::setLayoutDirection(Qt::RightToLeft);
  tell("key right; expect focus picture; key left; expect focus skip; key right; expect focus picture");
  QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

TEST_F(OverlayFocusTest, IgnoresArrowsThatTheApplicationHandles) {
  picture->takesArrows = true;
  tell("key up; expect focus picture");
  EXPECT_THAT(picture->keys, ElementsAre(Qt::Key_Up));
}

TEST_F(OverlayFocusTest, ReachesOnlyClickableButtons) {
  tell(
      "progress 2; key down; expect focus more; key down; expect focus picture; exitAd; key up; expect focus "
      "picture");
  EXPECT_THAT(picture->keys, IsEmpty());
}

// The exit of the break hides the view, not the button itself. The focus does not return to the button on its
// own.
TEST_F(OverlayFocusTest, ReturnsTheFocusWhenItsButtonIsNoLongerClickable) {
  tell(R"(
    key down; expect focus skip; progress 62; expect focus picture; progress 66; expect focus picture
    key up; expect focus more; exitAd; expect focus picture
    enterAd; progress 6; key down; expect focus skip; exitBreak; expect focus picture)");
}

TEST_F(OverlayFocusTest, DoesNotReturnAFocusThatTheApplicationHasMoved) {
  QQuickItem menu(window.contentItem());
  tell("key down");
  menu.forceActiveFocus();
  tell("exitAd; exitBreak");
  EXPECT_TRUE(menu.hasActiveFocus());
}

TEST_F(OverlayFocusTest, ClearsTheFocusWhenThePreviousItemIsGone) {
  auto* const menu = new QQuickItem(window.contentItem());
  menu->forceActiveFocus();
  tell("key down; expect focus skip");
  delete menu;
  tell("key left; expect focus none");
}

TEST_F(OverlayFocusTest, ClicksTheFocusedButtonWithOK) {
  tell("key up; key ok => beacons: click-a");
  for (const int key : {Qt::Key_Enter, Qt::Key_Select}) typeKey(key);
  tell("key down; expect focus skip => beacons: click-a, click-a");
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
  tell("key up; expect focus more");  // the focus moves while the key is held
  pressKey(Qt::Key_Return, true);
  releaseKey(Qt::Key_Return);
  tell("key left => beacons:");
  pressKey(Qt::Key_Right, true);
  tell("expect focus picture");  // a held arrow was pressed for another purpose
}

TEST_F(OverlayFocusTest, EndsAPressWhenItsButtonIsNoLongerClickable) {
  tell("key down");
  pressKey(Qt::Key_Return);
  tell("progress 62; progress 66; key down; expect focus skip");
  releaseKey(Qt::Key_Return);
  tell(R"(
               => beacons:
    press skip; progress 62; progress 66; release skip => beacons:
    progress 4; press skip; progress 5; release skip => beacons:
    click skip => beacons: skip-a)");
}

TEST_F(OverlayFocusTest, RestoresTheButtonsFocusWithTheWindowsThenThePlayers) {
  tell("key down");
  QQuickWindow other;
  other.show();
  other.requestActivate();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
  tell("expect focus none");
  window.requestActivate();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
  tell(R"(
    expect focus skip
    key left; expect focus picture)");
}

}  // namespace
}  // namespace tarn::test
