#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/MediaTime.h"
#include "Platform/Result.h"
#include "Platform/URL.h"

namespace tarn {

/// Timescale of all times that come from GStreamer: divisible by 600, and the clock of MPEG streams.
inline constexpr CMTimeScale kGStreamerTimescale = 90'000;

/// An event of a pipeline, copied from GStreamer's messages.
struct GStreamerEvent {
  enum class Kind {
    arrived,          ///< The pipeline has data at its playhead, after loading or after a seek.
    settled,          ///< A change of its state is complete.
    endOfStream,      ///< Everything was played.
    durationChanged,  ///< It may have changed.
    starved,          ///< It lacks data; its owner should pause it.
    fed,              ///< Its buffer is full.
    brokenOff,        ///< `error`: the stream ended early. `endOfStream` follows the received media.
    failed,           ///< `error`: no later event matters.
  };
  Kind kind;
  /// The number of jumps requested before it happened; less than `jumps()` when a later jump has outdated it.
  unsigned jumps = 0;
  /// In GStreamer's own domain, or in the player's if GStreamer's is too vague.
  std::optional<Error> error;
};

enum class GStreamerSeekMode {
  accurate,
  keyUnitBefore,
  keyUnitAfter,
  keyUnitNearest,
};

/// Factories of its sinks, and the Qt Quick item for the picture, if there is one.
struct GStreamerSinks {
  std::string video;
  std::string audio;
  void* quickVideoItem = nullptr;
};

/// One playbin with one URI; the only code that uses GStreamer's player.
///
/// Belongs to one thread. `onEvent` is called on GStreamer's threads, and never after the pipeline was
/// destroyed.
class GStreamerPipeline {
 public:
  using OnEvent = std::function<void(const GStreamerEvent&)>;

  /// A paused pipeline that begins to load. Errors: an element is missing, or a sink cannot be opened.
  [[nodiscard]] static Result<std::unique_ptr<GStreamerPipeline>> make(const URL& url,
                                                                       const GStreamerSinks& sinks,
                                                                       OnEvent onEvent);
  GStreamerPipeline(const GStreamerPipeline&) = delete;
  GStreamerPipeline& operator=(const GStreamerPipeline&) = delete;
  /// Releases nothing in a child that was forked since it was made: its threads do not exist there.
  ~GStreamerPipeline();

  void setPlaying(bool playing);
  /// Requests a jump; `arrived` follows, then `settled` unless it is settled already. False: it cannot jump.
  [[nodiscard]] bool seek(CMTime time, GStreamerSeekMode mode);
  [[nodiscard]] unsigned jumps() const;
  /// No change of state is in progress.
  [[nodiscard]] bool isSettled() const;

  [[nodiscard]] std::optional<CMTime> position() const;
  [[nodiscard]] std::optional<CMTime> duration() const;
  [[nodiscard]] std::optional<std::vector<CMTimeRange>> seekableRanges() const;
  /// From the playhead to the end of the received data; absent until data was received.
  [[nodiscard]] std::optional<std::vector<CMTimeRange>> loadedRanges() const;

 private:
  struct Handles;
  explicit GStreamerPipeline(std::unique_ptr<Handles> handles);
  std::unique_ptr<Handles> handles_;
};

}  // namespace tarn
