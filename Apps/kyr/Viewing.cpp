#include "Viewing.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "Host/TarnBasicSessionProvider.h"
#include "Host/TarnPlayerSDKManager.h"
#include "Kyr/TarnKyrConstants.h"
#include "Kyr/TarnKyrSessionProvider.h"
#include "Platform/Queue.h"

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
  Error error;
  error.domain = TarnLumoErrorDomain;
  error.code = TarnLumoDocumentErrorCodeConnection;
  error.description = document.absoluteString() + ": no answer";
  return error;
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
  providerOptions->makeAnalyticsDigester = [weakView, beacons = options.beacons] {
    return makeShowingDigester(beacons, [weakView](const URL& url) {
      if (const auto told = weakView.lock()) told->beacon(url);
    });
  };
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

bool Viewing::begin(const std::function<bool()>& isOver) {
  controller_->begin();
  const bool isDone = MainQueue::shared().runUntil([&] { return begun_ || isOver(); }, kLoadLimit);
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
  subscriptions_.add(session.progress().subscribeNext([&view](CMTime time) { view.progress(time); }));
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
  if (auto error = errorOf(*event)) error_ = std::move(error);
  view_->lifecycle(*event);
}

void Viewing::seek(CMTime contentTime) {
  session_->seekToTime(contentTime,
                       [weakView = std::weak_ptr<SessionView>(view_), contentTime](bool finished) {
                         if (const auto view = weakView.lock()) view->seek(contentTime, finished);
                       });
}

void Viewing::skip() {
  const auto ad = ad_;  // what the handler does may end it
  if (!ad) return;
  const auto* skip = ad->privateProperties().get<TarnAdSkipHandler>(kTarnAdPrivatePropertyKeySkipHandler);
  if (skip != nullptr && *skip) (*skip)();
}

}  // namespace tarn::cli
