#include "KyrStage.h"

#include <algorithm>
#include <utility>

#include "Host/TarnBasicSessionProvider.h"
#include "Platform/Queue.h"
#include "Support/TimePrinter.h"

namespace tarn::test {
namespace {

const std::string kCommonPrefix = "kTarnPlaybackSessionLifecycleEvent";

/// One server for the whole test program: each takes many threads.
LoopbackServer& documentServer() {
  static LoopbackServer server;
  return server;
}

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
  static int count = 0;
  const std::string path = "/document-" + std::to_string(++count);
  documentServer().answer(path, {.body = std::move(document)});
  return documentServer().url(path);
}

std::size_t fetchesOf(const URL& url) {
  const auto targets = documentServer().targets();
  return static_cast<std::size_t>(std::count_if(targets.begin(), targets.end(), [&](const auto& target) {
    return url.absoluteString().ends_with(target);
  }));
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
  providerOptions->makeAnalyticsDigester = [digester = digester_] { return digester; };
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
  drainAll();
  forget();
}

KyrStage::~KyrStage() {
  session.reset();
  drainAll();
}

void KyrStage::play(double seconds) {
  auto* const player = player_.lock().get();  // not kept alive: it may be destroyed while it plays
  if (player != nullptr) player->advance(seconds);
  drainAll();
}

void KyrStage::playOut() {
  constexpr int kManySeeks = 50;
  for (int i = 0; i < kManySeeks && !player_.expired(); ++i) {
    if (player().state().get() == TarnPlayerState::ended) return;
    play(10'000);
  }
}

void KyrStage::jump(CMTime absoluteTime) {
  player().seekToTime(absoluteTime, kCMTimeZero, kCMTimeZero, nullptr);
  drainAll();
  forget();
}

void KyrStage::seek(CMTime contentTime) {
  session->seekToTime(contentTime, [calls = calls_](bool finished) {
    calls->push_back(finished ? "finished" : "unfinished");
  });
}

Lines KyrStage::events() {
  constexpr std::string_view kOthers[] = {"AdProgress", "duration", "seekable", "loaded", "progress"};
  Lines events = recorder_->take();
  std::erase_if(events, [&](const std::string& line) {
    return std::any_of(std::begin(kOthers), std::end(kOthers),
                       [&](std::string_view other) { return line.starts_with(other); });
  });
  return events;
}

void KyrStage::forget() {
  (void)calls();
  (void)lines();
  (void)beacons();
}

TarnPlaybackSession::LifecycleEvent KyrStage::lastEvent(std::string_view type) const {
  return recorder_->lastEvent(kCommonPrefix + std::string(type));
}

std::shared_ptr<const TarnAd> KyrStage::lastAd() const {
  return lastEvent("AdEnter")->ad();
}

void KyrStage::when(const std::string& type, std::function<void()> action) {
  session->lifecycle()
      .filter([type = kCommonPrefix + type](const auto& event) { return event->is(type); })
      .take(1)
      .subscribeNext([action = std::move(action)](const auto&) { action(); });
}

void KyrStage::pressSkip() const {
  (*lastAd()->privateProperties().get<TarnAdSkipHandler>(kTarnAdPrivatePropertyKeySkipHandler))();
}

}  // namespace tarn::test
