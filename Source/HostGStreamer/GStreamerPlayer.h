#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "Host/PlayerBase.h"
#include "Platform/Result.h"

namespace tarn {

struct GStreamerPlayerOptions {
  /// Element factories. The default renders nothing, in real time: no display and no sound device needed.
  std::string videoSink = "fakesink";
  std::string audioSink = "fakesink";
  /// A `GstGLQt6VideoItem` (see `prepareQuickVideo`), which then shows the picture in place of `videoSink`.
  /// Its window has drawn a first frame, with OpenGL, before anything is loaded. May be destroyed before the
  /// player.
  void* quickVideoItem = nullptr;
  /// Between two reports of the playhead.
  std::chrono::milliseconds reportInterval{250};
  /// How long an item may take until it is ready.
  std::chrono::milliseconds loadLimit{20'000};
  /// The longest time without progress while the playhead should move, and the longest time of a seek.
  std::chrono::milliseconds stallLimit{15'000};
};

/// Loads GStreamer's item for Qt Quick: afterwards QML can import
/// `org.freedesktop.gstreamer.Qt6GLVideoItem 1.0`. The error names what is not installed. Main thread; Qt is
/// named by no other part of this layer.
[[nodiscard]] Result<void> prepareQuickVideo();

/// The player of this system on Linux: GStreamer's playbin with the adaptive HLS demuxer, playing against
/// the system's clock. Needs no event loop but the main queue's.
///
/// Times have timescale 90000, positions rounded to the nearest tick. Waiting for data is no failure until a
/// limit of the options has passed. When the stream breaks off, the media received before is played first.
///
/// In a child made by `fork` a player may be destroyed. Anything else there fails with an error that says
/// why, unless GStreamer was first used in the child.
class GStreamerPlayer : public PlayerBase {
 public:
  explicit GStreamerPlayer(GStreamerPlayerOptions options = {});
  ~GStreamerPlayer() override;

 private:
  class Engine;

  void doLoad(const URL& url) override;
  void doUnload() override;
  void doPlay() override;
  void doPause() override;
  void doSeek(const PlayerSeek& seek) override;
  void doFollow() override;
  [[nodiscard]] std::optional<CMTime> playhead() const override;

  const GStreamerPlayerOptions options_;
  std::unique_ptr<Engine> engine_;  // of the item; null without one and after a failure
};

}  // namespace tarn
