#include "KyrStage.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cctype>
#include <map>

#include "Host/TarnBasicSessionProvider.h"
#include "Platform/Queue.h"
#include "Support/Story.h"
#include "Support/TimePrinter.h"

namespace tarn::test {
namespace {

const std::string kCommonPrefix = "kTarnPlaybackSessionLifecycleEvent";

/// "30-1": thirty seconds less a tick.
CMTime readTime(const std::string& text) {
  std::size_t length = 0;
  const double seconds = std::stod(text, &length);
  return at(seconds, length == text.size() ? 0 : std::stoi(text.substr(length)));
}

const std::map<std::string, std::function<void(KyrStage&)>> kSteps = {
    {"turn", [](auto&) { drainAll(); }},
    {"?suspended", [](auto& stage) { EXPECT_TRUE(stage.isSuspended()); }},
    {"?following", [](auto& stage) { EXPECT_FALSE(stage.isSuspended()); }},
    {"gone", [](auto& stage) { stage.session.reset(); }},
    {"play", [](auto& stage) { stage.session->avPlayerPlay(); }},
    {"pause", [](auto& stage) { stage.session->avPlayerPause(); }},
    {"resumeAd", [](auto& stage) { stage.session->resumeAd(); }},
    {"pauseAd", [](auto& stage) { stage.session->pauseAd(); }},
    {"resumeAt20", [](auto& stage) { stage.session->resumeVideoAtTime(at(20), false); }},
    {"load", [](auto& stage) { stage.session->loadVideoURL(*URL::fromString("http://s/")); }},
    {"fail", [](auto& stage) { stage.player().fail({}); }},
    {"terminate", [](auto& stage) { stage.session->terminate(); }},
    {"disableAds", [](auto& stage) { stage.common->adsDisabled.set(true); }},
    {"leaveBreak", [](auto& stage) { stage.session->tracker()->setAbsoluteTime(at(61)); }},
    {"breakSeeking", [](auto& stage) { stage.player().breakSeeking(); }},
    {"load25", [](auto& stage) { stage.player().setLoadedTo(25); }},
    {"ready30", [](auto& stage) { stage.player().becomeReady(30); }},
    {"starve", [](auto& stage) { stage.player().starve(true); }},
    {"feed", [](auto& stage) { stage.player().starve(false); }},
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
  static LoopbackServer server;  // one for the whole test program: each takes many threads
  static int count = 0;
  const std::string path = "/document-" + std::to_string(++count);
  server.answer(path, {.body = std::move(document)});
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
  take("turn");
  take("|");
}

KyrStage::~KyrStage() {
  session.reset();
  drainAll();
}

void KyrStage::tell(const std::string& story) {
  tellStory(
      story, [this](const std::string& step) { take(step); },
      [this](const std::string& place) {
        const auto found = place == "calls" ? calls() : place == "beacons" ? beacons() : Lines();
        const auto lines = place == "events" ? events() : place == "lines" ? this->lines() : found;
        return fmt::format("{}", fmt::join(lines, ", "));
      });
}

void KyrStage::take(const std::string& step) {
  if (step == "|") {
    (void)std::tuple(calls(), lines(), beacons());
  } else if (step == "out") {
    playOut();
  } else if (step == "skip") {
    (*lastAd()->privateProperties().get<TarnAdSkipHandler>(kTarnAdPrivatePropertyKeySkipHandler))();
  } else if (step[0] == '>') {
    session->seekToTime(readTime(step.substr(step.find_first_not_of('>'))), [calls = calls_](bool finished) {
      calls->push_back(finished ? "finished" : "unfinished");
    });
    if (step[1] != '>') drainAll();
  } else if (step[0] == '@') {
    player().seekToTime(readTime(step.substr(1)), kCMTimeZero, kCMTimeZero, nullptr);
    drainAll();
  } else if (step.ends_with('~')) {
    player().advance(std::stod(step));
  } else {
    std::isdigit(step[0]) != 0 ? play(std::stod(step)) : kSteps.at(step)(*this);
  }
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
