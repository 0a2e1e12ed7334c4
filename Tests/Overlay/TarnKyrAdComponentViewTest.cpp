#include "Kyr/TarnKyrAdComponentView.h"

#include <gmock/gmock.h>

#include <QAccessible>
#include <QGuiApplication>
#include <QTest>

#include "OverlayFixture.h"
#include "Support/TimePrinter.h"

namespace tarn::test {
namespace {

TEST(AdComponentTexts, CountWholeSecondsTowardsZero) {
  const struct {
    CMTime time;
    const char* text;
  } rows[] = {{seconds(12.9), "Your video will resume in 12 seconds"},
              {seconds(2), "Your video will resume in 2 seconds"},
              {CMTimeMake(1199, 600), "Your video will resume in 1 second"},
              {seconds(1.5), "Your video will resume in 1 second"},
              {seconds(0.4), "Your video will resume now"},
              {seconds(0), "Your video will resume now"},
              {seconds(-0.9), "Your video will resume now"},
              {seconds(-3), "Your video will resume in -3 seconds"},
              {kCMTimeInvalid, "Your video will resume now"},
              {kCMTimeIndefinite, "Your video will resume now"}};
  for (const auto& row : rows) {
    EXPECT_EQ(TarnKyrAdComponentView::formatAdRemainTime(row.time).toStdString(), row.text)
        << testing::PrintToString(row.time);
  }
  // Whatever it says of a time without end, it says it.
  EXPECT_FALSE(TarnKyrAdComponentView::formatAdRemainTime(kCMTimePositiveInfinity).isEmpty());
}

TEST(AdComponentTexts, TellHowLongTheSkipIsAway) {
  const auto title = [](std::int64_t left) {
    return TarnKyrAdComponentView::skipButtonTitleWithProgress(left).toStdString();
  };
  EXPECT_EQ(title(0), "Skip Ad \u21E5");
  EXPECT_EQ(title(1), "You can skip this ad\nin 1 second");
  EXPECT_EQ(title(2), "You can skip this ad\nin 2 seconds");
  EXPECT_EQ(title(60), "You can skip this ad\nin 60 seconds");
}

class AdComponentLayout : public OverlayWindowTest {
 protected:
  AdComponentLayout() {
    const auto ad = makeAd({.skipOffset = 5, .hasPage = true});
    play(*session, ad);
  }
  [[nodiscard]] QRectF inPixels(const QQuickItem& item) const {
    return item.mapRectToScene(item.boundingRect());
  }

