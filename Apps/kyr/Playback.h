#pragma once

#include <chrono>
#include <memory>
#include <vector>

#include "Host/TarnPlayer.h"
#include "Lumo/TarnLumoAnalyticsSession.h"
#include "Lumo/TarnLumoProgressTracker.h"
#include "PlayView.h"

namespace tarn::cli {

/// One stitched stream on a player, with the ads' tracking: the player's times feed the tracker, the
/// tracker's events send the beacons, and a view is told of everything. Main thread.
class Playback {
 public:
  /// `player` and `view` outlive it.
  Playback(std::shared_ptr<const TarnLumoTimeline> timeline, TarnPlayer& player, PlayView& view);

  void load(const URL& stream);
  void play();
  void pause();
  void togglePlaying();

  [[nodiscard]] bool hasEnded() const { return player_.state().get() == TarnPlayerState::ended; }
  [[nodiscard]] bool hasFailed() const { return player_.state().get() == TarnPlayerState::failed; }
  /// Neither ended, failed nor still loading.
  [[nodiscard]] bool isReady() const { return player_.state().get() == TarnPlayerState::ready; }

  /// Waits until the beacons under way are through, at most `limit`.
  bool flush(std::chrono::milliseconds limit) { return digester_->flush(limit); }

 private:
  template <typename T, typename React>
  void observePlayer(Observable<T>& value, React react);
  void showTracker();
  void feedTracker();
  void showPlayer();

  TarnPlayer& player_;
  PlayView& view_;
  const CMTime adTime_;
  std::shared_ptr<TarnLumoProgressTracker> tracker_;
  std::shared_ptr<TarnLumoAnalyticsDigester> digester_;
  std::vector<Token> observations_;
  std::unique_ptr<TarnLumoAnalyticsSession> analytics_;
};

}  // namespace tarn::cli
