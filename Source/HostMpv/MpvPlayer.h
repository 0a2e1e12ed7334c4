#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "Host/PlayerBase.h"

namespace tarn {

class MpvCore;
struct MpvEvent;

struct MpvPlayerOptions {
  /// mpv's outputs; it plays without one that cannot be opened. The defaults render nothing, in real time: no
  /// display and no sound device needed.
  std::string videoOutput = "null";
  std::string audioOutput = "null";
  /// Between two reports of the playhead.
  std::chrono::milliseconds reportInterval{250};
  /// How long an item may take until it is ready.
  std::chrono::milliseconds loadLimit{20'000};
  /// How long the playhead may stay where it is while it should move, and how long a seek may take.
  std::chrono::milliseconds stallLimit{15'000};
};

/// A player on libmpv, with FFmpeg's HLS demuxer. Needs no event loop but the main queue's.
///
/// Times have timescale 90000. Every seek is exact, whatever its tolerances. Waiting for data is no failure
/// until a limit of the options has passed. A segment that cannot be fetched is skipped; a stream that ends
/// more than two seconds before its duration has broken off.
///
/// mpv needs the numbers of the C locale. An application that calls `setlocale(LC_ALL, "")`, or has a toolkit
/// that does, calls `setlocale(LC_NUMERIC, "C")` afterwards; otherwise loading fails with an error that says
/// so. The player itself changes no locale.
///
/// In a child made by `fork` a player may be destroyed. Anything else there fails with an error that says
/// why, unless mpv was first used in the child.
class MpvPlayer : public PlayerBase {
 public:
  explicit MpvPlayer(MpvPlayerOptions options = {});
  ~MpvPlayer() override;

 private:
  void doLoad(const URL& url) override;
  void doUnload() override;
  void doPlay() override;
  void doPause() override;
  void doSeek(const PlayerSeek& seek) override;
  void doFollow() override;
  [[nodiscard]] std::optional<CMTime> playhead() const override;

  void handleEvents();
  [[nodiscard]] bool handle(const MpvEvent& event);
  [[nodiscard]] bool land();
  [[nodiscard]] bool endIfPlayedAll();

  const MpvPlayerOptions options_;
  std::unique_ptr<MpvCore> core_;          // of the item; null without one and after a failure
  PlayerSeek seek_{};                      // the last
  std::optional<CMTime> landingPosition_;  // of mpv, where the last seek has led
  std::optional<CMTime> receivedUntil_;    // as last reported
};

}  // namespace tarn
