#pragma once

#include <memory>

#include "Host/TarnSessionProvider.h"
#include "Kyr/TarnKyrSessionProviderOptions.h"

/// Wraps another provider, and gives its sessions content time and ad events.
///
/// Each upstream session is wrapped in a `TarnKyrSession`, whose ad timeline is loaded. The sessions are sent
/// in the order in which their loads end. Instead of one that cannot be loaded a `TarnErrorSession` is sent,
/// whose event of type `kTarnKyrLifecycleErrorEvent` carries the reason. Main thread.
class TarnKyrSessionProvider final : public TarnSessionProvider {
 public:
  /// Not to be used: throws `tarn::ProgrammingError`.
  [[noreturn]] TarnKyrSessionProvider();
  /// Without options the defaults are taken; without an upstream provider a `TarnBasicSessionProvider` that
  /// has no player. `shouldLoadVideo` of the upstream provider becomes false: the stream's address is
  /// known only when the timeline is.
  TarnKyrSessionProvider(std::shared_ptr<TarnKyrSessionProviderOptions> options,
                         std::shared_ptr<TarnSessionProvider> upstreamSessionProvider);
  ~TarnKyrSessionProvider() override;

  [[nodiscard]] const std::shared_ptr<TarnKyrSessionProviderOptions>& options() const;
  void setOptions(std::shared_ptr<TarnKyrSessionProviderOptions> options);
  [[nodiscard]] const std::shared_ptr<TarnSessionProvider>& upstreamSessionProvider() const;

  [[nodiscard]] bool shouldLoadVideo() const override { return shouldLoadVideo_; }
  void setShouldLoadVideo(bool shouldLoad) override { shouldLoadVideo_ = shouldLoad; }

  /// Puts this provider's selection policy into them, and passes them upstream.
  void setSessionCommonProperties(const std::shared_ptr<TarnSessionCommonProperties>& properties) override;

  /// Chooses the source whose URL is that of the VMAP document.
  ///
  /// A single source whose delivery method is HLS, Lumo or absent is taken as it is. Otherwise, of the
  /// sources with delivery method Quill SSAI and a "vmap" property, the first of those with the highest
  /// "ext_x_version" whose VMAP URL is https; only without any such, http. The result is then a new
  /// source: HLS, at the VMAP URL, with the chosen one's properties. Null when nothing fits.
  [[nodiscard]] TarnSourceSelectionPolicy sourceSelectionPolicy() const override;

  [[nodiscard]] Sessions playbackSessionsForVideos(Videos videos) override;

 private:
  struct State;
  std::shared_ptr<State> state_;
  bool shouldLoadVideo_ = true;
};
