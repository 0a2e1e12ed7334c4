#pragma once

#include <memory>
#include <vector>

#include "Host/TarnBasicSessionProvider.h"
#include "Host/TarnComponent.h"
#include "Host/TarnPlaybackController.h"
#include "Host/TarnSessionProvider.h"
#include "Host/TarnViewStrategy.h"

/// An application's entry point: keeps the plug-ins and makes playback controllers. Main thread; owned by a
/// `std::shared_ptr`.
class TarnPlayerSDKManager : public std::enable_shared_from_this<TarnPlayerSDKManager> {
 public:
  /// `playerFactory` makes the players for the toolkit's own provider, and for plug-ins that make one.
  explicit TarnPlayerSDKManager(TarnPlayerFactory playerFactory);
  TarnPlayerSDKManager(const TarnPlayerSDKManager&) = delete;
  TarnPlayerSDKManager& operator=(const TarnPlayerSDKManager&) = delete;

  [[nodiscard]] const TarnPlayerFactory& playerFactory() const { return playerFactory_; }

  /// Keeps the component, not null, permanently and sets its context. A class may be registered repeatedly;
  /// the newest component represents it.
  void registerComponent(std::shared_ptr<TarnComponent> component);
  /// All components, in the order of their registration.
  [[nodiscard]] const std::vector<std::shared_ptr<TarnComponent>>& components() const { return components_; }

  /// Without a provider the controller gets a `TarnBasicSessionProvider`. Each call makes every registered
  /// class post its feature analytics once.
  [[nodiscard]] std::shared_ptr<TarnPlaybackController> createPlaybackControllerWithSessionProvider(
      std::shared_ptr<TarnSessionProvider> sessionProvider,
      std::shared_ptr<TarnViewStrategy> viewStrategy = nullptr);

 private:
  void postFeatureAnalytics() const;

  const TarnPlayerFactory playerFactory_;
  std::vector<std::shared_ptr<TarnComponent>> components_;
};
