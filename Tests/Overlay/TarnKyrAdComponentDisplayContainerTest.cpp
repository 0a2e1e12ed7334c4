#include "Kyr/TarnKyrAdComponentDisplayContainer.h"

#include <gmock/gmock.h>

#include <QSignalSpy>
#include <QTest>

#include "OverlayFixture.h"

namespace tarn::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// An item that pages can be shown on.
class PageStage final : public QQuickItem {
  Q_OBJECT
 public:
  using QQuickItem::QQuickItem;
  Q_INVOKABLE void presentViewController(const QVariant& /*page*/) {}
};

class DisplayContainer : public OverlayWindowTest {
 protected:
  const std::shared_ptr<const TarnLumoAd> ad = makeAd({.skipOffset = 5, .hasPage = true});
};

TEST_F(DisplayContainer, ShowsTheViewDuringBreaksAndAddsItOnce) {
  const auto session = advance();
  const QSignalSpy additions(&view(), &QQuickItem::parentChanged);
  EXPECT_EQ(view().parentItem(), nullptr);
  for (int i = 0; i < 2; ++i) {
    session->enterBreak({ad});
    EXPECT_EQ(view().isVisible() && view().parentItem() != nullptr, false) << "on the next turn only";
    runMainQueue();
    EXPECT_EQ(view().parentItem(), stage);
    EXPECT_TRUE(view().isVisible());
    EXPECT_EQ(view().size(), QSizeF(1280, 720));
    session->exitBreak();
    runMainQueue();
    EXPECT_FALSE(view().isVisible());
    EXPECT_EQ(view().parentItem(), stage);
  }
  EXPECT_EQ(additions.count(), 1);
  stage->setSize(QSizeF(800, 600));
  EXPECT_EQ(view().size(), QSizeF(800, 600));
}

TEST_F(DisplayContainer, FollowsOneSessionAfterAnother) {
  const auto first = advance();
  play(*first, ad, 6);
  first->exitAd(ad);
  first->exitBreak();
  const auto second = advance();
  EXPECT_EQ(container->currentSession(), second);
  EXPECT_FALSE(view().isVisible());
  play(*second, ad, 6);
  EXPECT_TRUE(view().isVisible());
  click(skip());
  click(learnMore());
  EXPECT_THAT(first->takeCalls(), IsEmpty());
  EXPECT_THAT(second->takeCalls(), ElementsAre("pause", "seek 30.2 -0 +0", "play", "pause"));
}

TEST_F(DisplayContainer, ASessionThatEndsInsideABreakTakesTheOverlayWithIt) {
  const auto first = advance();
  play(*first, ad, 6);
  first->send(kTarnPlaybackSessionLifecycleEventTerminate);
  runMainQueue();
  EXPECT_FALSE(view().isVisible());
  const auto second = advance();
  play(*second, ad, 6);
  first->send(kTarnPlaybackSessionLifecycleEventTerminate);
  runMainQueue();
  EXPECT_TRUE(view().isVisible()) << "it is another session's by now";
}

TEST_F(DisplayContainer, AContainerViewThatHasGoneLeavesTheOverlayUnattached) {
  auto session = advance();
  delete stage;
  play(*session, ad, 6);
  EXPECT_EQ(container->adComponentContainer(), nullptr);
  EXPECT_EQ(view().parentItem(), nullptr);
  EXPECT_EQ(view().durationLabel()->text(), "Your video will resume in 24 seconds");
}

TEST_F(DisplayContainer, AContainerViewThatGoesUnderTheOverlayTakesItAway) {
  const auto session = advance();
  play(*session, ad, 6);
  ASSERT_EQ(view().parentItem(), stage);
  delete stage;
  session->exitAd(ad);
  session->exitBreak();
  play(*session, ad, 6);
  EXPECT_EQ(view().parentItem(), nullptr);
}

