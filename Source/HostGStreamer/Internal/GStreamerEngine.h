#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "Host/Ticker.h"
#include "HostGStreamer/GStreamerPlayer.h"
#include "HostGStreamer/Internal/GStreamerPipeline.h"
#include "Platform/Liveness.h"

namespace tarn {

/// One item of a player: its pipeline, and the time limits that hold for it. Main thread.
///
///     opening ── settled ──► following ── jump ──► jumping ── arrived and settled ──► following
///                                                  ▲     │
///                                                  └─────┘ outside the tolerances: jumps again, accurately
///
/// While it follows, a stream that breaks off is played on to the end of the received media, and fails there.
/// In the other states it fails at once. A failure, which the player reports, destroys the engine.
class GStreamerPlayer::Engine {
 public:
  /// `player` outlives it.
  Engine(GStreamerPlayer& player, const GStreamerPlayerOptions& options, const URL& url);

  /// Begins to load; may report a failure to the player.
  void open();
  /// It was made before a fork: nothing of it works, and it may only be destroyed.
  [[nodiscard]] bool isOfParent() const;
  /// `cause` in the words of this item's error.
  [[nodiscard]] Error explained(const Error& cause) const;

  void setPlaying(bool playing);
  void jump(const PlayerSeek& seek);
  [[nodiscard]] std::optional<CMTime> position() const;

 private:
  using Clock = std::chrono::steady_clock;
  enum class State { opening, following, jumping };

  void handle(const GStreamerEvent& event);
  void settle();
  void becomeReady();
  void setStarved(bool starved);
  void breakOff(const Error& cause);
  void runOut();
  void jumpTo(const PlayerSeek& seek, GStreamerSeekMode mode);
  [[nodiscard]] bool land();

  void tick();
  [[nodiscard]] bool isOverdue() const;
  [[nodiscard]] std::chrono::milliseconds limit() const;
  [[nodiscard]] bool updateRanges();
  void runPipeline();
  void updateTicker();
  void fail(const Error& cause);

  GStreamerPlayer& player_;
  const GStreamerPlayerOptions& options_;
  const URL url_;
  std::unique_ptr<GStreamerPipeline> pipeline_;
  State state_ = State::opening;
  bool isPlaying_ = false;
  bool isStarved_ = false;
  std::optional<Error> breakOff_;  // why the stream ended early, while the received media is played
  PlayerSeek seek_{};              // of the last jump
  bool isAccurate_ = false;        // the jump must land on the time itself
  bool hasArrived_ = false;        // the pipeline has data at the place jumped to
  CMTime furthest_ = kCMTimeZero;  // position of the playhead since the last jump
  Clock::time_point lastAdvance_;  // of the playhead, or the start of the current wait
  Clock::time_point nextRanges_;   // when to read the ranges again, which is expensive
  Ticker ticker_;
  Liveness liveness_;
};

}  // namespace tarn
