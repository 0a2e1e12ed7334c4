#pragma once

#include <memory>
#include <string>
#include <typeindex>

#include "Host/TarnComponent.h"
#include "Host/TarnPlayerSDKManager.h"
#include "Host/TarnSessionCapabilities.h"
#include "Host/TarnSessionProviderExtension.h"

/// This plug-in, as the toolkit knows it. Main thread.
class TarnKyrComponent final : public TarnComponent {
 public:
  [[nodiscard]] std::type_index componentClass() const override { return typeid(TarnKyrComponent); }
  [[nodiscard]] std::string versionIdentifier() const override;
  void tarn_componentIdentity() override {}
  void tarn_setComponentContext(const TarnComponentContext&) override {}
  /// The notification's info has one entry: "kyr" with the version.
  void postFeatureAnalytics() override;
};

// What this plug-in adds to the manager. `manager` is not null. Main thread. Each call registers a new
// component, and a controller registers a second one with its provider: the registry takes them all.

/// A controller whose sessions are Kyr sessions, or error sessions where a timeline could not be loaded.
[[nodiscard]] std::shared_ptr<TarnPlaybackController> createKyrPlaybackController(
    const std::shared_ptr<TarnPlayerSDKManager>& manager);
/// `viewStrategy` may be null.
[[nodiscard]] std::shared_ptr<TarnPlaybackController> createKyrPlaybackControllerWithViewStrategy(
    const std::shared_ptr<TarnPlayerSDKManager>& manager, std::shared_ptr<TarnViewStrategy> viewStrategy);
/// A `TarnKyrSessionProvider` with default options. Without an upstream provider it wraps ordinary sessions
/// over the players that the manager's factory makes.
[[nodiscard]] std::shared_ptr<TarnSessionProvider> createKyrSessionProviderWithUpstreamSessionProvider(
    const std::shared_ptr<TarnPlayerSDKManager>& manager,
    std::shared_ptr<TarnSessionProvider> upstreamSessionProvider);

// What this plug-in adds to a session's extension: for controls that do not know which session they have.

/// Whether a seek would be accepted now; false for a session without a seek of its own, or destroyed.
[[nodiscard]] bool kyr_canSeek(const TarnSessionProviderExtension& extension);
/// `time` is content time. On a session without a seek of its own nothing happens: `completion` is not
/// called, so check `kyr_canSeek` before waiting for it.
void kyr_seekToTime(const TarnSessionProviderExtension& extension, CMTime time,
                    TarnSessionSeeking::Completion completion);
/// Zero, with a log line, for a session with one axis only; invalid while its timeline is not loaded, and
/// when the session has been destroyed.
[[nodiscard]] CMTime kyr_absoluteTimeAtContentTime(const TarnSessionProviderExtension& extension,
                                                   CMTime contentTime);
[[nodiscard]] CMTime kyr_contentTimeAtAbsoluteTime(const TarnSessionProviderExtension& extension,
                                                   CMTime absoluteTime);
