#include "Host/TarnPlaybackController.h"

#include <gmock/gmock.h>

#include <functional>

#include "Host/TarnBasicPlaybackSession.h"
#include "Host/TarnBasicSessionProvider.h"
#include "Platform/Queue.h"
#include "Support/FakePlayer.h"

namespace {

using tarn::test::FakePlayer;
using ::testing::ElementsAre;
using Session = std::shared_ptr<TarnPlaybackSession>;
using Video = std::shared_ptr<const TarnVideo>;

void drainAll() {
  while (tarn::MainQueue::shared().drain() > 0) {
  }
}

Video makeVideo(std::string name) {
  const auto source =
      std::make_shared<const TarnSource>(tarn::URL::fromString("http://host/" + name), std::nullopt);
  return std::make_shared<const TarnVideo>(
      TarnMutableVideo{.identifier = std::move(name), .sources = {source}});
}

Video makeVideoWithoutSource() {
  return std::make_shared<const TarnVideo>(TarnMutableVideo{});
}

/// Writes down the sessions it is told of, and how they begin and end.
class Listener final : public TarnSessionConsumer {
 public:
  void didAdvanceToPlaybackSession(const Session& session) override {
    const auto name = session->video()->identifier().value_or("nothing");
    heard.push_back("advance " + name);
    session->lifecycle().subscribeNext([this, name](const TarnPlaybackSession::LifecycleEvent& event) {
      if (event->is(kTarnPlaybackSessionLifecycleEventBegin)) heard.push_back(name + " Begin");
      if (event->is(kTarnPlaybackSessionLifecycleEventEnd)) heard.push_back(name + " End");
      if (event->is(kTarnPlaybackSessionLifecycleEventTerminate)) heard.push_back(name + " Terminate");
    });
    if (onAdvance) onAdvance();
  }

  [[nodiscard]] std::vector<std::string> take() { return std::exchange(heard, {}); }

  std::vector<std::string> heard;
  std::function<void()> onAdvance;
};

class TarnPlaybackControllerTest : public ::testing::Test {
 protected:
  TarnPlaybackControllerTest() { controller->addSessionConsumer(listener); }
  ~TarnPlaybackControllerTest() override { drainAll(); }

  std::shared_ptr<TarnPlaybackController> makeController() {
    auto provider = std::make_shared<TarnBasicSessionProvider>([this] {
      auto player = std::make_shared<FakePlayer>();
      players.push_back(player);
      return player;
    });
    return std::make_shared<TarnPlaybackController>(std::move(provider), nullptr);
  }
  [[nodiscard]] std::string lastCall(std::size_t index) const {
    return players.at(index).lock()->calls()->back();
  }
  [[nodiscard]] std::optional<std::string> current() const {
    const auto session = controller->currentSession();
    return session ? session->video()->identifier() : std::nullopt;
  }
  void playToEnd(std::size_t index) {
    const auto player = players.at(index).lock();
    ASSERT_NE(player, nullptr);
    if (player->state().get() == TarnPlayerState::loading) player->becomeReady(1);
    player->advance(2);
  }

