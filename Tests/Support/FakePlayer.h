#pragma once

#include <memory>

#include "HostSimulated/SimulatedPlayer.h"
#include "Support/TimePrinter.h"

namespace tarn::test {

/// A simulated player with a clock of its own, in seconds. Nothing of an item is loaded until `setLoadedTo`.
///
/// The clock leaves the main queue alone, so a test that does not drain it holds a seek in flight.
class FakePlayer final : public SimulatedPlayer {
 public:
  explicit FakePlayer(double reportInterval = 0.25)
      : FakePlayer(std::make_shared<VirtualClock>(), reportInterval) {}

  void becomeReady(double duration) { SimulatedPlayer::becomeReady(seconds(duration)); }
  void setLoadedTo(double time) { SimulatedPlayer::setLoadedTo(seconds(time)); }
  void starve(bool starved) { setStarved(starved); }
  void breakSeeking() { setSeekable(false); }
  /// Lets time pass; a listener may destroy the player meanwhile. The playhead is reported at the end, too,
  /// and the interval of the reports begins anew there.
  void advance(double duration) {
    const auto clock = clock_;
    const auto watch = liveness().watch();
    clock->advanceAlone(seconds(duration));
    if (watch.isAlive() && isFollowing() && reportPosition() && isFollowing()) doPlay();
  }

 private:
  FakePlayer(std::shared_ptr<VirtualClock> clock, double reportInterval)
      : SimulatedPlayer(*clock, {.reportInterval = seconds(reportInterval), .loadsAtOnce = false}),
        clock_(std::move(clock)) {}

  [[nodiscard]] bool isFollowing() const {
    return playing_.get() && state_.get() == TarnPlayerState::ready && !isSeeking();
  }

  const std::shared_ptr<VirtualClock> clock_;
};

}  // namespace tarn::test
