#include "KyrStage.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cctype>
#include <map>

#include "Host/TarnBasicSessionProvider.h"
#include "Platform/MainQueue.h"
#include "Support/Script.h"
#include "Support/TimePrinter.h"

namespace tarn::test {
namespace {

const std::string kCommonPrefix = "kTarnPlaybackSessionLifecycleEvent";

/// Seconds, as in "30", or a tick beside them, as in "30-1tick".
CMTime readTime(const std::string& text) {
  std::size_t length = 0;
  const double seconds = std::stod(text, &length);
  return at(seconds, length == text.size() ? 0 : std::stoi(text.substr(length)));
}

void expectTracker(const KyrStage& stage, const std::string& state) {
  EXPECT_EQ(stage.isSuspended() ? "suspended" : "following", state);
}

using Step = std::function<void(KyrStage& stage, const ScriptCommand& command)>;

const std::map<std::string, Step> kSteps = {
    // As in the scripts of kyr simulate.
    {"run", [](auto& stage, auto& command) { stage.play(command.number()); }},
    {"play", [](auto& stage, auto&) { stage.session->avPlayerPlay(); }},
    {"pause", [](auto& stage, auto&) { stage.session->avPlayerPause(); }},
    {"skip", [](auto& stage, auto&) { stage.skip(); }},
    {"pauseAd", [](auto& stage, auto&) { stage.session->pauseAd(); }},
    {"resumeAd", [](auto& stage, auto&) { stage.session->resumeAd(); }},
    {"adsDisabled",
     [](auto& stage, auto& command) { stage.common->adsDisabled.set(command.argument() == "yes"); }},
    {"resumeAt",
     [](auto& stage, auto& command) {
       stage.session->resumeVideoAtTime(readTime(command.argument()), command.argument(1) == "yes");
     }},
    {"terminate", [](auto& stage, auto&) { stage.session->terminate(); }},
    {"seek",
     [](auto& stage, auto& command) {
       stage.requestSeek(readTime(command.argument()));
       drainAll();
     }},
    // Besides.
    {"request", [](auto& stage, auto& command) { stage.requestSeek(readTime(command.argument())); }},
    {"advance", [](auto& stage, auto& command) { stage.player().advance(command.number()); }},
    {"place",
     [](auto& stage, auto& command) {
       stage.player().seekToTime(readTime(command.argument()), kCMTimeZero, kCMTimeZero, nullptr);
       drainAll();
     }},
    {"turn", [](auto&, auto&) { drainAll(); }},
    {"runOut", [](auto& stage, auto&) { stage.playOut(); }},
    {"forget", [](auto& stage, auto&) { (void)std::tuple(stage.calls(), stage.lines(), stage.beacons()); }},
    {"expect", [](auto& stage, auto& command) { expectTracker(stage, command.argument()); }},
    {"releaseSession", [](auto& stage, auto&) { stage.session.reset(); }},
    {"load",
     [](auto& stage, auto& command) { stage.session->loadVideoURL(*URL::fromString(command.argument())); }},
    {"leaveBreak", [](auto& stage, auto&) { stage.session->tracker()->setAbsoluteTime(at(61)); }},
    {"fail", [](auto& stage, auto&) { stage.player().fail({}); }},
    {"breakSeeking", [](auto& stage, auto&) { stage.player().breakSeeking(); }},
    {"loadedTo", [](auto& stage, auto& command) { stage.player().setLoadedTo(command.number()); }},
    {"ready", [](auto& stage, auto& command) { stage.player().becomeReady(command.number()); }},
    {"starve", [](auto& stage, auto&) { stage.player().starve(true); }},
    {"feed", [](auto& stage, auto&) { stage.player().starve(false); }},
};

}  // namespace

CMTime at(double value, int ticks) {
  return CMTimeAdd(seconds(value), CMTimeMake(ticks, 600));
}

void drainAll() {
  while (MainQueue::shared().drain() > 0) {
  }
}

bool await(const std::function<bool()>& done) {
  return MainQueue::shared().runUntil(done, std::chrono::seconds(20));
}

URL serve(std::string document) {
  static LoopbackServer server;
  static int count = 0;
  const std::string path = "/document-" + std::to_string(++count);
  server.setResponse(path, {.body = std::move(document)});
  return server.url(path);
}

std::shared_ptr<const TarnVideo> ssaiVideo(const URL& document, TarnCuePointCollection::CuePoints cuePoints) {
  Dictionary properties;
  properties.set("vmap", document.absoluteString());
  const auto source =
      std::make_shared<const TarnSource>(std::nullopt, kTarnSourceDeliveryQuillSSAI, std::move(properties));
  return std::make_shared<const TarnVideo>(
      TarnMutableVideo{.identifier = document.absoluteString(),
                       .sources = {source},
                       .cuePoints = TarnCuePointCollection::collectionWithArray(std::move(cuePoints))});
}

Lines LogLines::take() {
  const std::lock_guard lock(mutex_);
  return std::exchange(lines_, {});
}

KyrStage::KyrStage(std::string_view drawing, const VMAPDrawing& options, double difference) {
  auto upstream = std::make_shared<TarnBasicSessionProvider>([this] {
    auto player = std::make_shared<FakePlayer>();
    player_ = player;
    return player;
  });
  auto providerOptions = std::make_shared<TarnKyrSessionProviderOptions>();
  providerOptions->beaconSink = sink_;
  TarnKyrSessionProvider provider(providerOptions, upstream);
  provider.setSessionCommonProperties(common);
  provider
      .playbackSessionsForVideos(
          TarnSessionProvider::Videos::returnValue(ssaiVideo(serve(drawVMAP(drawing, options)))))
      .subscribeNext([this](const auto& made) { session = std::dynamic_pointer_cast<TarnKyrSession>(made); });
  (void)await([&] { return session != nullptr; });

  recorder_ = std::make_unique<SessionRecorder>(*session);
  calls_ = player().calls();
  canSeekObservation_ = session->canSeekProperty().observe([calls = calls_, last = true](bool can) mutable {
    if (std::exchange(last, can) != can) calls->push_back(can ? "canSeek" : "cannotSeek");
  });
  session->begin();
  session->avPlayerPlay();
  player().becomeReady(static_cast<double>(drawing.size()) * options.secondsPerCell + difference);
  tell("turn; forget");
}

KyrStage::~KyrStage() {
  session.reset();
  drainAll();
}

void KyrStage::tell(const std::string& script) {
  const auto perform = [this](const ScriptCommand& command) { kSteps.at(command.name)(*this, command); };
  runScript(script, perform, [this](const std::string& name) {
    const auto own = name == "calls" ? calls() : name == "beacons" ? beacons() : Lines();
    const auto found = name == "events" ? events() : name == "lines" ? lines() : own;
    return fmt::format("{}", fmt::join(found, ", "));
  });
}

void KyrStage::skip() const {
  (*lastAd()->privateProperties().get<TarnAdSkipHandler>(kTarnAdPrivatePropertyKeySkipHandler))();
}

void KyrStage::requestSeek(CMTime contentTime) const {
  session->seekToTime(contentTime, [calls = calls_](bool finished) {
    calls->push_back(finished ? "finished" : "unfinished");
  });
}

void KyrStage::play(double seconds) {
  auto* const player = player_.lock().get();  // not kept alive: it may be destroyed while it plays
  if (player != nullptr) player->advance(seconds);
  drainAll();
}

void KyrStage::playOut() {
  constexpr int kMaxSeeks = 50;
  for (int i = 0; i < kMaxSeeks && !player_.expired(); ++i) {
    if (player().state().get() == TarnPlayerState::ended) return;
    play(10'000);
  }
}

Lines KyrStage::events() {
  Lines events = lines();
  std::erase_if(events, [](const auto& line) { return line == "AdProgress" || std::islower(line[0]) != 0; });
  return events;
}

TarnPlaybackSession::LifecycleEvent KyrStage::lastEvent(std::string_view type) const {
  return recorder_->lastEvent(kCommonPrefix + std::string(type));
}

void KyrStage::when(const std::string& type, std::function<void()> action) {
  if (type == "progress") return (void)session->progress().take(1).subscribeNext([=](CMTime) { action(); });
  if (type.starts_with("a-")) {
    sink_->afterSend = [=](const std::string& beacon) {
      if (beacon == type) action();
    };
    return;
  }
  session->lifecycle()
      .filter([type = kCommonPrefix + type](const auto& event) { return event->is(type); })
      .take(1)
      .subscribeNext([action = std::move(action)](const auto&) { action(); });
}

}  // namespace tarn::test
