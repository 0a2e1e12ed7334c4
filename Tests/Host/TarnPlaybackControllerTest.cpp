#include "Host/TarnPlaybackController.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>

#include "Host/TarnBasicPlaybackSession.h"
#include "Host/TarnBasicSessionProvider.h"
#include "Platform/Queue.h"
#include "Support/FakePlayer.h"

namespace {

using tarn::test::FakePlayer;
using Session = std::shared_ptr<TarnPlaybackSession>;
using Video = std::shared_ptr<const TarnVideo>;

void drainAll() {
  while (tarn::MainQueue::shared().drain() > 0) {
  }
}

Video makeVideo(const std::string& name) {
  TarnMutableVideo video{.identifier = name};
  if (name != "broken") {
    video.sources = {
        std::make_shared<const TarnSource>(tarn::URL::fromString("http://host/" + name), std::nullopt)};
  }
  return std::make_shared<const TarnVideo>(std::move(video));
}

/// What a line of the log sets going, inside the callback that writes it.
using Reactions = std::map<std::string, std::string>;

/// A controller that plays a script of steps, and a log of the sessions that its consumer is told of ("a>")
/// and of what becomes of them ("aPlay").
class Stage final : public TarnSessionConsumer, public std::enable_shared_from_this<Stage> {
 public:
  explicit Stage(Reactions reactions) : reactions_(std::move(reactions)) {}

  std::string play(const std::string& script) {
    std::istringstream steps(script);
    for (std::string step; steps >> step;) playStep(step);
    return log_;
  }

  void didAdvanceToPlaybackSession(const Session& session) override {
    const auto name = *session->video()->identifier();
    session->lifecycle().subscribeNext([this, name](const TarnPlaybackSession::LifecycleEvent& event) {
      constexpr std::string_view kCommon = "kTarnPlaybackSessionLifecycleEvent";
      if (!event->is(kTarnPlaybackSessionLifecycleEventReady))
        write(name + event->eventType().substr(kCommon.size()));
    });
    write(name + ">");
  }

 private:
  void playStep(const std::string& step) {
    const auto session = controller_ ? controller_->currentSession() : nullptr;
    if (step == "listen") return controller_->addSessionConsumer(weak_from_this());
    if (step.starts_with('+')) return controller_->addVideo(makeVideo(step.substr(1)));
    if (step == "quiet") return controller_->setAutoPlay(false);
    if (step == "begin") return controller_->begin();
    if (step == "end") return playToEnd(*players_.back().lock());
    if (step == "back") return session->resumeVideoAtTime(kCMTimeZero, true);
    if (step == "kill") return session->terminate();
    if (step == "over") return controller_->terminate();
    if (step == "gone") return controller_.reset();
    drainAll();
    write(where());
  }
  static void playToEnd(FakePlayer& player) {
    if (player.state().get() == TarnPlayerState::loading) player.becomeReady(1);
    player.advance(2);
  }
  /// The current video and the number of open streams.
  [[nodiscard]] std::string where() const {
    const auto session = controller_ ? controller_->currentSession() : nullptr;
    const auto open =
        std::count_if(players_.begin(), players_.end(), [](const auto& player) { return !player.expired(); });
    return (session ? *session->video()->identifier() : "none") + ":" + std::to_string(open);
  }
  void write(const std::string& line) {
    log_ += (log_.empty() ? "" : " ") + line;
    if (const auto reaction = reactions_.find(line); reaction != reactions_.end()) play(reaction->second);
  }

  const Reactions reactions_;
  std::string log_;
  std::vector<std::weak_ptr<FakePlayer>> players_;
  std::shared_ptr<TarnPlaybackController> controller_ =
      std::make_shared<TarnPlaybackController>(std::make_shared<TarnBasicSessionProvider>([this] {
                                                 auto player = std::make_shared<FakePlayer>();
                                                 players_.push_back(player);
                                                 return player;
                                               }),
                                               nullptr);
};

struct Row {
  const char* name;
  const char* script;
  const char* log;
  Reactions reactions = {};
};

TEST(TarnPlaybackController, PlaysVideosOneAfterAnotherWithOneStreamOpenAtATime) {
  const Row rows[] = {
      {"one after another", "listen +a +b begin begin end turn end turn",
       "a> aBegin aPlay aEnd aTerminate b> bBegin bPlay b:1 bEnd b:1"},
      {"the viewer may go back into the last video",
       "+a begin end back turn +b turn end turn end turn +c turn", "a:1 a:1 b:1 b:1 c:1"},
      {"a later video waits for the next turn", "listen +a begin end turn +b turn",
       "a> aBegin aPlay aEnd a:1 aTerminate b> bBegin bPlay b:1"},
      {"does not play by itself when told not to", "listen quiet +a begin", "a> aBegin"},
      {"goes on when a session is terminated from outside", "listen +a begin kill turn +b turn",
       "a> aBegin aPlay aTerminate none:0 b> bBegin bPlay b:1"},
      {"goes on after a failure", "listen +broken +a begin turn",
       "broken> brokenBegin brokenError brokenTerminate a> aBegin aPlay a:1"},
      {"is final when it terminates", "listen +a +b begin over +c begin turn",
       "a> aBegin aPlay aTerminate none:0"},
      {"ends the session when it goes", "listen +a begin gone turn", "a> aBegin aPlay aTerminate none:0"},
      {"terminated by its consumer", "listen +a begin turn", "a> aTerminate none:0", {{"a>", "over"}}},
      {"let go by its consumer",
       "listen +a begin turn",
       "a> aBegin aPlay aTerminate none:0",
       {{"a>", "gone"}}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(std::make_shared<Stage>(row.reactions)->play(row.script), row.log);
  }
}

TEST(TarnPlaybackController, PassesOverALongRowOfVideosThatFailAndAConsumerThatIsGone) {
  constexpr int kMany = 5'000;
  const auto controller = std::make_shared<TarnPlaybackController>(
      std::make_shared<TarnBasicSessionProvider>([] { return std::make_shared<FakePlayer>(); }), nullptr);
  controller->addSessionConsumer(std::make_shared<Stage>(Reactions()));
  for (int i = 0; i < kMany; ++i) controller->addVideo(makeVideo("broken"));
  controller->addVideo(makeVideo("a"));
  controller->begin();
  drainAll();
  EXPECT_EQ(controller->currentSession()->video()->identifier(), "a");
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
