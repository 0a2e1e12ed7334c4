#include "Viewing/PlaybackRun.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "Host/TarnBasicSessionProvider.h"
#include "Host/TarnPlayerSDKManager.h"
#include "Kyr/TarnKyrConstants.h"
#include "Kyr/TarnKyrSessionProvider.h"

namespace tarn::cli {
namespace {

/// Longer than any request, whose own time-outs end it earlier.
constexpr std::chrono::minutes kMaxLoadTime{10};

bool haveSameName(const std::pair<std::string, std::string>& a,
                  const std::pair<std::string, std::string>& b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::equal(a.first.begin(), a.first.end(), b.first.begin(), b.first.end(),
                    [lower](char x, char y) { return lower(x) == lower(y); });
}

void addHeaders(TarnLumoHTTPHeaders& headers, const TarnLumoHTTPHeaders& more) {
  std::erase_if(headers, [&more](const auto& header) {
    return std::any_of(more.begin(), more.end(),
                       [&header](const auto& other) { return haveSameName(header, other); });
  });
  headers.insert(headers.end(), more.begin(), more.end());
}

std::shared_ptr<const TarnVideo> videoAt(const URL& document) {
  return std::make_shared<const TarnVideo>(
      TarnMutableVideo{.sources = {std::make_shared<const TarnSource>(document, kTarnSourceDeliveryLumo)}});
}

/// The error of a session's event, from either of the two property keys.
std::optional<Error> errorOf(const TarnPlaybackSessionLifecycleEvent& event) {
  if (auto error = event.error()) return error;
  if (!event.properties()) return std::nullopt;
  const auto* error = event.properties()->get<Error>(kTarnKyrLifecycleEventPropertiesKeyError);
  return error != nullptr ? std::optional(*error) : std::nullopt;
}

Error noResponse(const URL& document) {
  return Error::make(TarnLumoErrorDomain, TarnLumoDocumentErrorCodeConnection,
                     document.absoluteString() + ": no answer");
}

}  // namespace

class PlaybackRun::Consumer final : public TarnSessionConsumer {
 public:
  explicit Consumer(PlaybackRun& playback) : playback_(playback) {}
  void didAdvanceToPlaybackSession(const std::shared_ptr<TarnPlaybackSession>& session) override {
    playback_.didAdvance(session);
  }