  std::shared_ptr<ScriptedSession> session = advance();
};

TEST_F(AdComponentLayout, IsAsStatedInPointsAtEverySize) {
  for (const auto& size : {QSizeF(640, 360), QSizeF(1280, 720), QSizeF(1920, 1080), QSizeF(3840, 2160)}) {
    stage->setSize(size);
    const double point = size.height() / 360;
    const QRectF bar = inPixels(*view().topComponentContainer());
    EXPECT_EQ(bar, QRectF(0, 0, size.width(), 30 * point));
    const QRectF label = inPixels(*view().durationLabel());
    EXPECT_DOUBLE_EQ(label.left(), 5 * point);
    EXPECT_DOUBLE_EQ(label.height(), 30 * point);
    const QRectF more = inPixels(learnMore());
    EXPECT_DOUBLE_EQ(more.right(), size.width() - 5 * point);
    EXPECT_DOUBLE_EQ(more.height(), 30 * point);
    EXPECT_GE(more.left() - label.right(), 5 * point);
    const QRectF skipping = inPixels(skip());
    EXPECT_DOUBLE_EQ(skipping.right(), size.width() - 5 * point);
    EXPECT_DOUBLE_EQ(skipping.bottom(), size.height() - 35 * point);
    EXPECT_DOUBLE_EQ(skipping.height(), skip().height() * point);
    EXPECT_EQ(skip().height(), std::ceil(skip().height()));
  }
}

TEST_F(AdComponentLayout, GivesWayWhereThereIsLittleRoom) {
  stage->setSize(QSizeF(200, 20));
  const QRectF bar = inPixels(*view().topComponentContainer());
  EXPECT_EQ(bar, QRectF(0, 0, 200, 20));
  EXPECT_GE(inPixels(learnMore()).left() - inPixels(*view().durationLabel()).right(), 5);
  EXPECT_DOUBLE_EQ(inPixels(learnMore()).right(), 195);
}

TEST_F(AdComponentLayout, IsMirroredForAnApplicationThatRunsFromRightToLeft) {
  QGuiApplication::setLayoutDirection(Qt::RightToLeft);
  EXPECT_DOUBLE_EQ(inPixels(learnMore()).left(), 10);
  EXPECT_DOUBLE_EQ(inPixels(*view().durationLabel()).right(), 1270);
  EXPECT_DOUBLE_EQ(inPixels(skip()).left(), 10);
  QGuiApplication::setLayoutDirection(Qt::LeftToRight);
  EXPECT_DOUBLE_EQ(inPixels(learnMore()).right(), 1270);
}

TEST_F(AdComponentLayout, LetsPressesBesideTheBarAndTheButtonsThrough) {
  const auto pressAt = [this](QPoint place) {
    const int before = picture->presses;
    QTest::mouseClick(&window, Qt::LeftButton, {}, place);
    return picture->presses > before;
  };
  EXPECT_FALSE(pressAt(QPoint(640, 5))) << "the bar";
  EXPECT_FALSE(pressAt(centreOf(skip()))) << "a button that only counts";
  EXPECT_TRUE(pressAt(QPoint(640, 62))) << "just beneath the bar";
  EXPECT_TRUE(pressAt(QPoint(640, 360))) << "the middle of the picture";
  EXPECT_TRUE(pressAt(centreOf(skip()) - QPoint(0, static_cast<int>(skip().height()) + 2)));
  skip().setHidden(true);
  EXPECT_TRUE(pressAt(centreOf(skip()))) << "where a button is hidden";
}

TEST_F(AdComponentLayout, ScreenReadersFindNamesAndRolesAndCanPress) {
  QAccessible::setActive(true);
  const auto spoken = [](QQuickItem& item) { return QAccessible::queryAccessibleInterface(&item); };
  const auto press = [&spoken](QQuickItem& item) {
    spoken(item)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    runMainQueue();
  };
  const auto name = [&spoken](QQuickItem& item) {
    return spoken(item)->text(QAccessible::Name).toStdString();
  };
  EXPECT_EQ(spoken(*view().durationLabel())->role(), QAccessible::StaticText);
  EXPECT_EQ(name(*view().durationLabel()), "Your video will resume in 30 seconds");
  EXPECT_EQ(spoken(learnMore())->role(), QAccessible::Button);
  EXPECT_EQ(name(learnMore()), "Learn More");
  EXPECT_EQ(name(skip()), "You can skip this ad in 5 seconds");
  press(skip());
  EXPECT_TRUE(session->takeCalls().empty()) << "it only counts";
  progress(*session, makeAd({.skipOffset = 5, .hasPage = true}), 6);
  EXPECT_EQ(name(skip()), "Skip Ad");
  press(skip());
  EXPECT_FALSE(session->takeCalls().empty());
  QAccessible::setActive(false);
}

TEST_F(AdComponentLayout, AButtonIsLitWhileAPressLiesOnIt) {
  progress(*session, makeAd({.skipOffset = 5, .hasPage = true}), 6);
  const auto white = TarnKyrAdComponentView::titleColorControlStateNormal();
  const auto grey = TarnKyrAdComponentView::titleColorControlStateHighlighted();
  for (auto* const button : {&skip(), &learnMore()}) {
    EXPECT_EQ(button->titleColor(), white);
    QTest::mousePress(&window, Qt::LeftButton, {}, centreOf(*button));
    EXPECT_EQ(button->titleColor(), grey);
    QTest::mouseMove(&window, QPoint(640, 360));
    EXPECT_EQ(button->titleColor(), white);
    QTest::mouseRelease(&window, Qt::LeftButton, {}, QPoint(640, 360));
  }
  EXPECT_TRUE(session->takeCalls().empty()) << "released beside the button";
}

}  // namespace
}  // namespace tarn::test
