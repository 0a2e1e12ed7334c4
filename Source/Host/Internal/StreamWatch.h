#pragma once

#include <chrono>
#include <functional>

#include "Host/PlayerBase.h"
#include "Host/Ticker.h"

namespace tarn {

/// Of the item of a player of real streams: the time without progress, and the process that loaded it. Main
/// thread.
class StreamWatch {
 public:
  /// `onTick` is called at the engine's interval, from `expectProgress` until `stop`.
  StreamWatch(StreamEngine engine, std::function<void()> onTick);

  [[nodiscard]] const StreamEngine& engine() const { return engine_; }

  /// This process loads an item.
  void beginItem();
  /// A wait for progress begins, or there was progress.
  void expectProgress();
  void stop() { ticker_.setRunning(false); }

  /// There was no progress for longer than `limit`.
  [[nodiscard]] bool hasPassed(std::chrono::milliseconds limit) const;
  /// The item was loaded before this process was forked.
  [[nodiscard]] bool isItemOfParent() const;

 private:
  using Clock = std::chrono::steady_clock;

  const StreamEngine engine_;
  unsigned generation_ = 0;
  Clock::time_point lastAdvance_;
  Ticker ticker_;
};

}  // namespace tarn
