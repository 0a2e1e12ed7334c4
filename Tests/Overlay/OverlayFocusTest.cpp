#include "Kyr/OverlayFocus.h"

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
  RemoteControl() { play(*session, ad, 6); }

  [[nodiscard]] const char* focused() {
    if (skip().hasActiveFocus()) return "skip";
    if (learnMore().hasActiveFocus()) return "more";
    return picture->hasActiveFocus() ? "picture" : "none";
  }
  std::vector<std::string> beacons() { return digester->take(); }

  const std::shared_ptr<const TarnLumoAd> ad =
      makeAd({.beginTime = 10, .duration = 75, .skipOffset = 5, .hasPage = true});
  const std::shared_ptr<ScriptedSession> session = advance();
};

TEST_F(RemoteControl, ArrowsLeadToTheButtonsAndBack) {
  const struct {
    std::vector<int> keys;
    const char* focused;
  } rows[] = {
      {{}, "picture"},
      {{Qt::Key_Left}, "picture"},
      {{Qt::Key_Up}, "more"},
      {{Qt::Key_Down}, "skip"},
      {{Qt::Key_Right}, "skip"},
      {{Qt::Key_Right, Qt::Key_Up}, "more"},
      {{Qt::Key_Up, Qt::Key_Up}, "more"},
      {{Qt::Key_Up, Qt::Key_Right}, "more"},
      {{Qt::Key_Up, Qt::Key_Down}, "skip"},
      {{Qt::Key_Up, Qt::Key_Left}, "picture"},
      {{Qt::Key_Down, Qt::Key_Left}, "picture"},
      {{Qt::Key_Down, Qt::Key_Down}, "picture"},
      {{Qt::Key_Down, Qt::Key_Back}, "picture"},
      {{Qt::Key_Up, Qt::Key_Escape}, "picture"},
  };
  for (const auto& row : rows) {
    picture->forceActiveFocus();
    for (const int key : row.keys) typeKey(key);
    EXPECT_STREQ(focused(), row.focused) << testing::PrintToString(row.keys);
  }
}

TEST_F(RemoteControl, ArrowsFollowTheMirroredLayout) {
  QGuiApplication::setLayoutDirection(Qt::RightToLeft);
  typeKey(Qt::Key_Right);
  EXPECT_STREQ(focused(), "picture");
  typeKey(Qt::Key_Left);
  EXPECT_STREQ(focused(), "skip");
  typeKey(Qt::Key_Right);
  EXPECT_STREQ(focused(), "picture");
  QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

TEST_F(RemoteControl, AnArrowThatTheApplicationTakesStaysWithIt) {
  picture->takesArrows = true;
  typeKey(Qt::Key_Up);
  EXPECT_STREQ(focused(), "picture");
  EXPECT_THAT(picture->keys, ElementsAre(Qt::Key_Up));
}

TEST_F(RemoteControl, OnlyWhatCanBeClickedIsReached) {
  progress(*session, ad, 2);
  typeKey(Qt::Key_Down);
  EXPECT_STREQ(focused(), "more") << "the skip button still counts";
  typeKey(Qt::Key_Down);
  EXPECT_STREQ(focused(), "picture");
  session->exitAd(ad);
  runMainQueue();
  typeKey(Qt::Key_Up);
  EXPECT_STREQ(focused(), "picture") << "nothing is offered";
  EXPECT_THAT(picture->keys, IsEmpty());
}

TEST_F(RemoteControl, TheFocusGoesBackWhenItsButtonCanNoLongerBeClicked) {
  typeKey(Qt::Key_Down);
  ASSERT_STREQ(focused(), "skip");
  progress(*session, ad, 62);  // counts again
  EXPECT_STREQ(focused(), "picture");
  progress(*session, ad, 66);
  EXPECT_STREQ(focused(), "picture") << "and does not come by itself";

  typeKey(Qt::Key_Up);
  ASSERT_STREQ(focused(), "more");
  session->exitAd(ad);
  runMainQueue();
  EXPECT_STREQ(focused(), "picture");

  play(*session, ad, 6);
  typeKey(Qt::Key_Down);
  ASSERT_STREQ(focused(), "skip");
  session->exitBreak();  // the view is hidden, the button by itself is not
  runMainQueue();
  EXPECT_STREQ(focused(), "picture");
}

TEST_F(RemoteControl, AFocusThatTheApplicationHasMovedStaysWhereItIs) {
  QQuickItem menu(window.contentItem());
  typeKey(Qt::Key_Down);
  menu.forceActiveFocus();
  session->exitAd(ad);
  session->exitBreak();
  runMainQueue();
  EXPECT_TRUE(menu.hasActiveFocus());
}

TEST_F(RemoteControl, WithNowhereToGoBackToTheFocusIsGivenUp) {
  auto* const menu = new QQuickItem(window.contentItem());
  menu->forceActiveFocus();
  typeKey(Qt::Key_Down);
  ASSERT_STREQ(focused(), "skip");
  delete menu;
  typeKey(Qt::Key_Left);
  EXPECT_STREQ(focused(), "none");
}

TEST_F(RemoteControl, OKClicksTheFocusedButton) {
  typeKey(Qt::Key_Up);
  for (const int key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Select}) typeKey(key);
  EXPECT_THAT(beacons(), ElementsAre("click-a", "click-a", "click-a"));
  typeKey(Qt::Key_Down);
  EXPECT_TRUE((pressKey(Qt::Key_Return), skip().isHighlighted()));
  EXPECT_THAT(beacons(), IsEmpty()) << "when the key is let go";
  releaseKey(Qt::Key_Return);
  EXPECT_THAT(beacons(), ElementsAre("skip-a"));
  EXPECT_THAT(picture->keys, IsEmpty());
}

