#include "Kyr/TarnKyrSessionProvider.h"

#include <utility>

#include "Host/TarnBasicSessionProvider.h"
#include "Host/TarnErrorSession.h"
#include "Kyr/Internal/TarnKyrSourceSelection.h"
#include "Kyr/TarnKyrConstants.h"
#include "Kyr/TarnKyrSession.h"
#include "Platform/ProgrammingError.h"
#include "Reactive/Tarn_RACObserve.h"

namespace {

using Session = std::shared_ptr<TarnPlaybackSession>;

bool hasConcluded(TarnKyrSessionLoadState state) {
  return state == TarnKyrLoadStateComplete || state == TarnKyrLoadStateError;
}

TarnPlaybackSession::LifecycleEvent errorEvent(const std::optional<tarn::Error>& loadError) {
  tarn::Error error = tarn::Error::make(kTarnKyrErrorDomain, kTarnKyrErrorCodeTimelineLoadError);
  if (loadError) error = tarn::withUnderlying(std::move(error), *loadError);
  tarn::Dictionary properties;
  properties.set(kTarnKyrLifecycleEventPropertiesKeyError, error);
  // For controls that only know the host toolkit.
  properties.set(kTarnPlaybackSessionLifecycleEventPropertiesKeyError, std::move(error));
  return std::make_shared<const TarnPlaybackSessionLifecycleEvent>(kTarnKyrLifecycleErrorEvent,
                                                                   std::move(properties));
}

/// The session, or an error session in its place when it could not be loaded.
Session outcome(const std::shared_ptr<TarnKyrSession>& session, TarnKyrSessionLoadState state) {
  if (state == TarnKyrLoadStateComplete) return session;
  return std::make_shared<TarnErrorSession>(session, errorEvent(session->loadError()));
}

}  // namespace

/// Outlives the provider while one of its signals has a subscriber.
struct TarnKyrSessionProvider::State {
  std::shared_ptr<TarnKyrSessionProviderOptions> options;
  std::shared_ptr<TarnSessionProvider> upstream;
  std::weak_ptr<TarnSessionCommonProperties> commonProperties;

  [[nodiscard]] Sessions loadedSession(const Session& upstreamSession) const {
    const auto session = std::make_shared<TarnKyrSession>(upstreamSession, options->httpHeaders,
                                                          options->beaconSink, options->fetch);
    session->setSessionCommonProperties(commonProperties.lock());
    session->load();
    // The subscription keeps the session until its load has ended.
    return tarn::observe(session, &TarnKyrSession::loadState)
        .filter(hasConcluded)
        .take(1)
        .map([session](TarnKyrSessionLoadState state) { return outcome(session, state); });
  }
};

TarnKyrSessionProvider::TarnKyrSessionProvider() {
  tarn::failProgramming(
      "Do not call -[TarnKyrSessionProvider init] directly, instead use "
      "-[TarnPlayerSDKManager createKyrSessionProviderWithOptions:]");
}

TarnKyrSessionProvider::TarnKyrSessionProvider(std::shared_ptr<TarnKyrSessionProviderOptions> options,
                                               std::shared_ptr<TarnSessionProvider> upstreamSessionProvider)
    : state_(std::make_shared<State>()) {
  if (!upstreamSessionProvider) upstreamSessionProvider = std::make_shared<TarnBasicSessionProvider>();
  if (!options) options = std::make_shared<TarnKyrSessionProviderOptions>();
  state_->options = std::move(options);
  state_->upstream = std::move(upstreamSessionProvider);
  state_->upstream->setShouldLoadVideo(false);
}

TarnKyrSessionProvider::~TarnKyrSessionProvider() = default;

const std::shared_ptr<TarnKyrSessionProviderOptions>& TarnKyrSessionProvider::options() const {
  return state_->options;
}

void TarnKyrSessionProvider::setOptions(std::shared_ptr<TarnKyrSessionProviderOptions> options) {
  if (!options) options = std::make_shared<TarnKyrSessionProviderOptions>();
  state_->options = std::move(options);
}

const std::shared_ptr<TarnSessionProvider>& TarnKyrSessionProvider::upstreamSessionProvider() const {
  return state_->upstream;
}

void TarnKyrSessionProvider::setSessionCommonProperties(
    const std::shared_ptr<TarnSessionCommonProperties>& properties) {
  state_->commonProperties = properties;
  if (properties) properties->sourceSelectionPolicy.set(sourceSelectionPolicy());
  state_->upstream->setSessionCommonProperties(properties);
}

TarnSourceSelectionPolicy TarnKyrSessionProvider::sourceSelectionPolicy() const {
  return tarn::selectKyrSource;
}

TarnSessionProvider::Sessions TarnKyrSessionProvider::playbackSessionsForVideos(Videos videos) {
  return state_->upstream->playbackSessionsForVideos(videos).flattenMap(
      [state = state_](const Session& session) { return state->loadedSession(session); });
}