  std::vector<std::weak_ptr<FakePlayer>> players;
  std::shared_ptr<Listener> listener = std::make_shared<Listener>();
  std::shared_ptr<TarnPlaybackController> controller = makeController();
};

TEST_F(TarnPlaybackControllerTest, PlaysVideosOneAfterAnotherWithOneStreamOpenAtATime) {
  controller->addVideo(makeVideo("a"));
  controller->addVideo(makeVideo("b"));
  controller->begin();
  controller->begin();
  EXPECT_THAT(listener->take(), ElementsAre("advance a", "a Begin"));
  EXPECT_EQ(players.size(), 1U);

  playToEnd(0);
  EXPECT_THAT(listener->take(), ElementsAre("a End"));
  drainAll();
  EXPECT_THAT(listener->take(), ElementsAre("a Terminate", "advance b", "b Begin"));
  EXPECT_TRUE(players[0].expired());

  playToEnd(1);
  drainAll();
  EXPECT_THAT(listener->take(), ElementsAre("b End"));
  EXPECT_EQ(current(), "b");
}

TEST_F(TarnPlaybackControllerTest, LetsTheViewerGoBackIntoTheLastVideo) {
  controller->addVideo(makeVideo("a"));
  controller->begin();
  playToEnd(0);
  controller->currentSession()->resumeVideoAtTime(kCMTimeZero, true);
  drainAll();
  controller->addVideo(makeVideo("b"));
  drainAll();
  EXPECT_EQ(current(), "a");
  playToEnd(0);
  drainAll();
  EXPECT_EQ(current(), "b");
  playToEnd(1);
  drainAll();
  controller->addVideo(makeVideo("c"));
  EXPECT_EQ(current(), "b");
  drainAll();
  EXPECT_EQ(current(), "c");
}

TEST_F(TarnPlaybackControllerTest, PlaysByItselfUnlessToldNotTo) {
  controller->addVideo(makeVideo("a"));
  controller->begin();
  EXPECT_EQ(lastCall(0), "play");

  const auto quiet = makeController();
  quiet->setAutoPlay(false);
  quiet->addVideo(makeVideo("b"));
  quiet->begin();
  EXPECT_EQ(lastCall(1), "load http://host/b");
}

TEST_F(TarnPlaybackControllerTest, PassesOverARowOfVideosThatFail) {
  constexpr std::size_t kRow = 5'000;
  for (std::size_t i = 0; i < kRow; ++i) controller->addVideo(makeVideoWithoutSource());
  controller->addVideo(makeVideo("a"));
  controller->begin();
  drainAll();
  EXPECT_EQ(listener->heard.size(), 3 * kRow + 2);
  EXPECT_EQ(listener->heard.back(), "a Begin");
}

TEST_F(TarnPlaybackControllerTest, GoesOnWhenASessionIsTerminatedFromOutside) {
  controller->addVideo(makeVideo("a"));
  controller->begin();
  controller->currentSession()->terminate();
  drainAll();
  EXPECT_EQ(controller->currentSession(), nullptr);
  controller->addVideo(makeVideo("b"));
  drainAll();
  EXPECT_EQ(current(), "b");
}

TEST_F(TarnPlaybackControllerTest, IsFinalWhenItTerminatesOrGoes) {
  controller->addVideo(makeVideo("a"));
  controller->addVideo(makeVideo("b"));
  controller->begin();
  (void)listener->take();
  controller->terminate();
  controller->addVideo(makeVideo("c"));
  controller->begin();
  drainAll();
  EXPECT_THAT(listener->take(), ElementsAre("a Terminate"));

  auto other = makeController();
  other->addVideo(makeVideo("d"));
  other->begin();
  other.reset();
  EXPECT_TRUE(players.back().expired());
}

TEST_F(TarnPlaybackControllerTest, MayBeEndedByAConsumerThatItTells) {
  controller->addVideo(makeVideo("a"));
  listener->onAdvance = [this] { controller->terminate(); };
  controller->begin();
  EXPECT_THAT(listener->take(), ElementsAre("advance a", "a Terminate"));

  controller = makeController();
  controller->addSessionConsumer(listener);
  controller->addVideo(makeVideo("b"));
  listener->onAdvance = [this] { controller.reset(); };
  controller->begin();
  EXPECT_TRUE(players.back().expired());
}

TEST_F(TarnPlaybackControllerTest, ForgetsAConsumerThatIsGone) {
  listener.reset();
  controller->addVideo(makeVideo("a"));
  controller->begin();
  EXPECT_EQ(current(), "a");
}

/// Hands out what the test gives it, when the test gives it.
class HeldProvider final : public TarnSessionProvider {
 public:
  [[nodiscard]] bool shouldLoadVideo() const override { return true; }
  void setShouldLoadVideo(bool) override {}
  void setSessionCommonProperties(const std::shared_ptr<TarnSessionCommonProperties>& given) override {
    properties = given;
  }
  [[nodiscard]] TarnSourceSelectionPolicy sourceSelectionPolicy() const override { return nullptr; }
  [[nodiscard]] Sessions playbackSessionsForVideos(Videos videos) override {
    subscription.add(videos.subscribeNext([this](const Video& video) { asked.push_back(video); }));
    return sessions;
  }

  std::weak_ptr<TarnSessionCommonProperties> properties;
  std::vector<Video> asked;
  Tarn_RACSubject<Session> sessions;
  Tarn_RACDeallocDisposable subscription;
};

TEST(TarnPlaybackController, AwaitsASessionBeforeItAsksForTheNextAndKeepsOneThatComesTooEarly) {
  const auto provider = std::make_shared<HeldProvider>();
  const auto controller = std::make_shared<TarnPlaybackController>(provider, nullptr);
  const auto makeSession = [] {
    return std::make_shared<TarnBasicPlaybackSession>(nullptr, nullptr, std::make_shared<FakePlayer>());
  };
  controller->begin();
  EXPECT_EQ(provider->properties.lock(), controller->sessionCommonProperties());
  controller->addVideo(makeVideo("a"));
  controller->addVideo(makeVideo("b"));
  drainAll();
  EXPECT_EQ(provider->asked.size(), 1U);

  const auto first = makeSession();
  const auto early = makeSession();
  first->loadVideoURL(*tarn::URL::fromString("http://host/a"));
  provider->sessions.sendNext(first);
  provider->sessions.sendNext(early);
  provider->sessions.sendNext(nullptr);
  drainAll();
  EXPECT_EQ(controller->currentSession(), first);

  first->terminate();
  tarn::MainQueue::shared().drain();
  EXPECT_EQ(controller->currentSession(), early);
  EXPECT_EQ(provider->asked.size(), 1U);
  drainAll();  // `early` has nothing to play
  EXPECT_EQ(provider->asked.size(), 2U);

  controller->terminate();
  provider->sessions.sendNext(makeSession());
  EXPECT_EQ(controller->currentSession(), nullptr);
}

}  // namespace
