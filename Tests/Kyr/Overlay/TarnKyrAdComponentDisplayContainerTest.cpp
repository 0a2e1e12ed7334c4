#include "Overlay/TarnKyrAdComponentDisplayContainer.h"

#include <gmock/gmock.h>

#include <QSignalSpy>
#include <QTest>

#include "OverlayFixture.h"
#include "Platform/Log.h"
#include "Platform/MainQueue.h"
#include "Platform/ProgrammingError.h"

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

class TarnKyrAdComponentDisplayContainerTest : public OverlayWindowTest {
 protected:
  void touchBoth() {
    view().skipButtonDidTouchUpInside(&skip());
    view().learnMoreButtonDidTouchUpInside(&learnMore());
  }
  /// In a new session, 6 s inside an ad with both buttons.
  void playAd(double itemSeconds = 600) {
    advance(itemSeconds);
    play(makeAd({.skipOffset = 5, .hasPage = true}), 6);
  }
};

TEST_F(TarnKyrAdComponentDisplayContainerTest, ShowsTheViewDuringBreaksAndAddsItOnce) {
  advance();
  ad = makeAd({});
  const QSignalSpy additions(&view(), &QQuickItem::parentChanged);
  EXPECT_EQ(view().parentItem(), nullptr);
  for (int i = 0; i < 2; ++i) {
    session->enterBreak({ad});
    tell("expect hidden; turn; expect shown");
    EXPECT_EQ(view().parentItem(), stage);
    EXPECT_EQ(view().size(), QSizeF(1280, 720));
    tell("exitBreak; expect hidden");
  }
  EXPECT_EQ(additions.count(), 1);
  stage->setSize(QSizeF(800, 600));
  EXPECT_EQ(view().size(), QSizeF(800, 600));
}

TEST_F(TarnKyrAdComponentDisplayContainerTest, LeavesTheAdWhenTheSessionEnds) {
  const auto next = std::make_shared<ScriptedSession>();
  const std::function<void()> ends[] = {
      [&] { session->terminate(); },
      [&] { session.reset(); },
      [&] { container->didAdvanceToPlaybackSession(next); },
      [&] { container->didAdvanceToPlaybackSession(nullptr); },
      [&] { session->terminate(), container->didAdvanceToPlaybackSession(next); },
  };
  for (const auto& end : ends) {
    SCOPED_TRACE(&end - ends);
    playAd();
    end();
    const auto ended = session;
    touchBoth();
    if (ended) play(ad);  // its events are ignored
    tell(R"(
      turn; expect hidden => label:
                          => buttons:
                          => beacons:)");
    advance();
    EXPECT_EQ(container->currentSession(), session);
    ad = makeAd({.skipOffset = 5, .id = "b"});
    tell(R"(
      enterBreak; enterAd => buttons: ()
      progress 0)");
    if (ended) ended->exitAd(ad), ended->exitBreak(), ended->terminate();
    tell(R"(
      turn; expect shown => label: Your video will resume in 30 seconds
                         => buttons: (You can skip this ad/in 5 seconds))");
  }
}

TEST_F(TarnKyrAdComponentDisplayContainerTest, SkipsInTheNextSessionWhileASkipIsInFlight) {
  std::vector<std::shared_ptr<ScriptedSession>> sessions;
  for (int i = 0; i < 2; ++i) {
    sessions.push_back(session = std::make_shared<ScriptedSession>(30));
    container->didAdvanceToPlaybackSession(session);
    session->enterAd(makeAd({.skipOffset = 5}));
    tarn::MainQueue::shared().drain();  // ends the first of the previous session's two seeks
    touchBoth();
  }
  tell("turn => calls: pause, hideLayer, seek 30 -0 +0, seek 30 -0 +0, play, showLayer");
}

TEST_F(TarnKyrAdComponentDisplayContainerTest, RemovesTheOverlayWhenTheContainerViewIsDestroyed) {
  playAd();
  ASSERT_EQ(view().parentItem(), stage);
  delete stage;
  tell(
      "exitAd; exitBreak; enterBreak; enterAd; progress 6; expect hidden => label: Your video will resume in "
      "24 seconds");
  EXPECT_EQ(container->adComponentContainer(), nullptr);
}

