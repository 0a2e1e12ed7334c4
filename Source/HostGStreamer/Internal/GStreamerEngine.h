#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "HostGStreamer/GStreamerPlayer.h"
#include "HostGStreamer/Internal/GStreamerPipeline.h"
#include "Platform/Liveness.h"

namespace tarn {

/// One item of a player, with its pipeline. Main thread.
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
  explicit Engine(GStreamerPlayer& player) : player_(player) {}

  /// Begins to load; may report a failure to the player. Once, before the other operations.
  void open(const URL& url, const GStreamerSinks& sinks);

  void setPlaying(bool playing);
  void jump(const PlayerSeek& seek);
  [[nodiscard]] std::optional<CMTime> position() const { return pipeline_->position(); }
  /// Reports the ranges if it is time to. Returns false like a report of the player.
  [[nodiscard]] bool updateRanges();

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
  void runPipeline();
  void fail(const Error& cause);

  GStreamerPlayer& player_;
  std::unique_ptr<GStreamerPipeline> pipeline_;
  State state_ = State::opening;
  bool isPlaying_ = false;
  bool isStarved_ = false;
  std::optional<Error> breakOff_;  // why the stream ended early, while the received media is played
  PlayerSeek seek_{};              // of the last jump
  bool isAccurate_ = false;        // the jump must land on the time itself
  bool hasArrived_ = false;        // the pipeline has data at the place jumped to
  Clock::time_point nextRanges_;   // when to read the ranges again, which is expensive
  Liveness liveness_;
};

}  // namespace tarn
