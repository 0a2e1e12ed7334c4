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

/// What a pipeline tells, copied out of GStreamer's messages.
struct GStreamerEvent {
  enum class Kind {
    arrived,          ///< The pipeline has data at its playhead, after loading or after a seek.
    settled,          ///< A change of its state is through.
    endOfStream,      ///< Everything was played.
    durationChanged,  ///< Worth asking for.
    starved,          ///< It lacks data; its owner should pause it.
    fed,              ///< It has all the data that it wants in hand.
    brokenOff,        ///< `error`: the stream ended early. `endOfStream` follows the received media.
    failed,           ///< `error`: the last event that matters.
  };
  Kind kind;
  /// How many jumps had been asked for when it happened; less than `jumps()` when a jump has outdated it.
  unsigned jumps = 0;
  /// In GStreamer's own domain, or in the player's where GStreamer's is too vague.
  std::optional<Error> error;
};

enum class GStreamerSeekMode {
  accurate,
  keyUnitBefore,
  keyUnitAfter,
  keyUnitNearest,
};

/// Factories of its sinks, and where the picture goes: to the item of Qt Quick, if there is one.
struct GStreamerSinks {
  std::string video;
  std::string audio;
  void* quickVideoItem = nullptr;
};

/// One playbin with one URI, the only place that talks to GStreamer's player.
///
/// Belongs to one thread, except that `onEvent` is called on GStreamer's threads, until the pipeline has been
/// destroyed and no longer.
class GStreamerPipeline {
 public:
  using OnEvent = std::function<void(const GStreamerEvent&)>;

  /// A paused pipeline that begins to load. Errors: an element is missing, or a sink cannot be opened.
  [[nodiscard]] static Result<std::unique_ptr<GStreamerPipeline>> make(const URL& url,
                                                                       const GStreamerSinks& sinks,
                                                                       OnEvent onEvent);
  GStreamerPipeline(const GStreamerPipeline&) = delete;
  GStreamerPipeline& operator=(const GStreamerPipeline&) = delete;
  ~GStreamerPipeline();

  /// In a child that was forked since it was made, where it lacks its threads and may only be destroyed.
  [[nodiscard]] bool isOfParent() const;

  void setPlaying(bool playing);
  /// Asks for a jump; `arrived` follows, then `settled` unless it is settled already. False: it cannot jump.
  [[nodiscard]] bool seek(CMTime time, GStreamerSeekMode mode);
  [[nodiscard]] unsigned jumps() const;
  /// No change of state is under way.
  [[nodiscard]] bool isSettled() const;

  [[nodiscard]] std::optional<CMTime> position() const;
  [[nodiscard]] std::optional<CMTime> duration() const;
  [[nodiscard]] std::optional<std::vector<CMTimeRange>> seekableRanges() const;
  /// From the playhead as far as data is in hand; absent while nothing has come.
  [[nodiscard]] std::optional<std::vector<CMTimeRange>> loadedRanges() const;

 private:
  struct Handles;
  explicit GStreamerPipeline(std::unique_ptr<Handles> handles);
  std::unique_ptr<Handles> handles_;
};

}  // namespace tarn