TEST_F(TarnKyrAdComponentDisplayContainerTest, LeavesTheOverlayUnattachedAfterTheContainerViewWasDestroyed) {
  delete stage;
  playAd();
  EXPECT_EQ(view().parentItem(), nullptr);
}

TEST_F(TarnKyrAdComponentDisplayContainerTest, RemovesTheViewAndItsSubscriptionsWhenDestroyedDuringAnAd) {
  playAd();
  session->progress(ad, 7);
  const QPointer<TarnKyrAdComponentView> shown = &view();
  container.reset();
  EXPECT_THAT(stage->childItems(), IsEmpty());
  progress(8);
  runQt();
  EXPECT_TRUE(shown.isNull());
  tell("exitAd; exitBreak");
}

TEST_F(TarnKyrAdComponentDisplayContainerTest, CanBeDestroyedInsideAClick) {
  container->setNextBlock([this](const TarnKyrAdClickThrough&) { container.reset(); });
  playAd();
  const QPointer<TarnKyrAdComponentView> shown = &view();
  tell("click more");
  EXPECT_EQ(container, nullptr);
  runQt();
  EXPECT_TRUE(shown.isNull());
}

TEST_F(TarnKyrAdComponentDisplayContainerTest, CompletesASkipInFlightAfterItIsDestroyed) {
  playAd(30);
  view().skipButtonDidTouchUpInside(&skip());
  tarn::MainQueue::shared().drain();
  container.reset();
  runQt();
  runMainQueue();
  tell("=> calls: pause, hideLayer, seek 30 -0 +0, seek 30 -0 +0, play, showLayer");
}

TEST_F(TarnKyrAdComponentDisplayContainerTest, PausesOnAClickAndFindsTheItemThatPresentsThePage) {
  PageStage pages(window.contentItem());
  std::vector<QObject*> presenters;
  container->setPagePresenter([&](QObject* viewController, const std::shared_ptr<const TarnAd>& clicked,
                                  const tarn::URL& url, const auto& playing) {
    EXPECT_EQ(clicked->adId(), "a");
    EXPECT_EQ(url.absoluteString(), "https://shop.example/a");
    EXPECT_EQ(playing, session);
    EXPECT_FALSE(session->fakePlayer().playing().get()) << "must be paused before presenting";
    presenters.push_back(viewController);
  });
  playAd();
  tell("click more => calls: pause");
  EXPECT_THAT(presenters, IsEmpty()) << "no parent of the button can present";
  stage->setParentItem(&pages);
  tell(R"(
    click more => calls: pause
               => beacons: click-a, click-a)");
  EXPECT_THAT(presenters, ElementsAre(&pages));
  stage->setParentItem(window.contentItem());
}

TEST_F(TarnKyrAdComponentDisplayContainerTest, AllowsItsHandlerToOutliveIt) {
  advance();
  const auto handler = container->nextBlock();
  container.reset();
  handler(TarnKyrAdClickThrough(nullptr, session, *tarn::URL::fromString("https://shop.example/"), stage));
  tell("=> calls: pause");
}

TEST_F(TarnKyrAdComponentDisplayContainerTest, ThrowsWhenItOrASlotIsMadeWithoutArguments) {
  const auto expectLogged = [](auto make, const char* logged) {
    std::string line;
    const auto logSink = installLogSink([&](std::string_view text) { line = text; });
    EXPECT_THROW(make(), ProgrammingError);
    EXPECT_EQ(line, logged);
  };
  expectLogged([] { return TarnKyrCompanionSlot(); },
               "Do not call -[TarnKyrCompanionSlot init] directly, instead use "
               "-[TarnKyrCompanionSlot initWithView:width:height:]");
  expectLogged([] { return TarnKyrAdComponentDisplayContainer(); },
               "Do not call -[TarnKyrAdComponentDisplayContainer init] directly, instead use "
               "-[TarnKyrAdComponentDisplayContainer initWithAdComponentContainer:companionSlots:]");
}

TEST_F(TarnKyrAdComponentDisplayContainerTest, DoesNotKeepItsDelegateAlive) {
  container->setDelegate(std::make_shared<TarnKyrAdComponentDelegate>());
  EXPECT_EQ(container->delegate(), nullptr);
}

}  // namespace
}  // namespace tarn::test

#include "TarnKyrAdComponentDisplayContainerTest.moc"