TEST_F(DisplayContainer, LetGoWhileAnAdShowsItTakesTheViewAwayAndListensNoMore) {
  const auto session = advance();
  play(*session, ad, 6);
  session->progress(ad, 7);
  const QPointer<TarnKyrAdComponentView> shown = &view();
  container.reset();
  EXPECT_THAT(stage->childItems(), IsEmpty());
  session->progress(ad, 8);
  runMainQueue();
  runQt();
  EXPECT_TRUE(shown.isNull());
  session->exitAd(ad);
  session->exitBreak();
  runMainQueue();
}

TEST_F(DisplayContainer, MayBeLetGoInsideAClick) {
  container->setNextBlock([this](const TarnKyrAdClickThrough&) { container.reset(); });
  const auto session = advance();
  play(*session, ad, 6);
  const QPointer<TarnKyrAdComponentView> shown = &view();
  QTest::mouseClick(&window, Qt::LeftButton, {}, centreOf(learnMore()));
  EXPECT_EQ(container, nullptr);
  runQt();
  EXPECT_TRUE(shown.isNull());
}

TEST_F(DisplayContainer, ASkipUnderWayGoesOnWhenTheContainerIsLetGo) {
  const auto session = advance(30);
  play(*session, ad, 6);
  view().skipButtonDidTouchUpInside(&skip());
  tarn::MainQueue::shared().drain();
  container.reset();
  runQt();
  runMainQueue();
  EXPECT_THAT(session->takeCalls(),
              ElementsAre("pause", "hideLayer", "seek 30 -0 +0", "seek 30 -0 +0", "play", "showLayer"));
}

TEST_F(DisplayContainer, AClickPausesAndLooksForWhoCanPresentThePage) {
  const auto session = advance();
  PageStage pages(window.contentItem());
  std::vector<QObject*> presenters;
  container->setPagePresenter([&](QObject* viewController, const std::shared_ptr<const TarnAd>& clicked,
                                  const tarn::URL& url, const auto& playing) {
    EXPECT_EQ(clicked->adId(), "a");
    EXPECT_EQ(url.absoluteString(), "https://shop.example/a");
    EXPECT_EQ(playing, session);
    EXPECT_FALSE(session->fakePlayer().playing().get()) << "paused before";
    presenters.push_back(viewController);
  });
  play(*session, ad, 6);
  click(learnMore());
  EXPECT_THAT(presenters, IsEmpty()) << "nobody around the button can";
  EXPECT_THAT(session->takeCalls(), ElementsAre("pause"));
  stage->setParentItem(&pages);
  click(learnMore());
  EXPECT_THAT(presenters, ElementsAre(&pages));
  EXPECT_THAT(session->takeCalls(), ElementsAre("pause")) << "and stays paused";
  EXPECT_THAT(digester->take(), ElementsAre("click-a", "click-a"));
  stage->setParentItem(window.contentItem());
}

TEST_F(DisplayContainer, ItsHandlerMayOutliveIt) {
  const auto session = advance();
  const auto handler = container->nextBlock();
  container.reset();
  handler(TarnKyrAdClickThrough(nullptr, session, *tarn::URL::fromString("https://shop.example/"), stage));
  EXPECT_THAT(session->takeCalls(), ElementsAre("pause"));
}

TEST_F(DisplayContainer, StoresSlotsAndDelegate) {
  const auto slot = std::make_shared<TarnKyrCompanionSlot>(nullptr, 300, 250);
  const TarnKyrAdComponentDisplayContainer other(stage, {slot});
  EXPECT_THAT(other.companionSlots(), ElementsAre(slot));
  EXPECT_EQ(other.adComponentContainer(), stage);
  auto delegate = std::make_shared<TarnKyrAdComponentDelegate>();
  container->setDelegate(delegate);
  EXPECT_EQ(container->delegate(), delegate);
  delegate.reset();
  EXPECT_EQ(container->delegate(), nullptr);
}

}  // namespace
}  // namespace tarn::test

#include "TarnKyrAdComponentDisplayContainerTest.moc"
