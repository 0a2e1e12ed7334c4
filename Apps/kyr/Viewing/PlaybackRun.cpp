#include "Viewing/Viewing.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "Host/TarnBasicSessionProvider.h"
#include "Host/TarnPlayerSDKManager.h"
#include "Kyr/TarnKyrConstants.h"
#include "Kyr/TarnKyrSessionProvider.h"

namespace tarn::cli {
namespace {

/// More than any request may take; a request ends by its own time-outs.
constexpr std::chrono::minutes kLoadLimit{10};

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

/// The error that an event of a session carries, whichever of the two kinds of errors it is.
std::optional<Error> errorOf(const TarnPlaybackSessionLifecycleEvent& event) {
  if (auto error = event.error()) return error;
  if (!event.properties()) return std::nullopt;
  const auto* error = event.properties()->get<Error>(kTarnKyrLifecycleEventPropertiesKeyError);
  return error != nullptr ? std::optional(*error) : std::nullopt;
}

Error noAnswer(const URL& document) {
  return Error::make(TarnLumoErrorDomain, TarnLumoDocumentErrorCodeConnection,
                     document.absoluteString() + ": no answer");
}

}  // namespace

class Viewing::Consumer final : public TarnSessionConsumer {
 public:
  explicit Consumer(Viewing& viewing) : viewing_(viewing) {}
  void didAdvanceToPlaybackSession(const std::shared_ptr<TarnPlaybackSession>& session) override {
    viewing_.meet(session);
  }

 private:
  Viewing& viewing_;
};

Viewing::Viewing(const ViewingOptions& options, MakePlayer makePlayer, SessionView& view)
    : document_(options.document),
      view_(&view, [](SessionView*) {}),
      consumer_(std::make_shared<Consumer>(*this)) {
  const std::weak_ptr<SessionView> weakView = view_;
  const auto manager = std::make_shared<TarnPlayerSDKManager>([weakView, makePlayer = std::move(makePlayer)] {
    return makePlayer([weakView](const PlayerAction& action) {
      if (const auto told = weakView.lock()) told->player(action);
    });
  });
  const auto providerOptions = std::make_shared<TarnKyrSessionProviderOptions>();
  addHeaders(providerOptions->httpHeaders, options.headers);
  providerOptions->fetch = options.fetch;
  beaconSink_ = std::make_shared<ShowingBeaconSink>(options.beacons, [weakView](const URL& url) {
    if (const auto told = weakView.lock()) told->beacon(url);
  });
  providerOptions->beaconSink = beaconSink_;
  const auto provider = std::make_shared<TarnKyrSessionProvider>(
      providerOptions, std::make_shared<TarnBasicSessionProvider>(manager->playerFactory()));
  controller_ = manager->createPlaybackControllerWithSessionProvider(provider);
  controller_->setAutoPlay(options.autoPlay);
  controller_->addSessionConsumer(consumer_);
  controller_->addVideo(videoAt(options.document));
}

Viewing::~Viewing() {
  subscriptions_.dispose();
  canSeekObservation_.reset();
  view_.reset();
  controller_->terminate();
}

bool Viewing::begin(const std::function<bool()>& isOver, const RunUntil& runUntil) {
  controller_->begin();
  const bool isDone = runUntil([&] { return begun_ || isOver(); }, kLoadLimit);
  if (!isDone) error_ = noAnswer(document_);
  return session_ != nullptr;
}

void Viewing::meet(const std::shared_ptr<TarnPlaybackSession>& session) {
  begun_ = true;
  session_ = std::dynamic_pointer_cast<TarnKyrSession>(session);
  view_->loaded(session_.get());
  follow(*session);
  if (session_) followCanSeek();
}

void Viewing::follow(const TarnPlaybackSession& session) {
  SessionView& view = *view_;
  subscriptions_.add(session.lifecycle().subscribeNext([this](const auto& event) { notice(event); }));
  subscriptions_.add(session.progress().subscribeNext([this, &view](CMTime time) {
    position_ = time;
    view.progress(time);
  }));
  subscriptions_.add(
      session.durationChanges().subscribeNext([&view](CMTime duration) { view.duration(duration); }));
  subscriptions_.add(session.seekableRangesChanges().subscribeNext(
      [&view](const auto& ranges) { view.ranges("seekable", ranges); }));
  subscriptions_.add(session.loadedTimeRangesChanges().subscribeNext(
      [&view](const auto& ranges) { view.ranges("loaded", ranges); }));
}

void Viewing::followCanSeek() {
  canSeekObservation_ =
      session_->canSeekProperty().observe([&view = *view_, last = session_->canSeek()](bool allowed) mutable {
        if (std::exchange(last, allowed) != allowed) view.canSeek(allowed);
      });
}

void Viewing::notice(const TarnPlaybackSession::LifecycleEvent& event) {
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
  view_->lifecycle(*event);
}

void Viewing::togglePlaying() {
  const auto player = session_->player();
  if (!player) return;
  player->playing().get() ? pause() : play();
}

void Viewing::seek(CMTime contentTime) {
  sought_ = contentTime;
  session_->seekToTime(contentTime, [this, weakView = std::weak_ptr<SessionView>(view_), contentTime,
                                     number = ++seeks_](bool finished) {
    const auto view = weakView.lock();
    if (!view) return;
    if (number == seeks_) sought_.reset();
    view->seek(contentTime, finished);
  });
}

void Viewing::seekBy(CMTime distance) {
  const CMTime target = CMTimeAdd(sought_.value_or(position_), distance);
  seek(target < kCMTimeZero ? kCMTimeZero : target);
}

void Viewing::learnMore() {
  if (!ad_) return;
  const auto* urls =
      ad_->privateProperties().get<std::vector<std::string>>(kTarnAdPrivatePropertyKeyClickthroughURLs);
  if (urls == nullptr || urls->empty()) return;
  view_->note(urls->front());
  if (const auto analytics = session_->analyticsSession()->adAnalaytics()) analytics->trackVideoClick();
}

void Viewing::skip() {
  const auto ad = ad_;  // what the handler does may end it
  if (!ad) return;
  const auto* skip = ad->privateProperties().get<TarnAdSkipHandler>(kTarnAdPrivatePropertyKeySkipHandler);
  if (skip != nullptr && *skip) (*skip)();
}

}  // namespace tarn::cli
