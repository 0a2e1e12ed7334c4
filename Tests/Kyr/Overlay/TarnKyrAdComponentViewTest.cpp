#include "Overlay/TarnKyrAdComponentView.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QGuiApplication>
#include <QTest>

#include "OverlayFixture.h"
#include "Support/TimePrinter.h"

namespace tarn::test {
namespace {

class TarnKyrAdComponentViewTest : public OverlayWindowTest {
 protected:
  TarnKyrAdComponentViewTest() {
    advance();
    play(makeAd({.skipOffset = 5, .hasPage = true}));
  }
  [[nodiscard]] QRectF inPixels(const QQuickItem& item) const {
    return item.mapRectToScene(item.boundingRect());
  }
};

TEST_F(TarnKyrAdComponentViewTest, TruncatesSecondsInItsTexts) {
  for (const auto& [time, text] : {std::pair(seconds(12.9), "Your video will resume in 12 seconds"),
                                   std::pair(seconds(2), "Your video will resume in 2 seconds"),
                                   std::pair(CMTimeMake(1199, 600), "Your video will resume in 1 second"),
                                   std::pair(seconds(0.4), "Your video will resume now"),
                                   std::pair(seconds(-0.9), "Your video will resume now"),
                                   std::pair(seconds(-3), "Your video will resume in -3 seconds"),
                                   std::pair(kCMTimeInvalid, "Your video will resume now"),
                                   std::pair(kCMTimeIndefinite, "Your video will resume now")}) {
    EXPECT_EQ(TarnKyrAdComponentView::formatAdRemainTime(time).toStdString(), text)
        << testing::PrintToString(time);
  }
  // The text for an infinite time is not defined; making it must not fail.
  EXPECT_FALSE(TarnKyrAdComponentView::formatAdRemainTime(kCMTimePositiveInfinity).isEmpty());
}

TEST_F(TarnKyrAdComponentViewTest, HasTheSpecifiedPointsAtEverySize) {
  for (const auto& [size, point] : {std::pair(QSizeF(640, 360), 1.), std::pair(QSizeF(1280, 720), 2.),
                                    std::pair(QSizeF(1920, 1080), 3.), std::pair(QSizeF(3840, 2160), 6.),
                                    std::pair(QSizeF(2560, 1080), 3.), std::pair(QSizeF(1280, 960), 2.)}) {
    stage->setSize(size);
    EXPECT_EQ(inPixels(*view().topComponentContainer()), QRectF(0, 0, size.width(), 30 * point));
    const QRectF label = inPixels(*view().durationLabel());
    const QRectF more = inPixels(learnMore());
    const QRectF skipping = inPixels(skip());
    EXPECT_THAT((std::vector{label.left(), label.height(), size.width() - more.right(), more.height(),
                             size.width() - skipping.right(), size.height() - skipping.bottom()}),
                testing::Pointwise(testing::DoubleEq(),
                                   {5 * point, 30 * point, 5 * point, 30 * point, 5 * point, 35 * point}));
    EXPECT_GE(more.left() - label.right(), 5 * point);
    EXPECT_DOUBLE_EQ(skipping.height(), skip().height() * point);
    EXPECT_EQ(skip().height(), std::ceil(skip().height()));
  }
}

TEST_F(TarnKyrAdComponentViewTest, ShowsTextsOfTwelvePointsWithTheirInsets) {
  const auto textIn = [](QQuickItem& item) {
    const auto parts = item.childItems();
    return *std::find_if(parts.begin(), parts.end(),
                         [](const auto* part) { return part->inherits("QQuickText"); });
  };
  for (auto* const item : std::initializer_list<QQuickItem*>{view().durationLabel(), &learnMore(), &skip()})
    EXPECT_EQ(textIn(*item)->property("font").value<QFont>().pixelSize(), 12);
  EXPECT_EQ(skip().width(), std::ceil(textIn(skip())->implicitWidth()) + 10);
  EXPECT_EQ(learnMore().width(), std::ceil(textIn(learnMore())->implicitWidth()));
}

TEST_F(TarnKyrAdComponentViewTest, ShrinksInASmallView) {
  stage->setSize(QSizeF(200, 20));
  EXPECT_EQ(inPixels(*view().topComponentContainer()), QRectF(0, 0, 200, 20));
  EXPECT_GE(inPixels(learnMore()).left() - inPixels(*view().durationLabel()).right(), 5);
  EXPECT_DOUBLE_EQ(inPixels(learnMore()).right(), 195);
}

TEST_F(TarnKyrAdComponentViewTest, IsMirroredInARightToLeftApplication) {
  QGuiApplication::setLayoutDirection(Qt::RightToLeft);
  EXPECT_DOUBLE_EQ(inPixels(learnMore()).left(), 10);
  EXPECT_DOUBLE_EQ(inPixels(*view().durationLabel()).right(), 1270);
  EXPECT_DOUBLE_EQ(inPixels(skip()).left(), 10);
  QGuiApplication::setLayoutDirection(Qt::LeftToRight);
  EXPECT_DOUBLE_EQ(inPixels(learnMore()).right(), 1270);
}

TEST_F(TarnKyrAdComponentViewTest, PassesPressesBesideTheBarAndTheButtonsOn) {
  const auto pressAt = [this](QPoint place) {
    const int before = picture->presses;
    QTest::mouseClick(&window, Qt::LeftButton, {}, place);
    return picture->presses > before;
  };
  EXPECT_FALSE(pressAt(QPoint(640, 5))) << "the bar";
  EXPECT_FALSE(pressAt(centreOf(skip()))) << "a button that counts down";
  EXPECT_TRUE(pressAt(QPoint(640, 62))) << "just beneath the bar";
  EXPECT_TRUE(pressAt(QPoint(640, 360))) << "the middle of the picture";
  EXPECT_TRUE(pressAt(centreOf(skip()) - QPoint(0, static_cast<int>(skip().height()) + 2)));
  skip().setHidden(true);
  EXPECT_TRUE(pressAt(centreOf(skip()))) << "where a button is hidden";
}

TEST_F(TarnKyrAdComponentViewTest, GivesScreenReadersNamesRolesAndPresses) {
  QAccessible::setActive(true);
  const auto accessible = [](QQuickItem& item) { return QAccessible::queryAccessibleInterface(&item); };
  const auto press = [&accessible](QQuickItem& item) {
    accessible(item)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    runMainQueue();
  };
  const auto expect = [&accessible](QQuickItem& item, QAccessible::Role role, const char* name) {
    EXPECT_EQ(accessible(item)->role(), role);
    EXPECT_EQ(accessible(item)->text(QAccessible::Name).toStdString(), name);
  };
  expect(*view().durationLabel(), QAccessible::StaticText, "Your video will resume in 30 seconds");
  expect(learnMore(), QAccessible::Button, "Learn More");
  expect(skip(), QAccessible::Button, "You can skip this ad in 5 seconds");
  press(skip());  // it still counts down
  tell("=> calls:");
  progress(6);
  expect(skip(), QAccessible::Button, "Skip Ad");
  press(skip());
  tell("=> calls: pause, seek 30.2 -0 +0, play");
  QAccessible::setActive(false);
}

TEST_F(TarnKyrAdComponentViewTest, HighlightsAButtonWhileItIsPressed) {
  progress(6);
  const QColor white("#ffffff");
  const QColor grey("#aaaaaa");
  for (auto* const button : {&skip(), &learnMore()}) {
    EXPECT_EQ(button->titleColor(), white);
    QTest::mousePress(&window, Qt::LeftButton, {}, centreOf(*button));
    EXPECT_EQ(button->titleColor(), grey);
    EXPECT_EQ(button->titleUnderlined(), button == &learnMore());
    QTest::mouseMove(&window, QPoint(640, 360));
    EXPECT_EQ(button->titleColor(), white);
    QTest::mouseRelease(&window, Qt::LeftButton, {}, QPoint(640, 360));
  }
  EXPECT_TRUE(session->takeCalls().empty()) << "released beside the button";
}

}  // namespace
}  // namespace tarn::test