 private:
  PlaybackRun& playback_;
};

PlaybackRun::PlaybackRun(const PlaybackOptions& options, MakePlayer makePlayer, SessionObserver& observer)
    : document_(options.document),
      observer_(&observer, [](SessionObserver*) {}),
      consumer_(std::make_shared<Consumer>(*this)) {
  const std::weak_ptr<SessionObserver> weakObserver = observer_;
  const auto manager =
      std::make_shared<TarnPlayerSDKManager>([weakObserver, makePlayer = std::move(makePlayer)] {
        return makePlayer([weakObserver](const PlayerAction& action) {
          if (const auto alive = weakObserver.lock()) alive->player(action);
        });
      });
  const auto providerOptions = std::make_shared<TarnKyrSessionProviderOptions>();
  addHeaders(providerOptions->httpHeaders, options.headers);
  providerOptions->fetch = options.fetch;
  beaconSink_ = std::make_shared<ReportingBeaconSink>(options.beacons, [weakObserver](const URL& url) {
    if (const auto alive = weakObserver.lock()) alive->beacon(url);
  });
  providerOptions->beaconSink = beaconSink_;
  const auto provider = std::make_shared<TarnKyrSessionProvider>(
      providerOptions, std::make_shared<TarnBasicSessionProvider>(manager->playerFactory()));
  controller_ = manager->createPlaybackControllerWithSessionProvider(provider);
  controller_->setAutoPlay(options.autoPlay);
  controller_->addSessionConsumer(consumer_);
  controller_->addVideo(videoAt(options.document));
}

PlaybackRun::~PlaybackRun() {
  subscriptions_.dispose();
  canSeekObservation_.reset();
  observer_.reset();
  controller_->terminate();
}

bool PlaybackRun::begin(const std::function<bool()>& isOver, const RunUntil& runUntil) {
  controller_->begin();
  const bool isDone = runUntil([&] { return begun_ || isOver(); }, kMaxLoadTime);
  if (!isDone) error_ = noResponse(document_);
  return session_ != nullptr;
}

void PlaybackRun::didAdvance(const std::shared_ptr<TarnPlaybackSession>& session) {
  begun_ = true;
  session_ = std::dynamic_pointer_cast<TarnKyrSession>(session);
  observer_->loaded(session_.get());
  subscribeTo(*session);
  if (session_) observeCanSeek();
}

void PlaybackRun::subscribeTo(const TarnPlaybackSession& session) {
  SessionObserver& observer = *observer_;
  subscriptions_.add(session.lifecycle().subscribeNext([this](const auto& event) { handleEvent(event); }));
  subscriptions_.add(session.progress().subscribeNext([this, &observer](CMTime time) {
    position_ = time;
    observer.progress(time);
  }));
  subscriptions_.add(
      session.durationChanges().subscribeNext([&observer](CMTime duration) { observer.duration(duration); }));
  subscriptions_.add(session.seekableRangesChanges().subscribeNext(
      [&observer](const auto& ranges) { observer.ranges("seekable", ranges); }));
  subscriptions_.add(session.loadedTimeRangesChanges().subscribeNext(
      [&observer](const auto& ranges) { observer.ranges("loaded", ranges); }));
}

void PlaybackRun::observeCanSeek() {
  canSeekObservation_ = session_->canSeekProperty().observe(
      [&observer = *observer_, last = session_->canSeek()](bool allowed) mutable {
        if (std::exchange(last, allowed) != allowed) observer.canSeek(allowed);
      });
}

void PlaybackRun::handleEvent(const TarnPlaybackSession::LifecycleEvent& event) {
  if (!event) return;
  if (event->is(kTarnPlaybackSessionLifecycleEventAdEnter)) ad_ = event->ad();
  if (event->is(kTarnPlaybackSessionLifecycleEventAdExit) ||
      event->is(kTarnPlaybackSessionLifecycleEventTerminate)) {
    ad_.reset();
  }
  if (event->is(kTarnPlaybackSessionLifecycleEventReady)) ready_ = true;
  if (event->is(kTarnPlaybackSessionLifecycleEventPlay)) ended_ = false;
  if (event->is(kTarnPlaybackSessionLifecycleEventEnd)) ended_ = true;
  if (auto error = errorOf(*event)) error_ = std::move(error);
  observer_->lifecycle(*event);
}

void PlaybackRun::togglePlaying() {
  const auto player = session_->player();
  if (!player) return;
  player->playing().get() ? pause() : play();
}

void PlaybackRun::seek(CMTime contentTime) {
  seekTarget_ = contentTime;
  session_->seekToTime(contentTime, [this, weakObserver = std::weak_ptr<SessionObserver>(observer_),
                                     contentTime, number = ++seeks_](bool finished) {
    const auto observer = weakObserver.lock();
    if (!observer) return;
    if (number == seeks_) seekTarget_.reset();
    observer->seek(contentTime, finished);
  });
}

void PlaybackRun::seekBy(CMTime distance) {
  const CMTime target = CMTimeAdd(seekTarget_.value_or(position_), distance);
  seek(target < kCMTimeZero ? kCMTimeZero : target);
}

void PlaybackRun::learnMore() {
  if (!ad_) return;
  const auto* urls =
      ad_->privateProperties().get<std::vector<std::string>>(kTarnAdPrivatePropertyKeyClickthroughURLs);
  if (urls == nullptr || urls->empty()) return;
  observer_->note(urls->front());
  if (const auto analytics = session_->analyticsSession()->adAnalaytics()) analytics->trackVideoClick();
}

void PlaybackRun::skip() {
  const auto ad = ad_;  // the handler may end the ad
  if (!ad) return;
  const auto* skip = ad->privateProperties().get<TarnAdSkipHandler>(kTarnAdPrivatePropertyKeySkipHandler);
  if (skip != nullptr && *skip) (*skip)();
}

}  // namespace tarn::cli
