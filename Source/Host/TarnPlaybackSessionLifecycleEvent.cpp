#include "Host/TarnPlaybackSessionLifecycleEvent.h"

#include <utility>

namespace {

template <typename T>
const T* read(const std::optional<tarn::Dictionary>& properties, std::string_view key) {
  return properties ? properties->get<T>(key) : nullptr;
}

template <typename T>
std::optional<T> readValue(const std::optional<tarn::Dictionary>& properties, std::string_view key) {
  const auto* value = read<T>(properties, key);
  return value ? std::optional<T>(*value) : std::nullopt;
}

template <typename T>
std::shared_ptr<const T> readShared(const std::optional<tarn::Dictionary>& properties, std::string_view key) {
  const auto* value = read<std::shared_ptr<const T>>(properties, key);
  return value ? *value : nullptr;
}

}  // namespace

TarnPlaybackSessionLifecycleEvent::TarnPlaybackSessionLifecycleEvent(
    std::string eventType, std::optional<tarn::Dictionary> properties)
    : eventType_(std::move(eventType)), properties_(std::move(properties)) {}

std::shared_ptr<const TarnAd> TarnPlaybackSessionLifecycleEvent::ad() const {
  return readShared<TarnAd>(properties_, kTarnPlaybackSessionLifecycleEventPropertiesKeyAd);
}

std::shared_ptr<const TarnAdSequence> TarnPlaybackSessionLifecycleEvent::adSequence() const {
  return readShared<TarnAdSequence>(properties_, kTarnPlaybackSessionLifecycleEventPropertiesKeyAdSequence);
}

std::optional<CMTime> TarnPlaybackSessionLifecycleEvent::adProgress() const {
  return readValue<CMTime>(properties_, kTarnPlaybackSessionLifecycleEventPropertiesKeyAdProgress);
}

std::optional<tarn::Error> TarnPlaybackSessionLifecycleEvent::error() const {
  return readValue<tarn::Error>(properties_, kTarnPlaybackSessionLifecycleEventPropertiesKeyError);
}
