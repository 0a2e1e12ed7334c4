#include "Host/TarnPlaybackController.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "Host/TarnBasicPlaybackSession.h"
#include "Host/TarnBasicSessionProvider.h"
#include "Platform/MainQueue.h"
#include "Support/FakePlayer.h"
#include "Support/Script.h"

namespace {

using tarn::test::FakePlayer;
using tarn::test::ScriptCommand;
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

/// A controller, and a log of the sessions that its consumer receives ("a>") and of their events ("aPlay").
class Stage final : public TarnSessionConsumer, public std::enable_shared_from_this<Stage> {
 public:
  [[nodiscard]] const std::string& log() const { return log_; }

  /// "on a> terminate" performs "terminate" inside the callback that logs "a>".
  void perform(const ScriptCommand& command) {
    static const std::map<std::string, std::function<void(Stage&, const std::string&)>> kSteps = {
        {"listen", [](auto& self, auto&) { self.controller_->addSessionConsumer(self.weak_from_this()); }},
        {"add", [](auto& self, auto& video) { self.controller_->addVideo(makeVideo(video)); }},
        {"disableAutoPlay", [](auto& self, auto&) { self.controller_->setAutoPlay(false); }},
        {"begin", [](auto& self, auto&) { self.controller_->begin(); }},
        {"playToEnd", [](auto& self, auto&) { self.playToEnd(); }},
        {"resumeAtStart", [](auto& self, auto&) { self.session()->resumeVideoAtTime(kCMTimeZero, true); }},
        {"terminateSession", [](auto& self, auto&) { self.session()->terminate(); }},
        {"terminate", [](auto& self, auto&) { self.controller_->terminate(); }},
        {"release", [](auto& self, auto&) { self.controller_.reset(); }},
        {"turn",
         [](auto& self, auto&) {
           drainAll();
           self.write(self.where());
         }},
    };
    if (command.name == "on") {
      reactions_[command.argument(0)] = {command.argument(1), {}};
    } else {
      kSteps.at(command.name)(*this, command.arguments.empty() ? "" : command.argument());
    }
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
  [[nodiscard]] Session session() const { return controller_ ? controller_->currentSession() : nullptr; }
  void playToEnd() {
    const auto player = players_.back().lock();
    if (player->state().get() == TarnPlayerState::loading) player->becomeReady(1);
    player->advance(2);
  }
  /// The current video and the number of open streams.
  [[nodiscard]] std::string where() const {
    const auto current = session();
    const auto open =
        std::count_if(players_.begin(), players_.end(), [](const auto& player) { return !player.expired(); });
    return (current ? *current->video()->identifier() : "none") + ":" + std::to_string(open);
  }
  void write(const std::string& line) {
    log_ += (log_.empty() ? "" : " ") + line;
    if (const auto reaction = reactions_.find(line); reaction != reactions_.end()) perform(reaction->second);
  }

  std::map<std::string, ScriptCommand> reactions_;
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

TEST(TarnPlaybackControllerTest, PlaysVideosOneAfterAnotherWithOneStreamOpenAtATime) {
  std::shared_ptr<Stage> stage;
  const auto perform = [&stage](const ScriptCommand& command) {
    command.name == "new" ? (void)(stage = std::make_shared<Stage>()) : stage->perform(command);
  };
  tarn::test::runScript(R"(
    new; listen; add a; add b; begin; begin; playToEnd; turn => log: a> aBegin aPlay aEnd aTerminate b> bBegin bPlay b:1
    // The viewer can seek back in the last video; a later video waits for the next turn.
    new; add a; begin; playToEnd; resumeAtStart; turn; add b; turn; playToEnd; turn; playToEnd; turn => log: a:1 a:1 b:1 b:1
    new; listen; add a; begin; playToEnd; turn; add b => log: a> aBegin aPlay aEnd a:1
    turn                                       => log: a> aBegin aPlay aEnd a:1 aTerminate b> bBegin bPlay b:1
    new; listen; disableAutoPlay; add a; begin => log: a> aBegin
    // It continues when a session is terminated from outside, and after a failure.
    new; listen; add a; begin; terminateSession; turn; add b; turn => log: a> aBegin aPlay aTerminate none:0 b> bBegin bPlay b:1
    new; listen; add broken; add a; begin; turn => log: broken> brokenBegin brokenError brokenTerminate a> aBegin aPlay a:1
    // It ends when it terminates or is destroyed, also inside a callback.
    new; listen; add a; add b; begin; terminate; add c; begin; turn => log: a> aBegin aPlay aTerminate none:0
    new; listen; add a; begin; release; turn   => log: a> aBegin aPlay aTerminate none:0
    new; listen; on a> terminate; add a; begin; turn => log: a> aTerminate none:0
    new; listen; on a> release; add a; begin; turn => log: a> aBegin aPlay aTerminate none:0)",
                        perform, [&stage](const std::string&) { return stage->log(); });
}

TEST(TarnPlaybackControllerTest, SkipsManyFailingVideosWithoutRecursionAndIgnoresADestroyedConsumer) {
  constexpr int kMany = 5'000;
  const auto controller = std::make_shared<TarnPlaybackController>(
      std::make_shared<TarnBasicSessionProvider>([] { return std::make_shared<FakePlayer>(); }), nullptr);
  controller->addSessionConsumer(std::make_shared<Stage>());
  for (int i = 0; i < kMany; ++i) controller->addVideo(makeVideo("broken"));
  controller->addVideo(makeVideo("a"));
  controller->begin();
  drainAll();
  EXPECT_EQ(controller->currentSession()->video()->identifier(), "a");
}

/// Returns the sessions that the test sends, when it sends them.
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

TEST(TarnPlaybackControllerTest, RequestsOneSessionAtATimeAndKeepsOneThatArrivesEarly) {
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