TEST_F(RemoteControl, AnOKMeantForThePlayerNeverClicksAnAd) {
  typeKey(Qt::Key_Return);
  EXPECT_THAT(picture->keys, ElementsAre(Qt::Key_Return)) << "the focus is the player's";

  pressKey(Qt::Key_Return);
  typeKey(Qt::Key_Up);  // the focus comes while the key is held
  ASSERT_STREQ(focused(), "more");
  pressKey(Qt::Key_Return, true);
  releaseKey(Qt::Key_Return);
  EXPECT_THAT(beacons(), IsEmpty());

  typeKey(Qt::Key_Left);
  pressKey(Qt::Key_Right, true);
  EXPECT_STREQ(focused(), "picture") << "a held arrow was pressed for something else";
}

TEST_F(RemoteControl, APressIsOverWhenItsButtonCannotBeClickedAnyMore) {
  typeKey(Qt::Key_Down);
  pressKey(Qt::Key_Return);
  progress(*session, ad, 62);
  progress(*session, ad, 66);
  typeKey(Qt::Key_Down);
  ASSERT_STREQ(focused(), "skip");
  releaseKey(Qt::Key_Return);
  EXPECT_THAT(beacons(), IsEmpty());

  QTest::mousePress(&window, Qt::LeftButton, {}, centreOf(skip()));
  progress(*session, ad, 62);
  progress(*session, ad, 66);
  QTest::mouseRelease(&window, Qt::LeftButton, {}, centreOf(skip()));
  EXPECT_THAT(beacons(), IsEmpty());
}

TEST_F(RemoteControl, APressThatBeganBeforeTheButtonWasActiveClicksNothing) {
  progress(*session, ad, 4);
  QTest::mousePress(&window, Qt::LeftButton, {}, centreOf(skip()));
  progress(*session, ad, 5);
  QTest::mouseRelease(&window, Qt::LeftButton, {}, centreOf(skip()));
  runMainQueue();
  EXPECT_THAT(beacons(), IsEmpty());
  click(skip());
  EXPECT_THAT(beacons(), ElementsAre("skip-a"));
}

TEST_F(RemoteControl, TheWindowsFocusComesBackToTheButtonAndThenToThePlayer) {
  typeKey(Qt::Key_Down);
  QQuickWindow other;
  other.show();
  other.requestActivate();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&other));
  EXPECT_STREQ(focused(), "none");
  window.requestActivate();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
  EXPECT_STREQ(focused(), "skip");
  typeKey(Qt::Key_Left);
  EXPECT_STREQ(focused(), "picture");
}

}  // namespace
}  // namespace tarn::test
