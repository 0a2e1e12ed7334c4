#include "Kyr/Internal/TarnKyrSourceSelection.h"

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Log.h"
#include "Platform/Text.h"

namespace tarn {
namespace {

constexpr const char* kRoutine = "sourceSelectionPolicy";

/// A source whose URL is already the one to load.
bool isPlainSource(const TarnSource& source) {
  const auto& method = source.deliveryMethod();
  return !method || equalsIgnoringASCIICase(*method, kTarnSourceDeliveryHLS) ||
         equalsIgnoringASCIICase(*method, kTarnSourceDeliveryLumo);
}

std::optional<URL> vmapURL(const TarnSource& source) {
  if (const auto* url = source.properties().get<URL>("vmap")) return *url;
  const auto* text = source.properties().get<std::string>("vmap");
  return text != nullptr ? URL::fromString(*text) : std::nullopt;
}

/// Catalogues write the version as a number or a string; anything else counts as 0.
std::int64_t version(const TarnSource& source) {
  const auto& properties = source.properties();
  if (const auto* number = properties.get<std::int64_t>("ext_x_version")) return *number;
  if (const auto* number = properties.get<int>("ext_x_version")) return *number;
  if (const auto* text = properties.get<std::string>("ext_x_version"))
    return std::strtoll(text->c_str(), nullptr, 10);
  return 0;
}

/// The first of the ad-insertion sources with the highest version whose document has that scheme; null when
/// there is none. Versions count from zero: where all are below, the video's first source is taken.
const TarnSource* bestSource(const TarnVideo& video, std::string_view scheme) {
  const TarnSource* best = video.sources().empty() ? nullptr : video.sources().front().get();
  std::int64_t bestVersion = -1;
  bool found = false;
  for (const auto& source : video.sources()) {
    const auto url = vmapURL(*source);
    if (!source->deliveryMethod() || !url) {
      writeLogLine(std::string("Found nil delivery method or, nil or malformed VMAP URL in ") + kRoutine);
      continue;
    }
    if (url->scheme() != scheme ||
        !equalsIgnoringASCIICase(*source->deliveryMethod(), kTarnSourceDeliveryQuillSSAI))
      continue;
    found = true;
    if (version(*source) <= bestVersion) continue;
    best = source.get();
    bestVersion = version(*source);
  }
  return found ? best : nullptr;
}

}  // namespace

std::shared_ptr<const TarnSource> selectKyrSource(const TarnVideo& video) {
  const auto& sources = video.sources();
  if (sources.size() == 1 && isPlainSource(*sources.front())) return sources.front();
  const auto* best = bestSource(video, "https");
  if (best == nullptr) best = bestSource(video, "http");
  if (best == nullptr) {
    writeLogLine(std::string("Failed to find a valid video source in ") + kRoutine);
    return nullptr;
  }
  return std::make_shared<const TarnSource>(vmapURL(*best), kTarnSourceDeliveryHLS, best->properties());
}

}  // namespace tarn
