#include "Host/TarnBasicSessionProvider.h"

#include <utility>

#include "Host/TarnBasicPlaybackSession.h"
#include "Platform/Text.h"

namespace {

bool isPlayable(const TarnSource& source) {
  if (!source.url()) return false;
  return !source.deliveryMethod() ||
         tarn::equalsIgnoringASCIICase(*source.deliveryMethod(), kTarnSourceDeliveryHLS);
}

std::shared_ptr<const TarnSource> firstPlayableSource(const TarnVideo& video) {
  for (const auto& source : video.sources()) {
    if (isPlayable(*source)) return source;
  }
  return nullptr;
}

}  // namespace

/// Outlives the provider while a signal that it made has a subscriber.
struct TarnBasicSessionProvider::State {
  TarnPlayerFactory playerFactory;
  bool shouldLoadVideo = true;
  std::weak_ptr<TarnSessionCommonProperties> commonProperties;

  [[nodiscard]] std::shared_ptr<const TarnSource> selectSource(const TarnVideo& video) const {
    const auto common = commonProperties.lock();
    const auto policy = common ? common->sourceSelectionPolicy.get() : nullptr;
    return policy ? policy(video) : firstPlayableSource(video);
  }

  [[nodiscard]] std::shared_ptr<TarnPlaybackSession> makeSession(
      const std::shared_ptr<const TarnVideo>& video) const {
    const auto source = video ? selectSource(*video) : nullptr;
    auto session =
        std::make_shared<TarnBasicPlaybackSession>(video, source, playerFactory ? playerFactory() : nullptr);
    session->setSessionCommonProperties(commonProperties.lock());
    if (shouldLoadVideo && source && source->url()) session->loadVideoURL(*source->url());
    return session;
  }
};

TarnBasicSessionProvider::TarnBasicSessionProvider(TarnPlayerFactory playerFactory)
    : state_(std::make_shared<State>()) {
  state_->playerFactory = std::move(playerFactory);
}

TarnBasicSessionProvider::~TarnBasicSessionProvider() = default;

bool TarnBasicSessionProvider::shouldLoadVideo() const {
  return state_->shouldLoadVideo;
}

void TarnBasicSessionProvider::setShouldLoadVideo(bool shouldLoad) {
  state_->shouldLoadVideo = shouldLoad;
}

void TarnBasicSessionProvider::setSessionCommonProperties(
    const std::shared_ptr<TarnSessionCommonProperties>& properties) {
  state_->commonProperties = properties;
}

TarnSourceSelectionPolicy TarnBasicSessionProvider::sourceSelectionPolicy() const {
  return firstPlayableSource;
}

TarnSessionProvider::Sessions TarnBasicSessionProvider::playbackSessionsForVideos(Videos videos) {
  return videos.map(
      [state = state_](const std::shared_ptr<const TarnVideo>& video) { return state->makeSession(video); });
}
