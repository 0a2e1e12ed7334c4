#include "Kyr/TarnKyrComponent.h"

#include <utility>

#include "Host/TarnBasicSessionProvider.h"
#include "Host/TarnNotificationCenter.h"
#include "Host/TarnPlaybackSession.h"
#include "Kyr/TarnKyrSessionProvider.h"
#include "Platform/Log.h"

std::string TarnKyrComponent::versionIdentifier() const {
  return "6.3.12";
}

void TarnKyrComponent::postFeatureAnalytics() {
  tarn::Dictionary info;
  info.set("kyr", versionIdentifier());
  TarnNotificationCenter::defaultCenter().postNotificationName(kTarnNotificationAnalyticsPostFeatureAnalytics,
                                                               nullptr, std::move(info));
}

std::shared_ptr<TarnPlaybackController> createKyrPlaybackController(
    const std::shared_ptr<TarnPlayerSDKManager>& manager) {
  return createKyrPlaybackControllerWithViewStrategy(manager, nullptr);
}

std::shared_ptr<TarnPlaybackController> createKyrPlaybackControllerWithViewStrategy(
    const std::shared_ptr<TarnPlayerSDKManager>& manager, std::shared_ptr<TarnViewStrategy> viewStrategy) {
  manager->registerComponent(std::make_shared<TarnKyrComponent>());
  auto provider = createKyrSessionProviderWithUpstreamSessionProvider(manager, nullptr);
  return manager->createPlaybackControllerWithSessionProvider(std::move(provider), std::move(viewStrategy));
}

std::shared_ptr<TarnSessionProvider> createKyrSessionProviderWithUpstreamSessionProvider(
    const std::shared_ptr<TarnPlayerSDKManager>& manager,
    std::shared_ptr<TarnSessionProvider> upstreamSessionProvider) {
  manager->registerComponent(std::make_shared<TarnKyrComponent>());
  if (!upstreamSessionProvider)
    upstreamSessionProvider = std::make_shared<TarnBasicSessionProvider>(manager->playerFactory());
  return std::make_shared<TarnKyrSessionProvider>(nullptr, std::move(upstreamSessionProvider));
}

bool kyr_canSeek(const TarnSessionProviderExtension& extension) {
  const auto session = extension.playbackSession();
  const auto* seeking = session ? session->seeking() : nullptr;
  return seeking != nullptr && seeking->canSeek();
}

void kyr_seekToTime(const TarnSessionProviderExtension& extension, CMTime time,
                    TarnSessionSeeking::Completion completion) {
  const auto session = extension.playbackSession();
  if (auto* seeking = session ? session->seeking() : nullptr)
    seeking->seekToTime(time, std::move(completion));
}

namespace {

using Mapping = CMTime (TarnSessionTimeMapping::*)(CMTime) const;

CMTime mapped(const TarnSessionProviderExtension& extension, CMTime time, Mapping mapping,
              const char* operation) {
  const auto session = extension.playbackSession();
  if (!session) return {};
  if (const auto* axes = session->timeMapping()) return (axes->*mapping)(time);
  tarn::writeLogLine(std::string(operation) + " not available in current session");
  return kCMTimeZero;
}

}  // namespace

CMTime kyr_absoluteTimeAtContentTime(const TarnSessionProviderExtension& extension, CMTime contentTime) {
  return mapped(extension, contentTime, &TarnSessionTimeMapping::absoluteTimeAtContentTime,
                "absoluteTimeAtContentTime:");
}

CMTime kyr_contentTimeAtAbsoluteTime(const TarnSessionProviderExtension& extension, CMTime absoluteTime) {
  return mapped(extension, absoluteTime, &TarnSessionTimeMapping::contentTimeAtAbsoluteTime,
                "contentTimeAtAbsoluteTime:");
}
