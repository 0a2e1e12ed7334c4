#pragma once

#include <functional>
#include <memory>

#include "Host/TarnPlayer.h"
#include "Host/TarnSessionProvider.h"

/// Makes a player, for one session; null when it cannot. Called on the main thread.
using TarnPlayerFactory = std::function<std::shared_ptr<TarnPlayer>()>;

/// The toolkit's own provider, the last one upstream in the chain: makes ordinary sessions, each with its own
/// player.
///
/// A session's source is the one that the common properties' policy selects; without common properties or
/// without a policy in them, the one that this provider's policy selects: the first with a URL whose delivery
/// method is absent or `kTarnSourceDeliveryHLS`. A video without a usable source still yields its session,
/// which fails when it begins.
class TarnBasicSessionProvider final : public TarnSessionProvider {
 public:
  /// With an empty factory the sessions have no player and fail when they begin.
  explicit TarnBasicSessionProvider(TarnPlayerFactory playerFactory = nullptr);
  ~TarnBasicSessionProvider() override;

  [[nodiscard]] bool shouldLoadVideo() const override;
  void setShouldLoadVideo(bool shouldLoad) override;
  void setSessionCommonProperties(const std::shared_ptr<TarnSessionCommonProperties>& properties) override;
  [[nodiscard]] TarnSourceSelectionPolicy sourceSelectionPolicy() const override;
  [[nodiscard]] Sessions playbackSessionsForVideos(Videos videos) override;

 private:
  struct State;
  std::shared_ptr<State> state_;
};
