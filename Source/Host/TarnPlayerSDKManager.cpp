#include "Host/TarnPlayerSDKManager.h"

#include <algorithm>
#include <utility>

TarnPlayerSDKManager::TarnPlayerSDKManager(TarnPlayerFactory playerFactory)
    : playerFactory_(std::move(playerFactory)) {}

void TarnPlayerSDKManager::registerComponent(std::shared_ptr<TarnComponent> component) {
  components_.push_back(component);
  component->tarn_componentIdentity();
  component->tarn_setComponentContext(TarnComponentContext{weak_from_this()});
}

std::shared_ptr<TarnPlaybackController> TarnPlayerSDKManager::createPlaybackControllerWithSessionProvider(
    std::shared_ptr<TarnSessionProvider> sessionProvider, std::shared_ptr<TarnViewStrategy> viewStrategy) {
  if (!sessionProvider) sessionProvider = std::make_shared<TarnBasicSessionProvider>(playerFactory_);
  auto controller =
      std::make_shared<TarnPlaybackController>(std::move(sessionProvider), std::move(viewStrategy));
  postFeatureAnalytics();
  return controller;
}

void TarnPlayerSDKManager::postFeatureAnalytics() const {
  std::vector<std::shared_ptr<TarnComponent>> newestOfClass;
  for (const auto& component : components_) {
    const auto same = std::find_if(newestOfClass.begin(), newestOfClass.end(), [&](const auto& other) {
      return other->componentClass() == component->componentClass();
    });
    if (same == newestOfClass.end()) {
      newestOfClass.push_back(component);
    } else {
      *same = component;
    }
  }
  for (const auto& component : newestOfClass) component->postFeatureAnalytics();
}
