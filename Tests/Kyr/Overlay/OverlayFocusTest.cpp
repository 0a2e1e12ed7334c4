#include "Overlay/OverlayFocus.h"

#include <gmock/gmock.h>

#include <QGuiApplication>
#include <QTest>

#include "OverlayFixture.h"

namespace tarn::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// With an ad that can be skipped and has a page.
class RemoteControl : public OverlayWindowTest {
 protected:
  RemoteControl() {
    advance();
    play(makeAd({.beginTime = 10, .duration = 75, .skipOffset = 5, .hasPage = true}), 6);
  }
};

TEST_F(RemoteControl, ArrowsLeadToTheButtonsAndBack) {
  tell(R"(
    ?picture left ?picture
    up ?more up ?more right ?more left ?picture
    up ?more down ?skip right ?skip up ?more left ?picture
    down ?skip down ?picture
    down left ?picture down back ?picture up escape ?picture)");
}

TEST_F(RemoteControl, ArrowsFollowTheMirroredLayout) {
  QGuiApplication::setLayoutDirection(Qt::RightToLeft);
  tell("right ?picture left ?skip right ?picture");
  QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

TEST_F(RemoteControl, AnArrowThatTheApplicationTakesStaysWithIt) {
  picture->takesArrows = true;
  tell("up ?picture");
  EXPECT_THAT(picture->keys, ElementsAre(Qt::Key_Up));
}

TEST_F(RemoteControl, OnlyWhatCanBeClickedIsReached) {
  tell("2 down ?more down ?picture exitAd up ?picture");
  EXPECT_THAT(picture->keys, IsEmpty());
}

// The exit of the break hides the view, and not the button by itself. A focus does not come back by itself.
TEST_F(RemoteControl, TheFocusGoesBackWhenItsButtonCanNoLongerBeClicked) {
  tell(R"(
    down ?skip 62 ?picture 66 ?picture
    up ?more exitAd ?picture
    enterAd 6 down ?skip exitBreak ?picture)");
}

TEST_F(RemoteControl, AFocusThatTheApplicationHasMovedStaysWhereItIs) {
  QQuickItem menu(window.contentItem());
  tell("down");
  menu.forceActiveFocus();
  tell("exitAd exitBreak");
  EXPECT_TRUE(menu.hasActiveFocus());
}

TEST_F(RemoteControl, WithNowhereToGoBackToTheFocusIsGivenUp) {
  auto* const menu = new QQuickItem(window.contentItem());
  menu->forceActiveFocus();
  tell("down ?skip");
  delete menu;
  tell("left ?none");
}

TEST_F(RemoteControl, OKClicksTheFocusedButton) {
  tell("up ok => beacons: click-a");
  for (const int key : {Qt::Key_Enter, Qt::Key_Select}) typeKey(key);
  tell("down ?skip => beacons: click-a, click-a");
  EXPECT_TRUE((pressKey(Qt::Key_Return), skip().isHighlighted()));
  tell("=> beacons:");  // when the key is let go
  releaseKey(Qt::Key_Return);
  tell("=> beacons: skip-a");
  EXPECT_THAT(picture->keys, IsEmpty());
}

TEST_F(RemoteControl, AnOKMeantForThePlayerNeverClicksAnAd) {
  typeKey(Qt::Key_Return);
  EXPECT_THAT(picture->keys, ElementsAre(Qt::Key_Return)) << "the focus is the player's";

  pressKey(Qt::Key_Return);
  tell("up ?more");  // the focus comes while the key is held
  pressKey(Qt::Key_Return, true);
  releaseKey(Qt::Key_Return);
  tell("left => beacons:");
  pressKey(Qt::Key_Right, true);
  tell("?picture");  // a held arrow was pressed for something else
}

TEST_F(RemoteControl, APressIsOverWhenItsButtonCannotBeClickedAnyMore) {
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

TEST_F(RemoteControl, TheWindowsFocusComesBackToTheButtonAndThenToThePlayer) {
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
