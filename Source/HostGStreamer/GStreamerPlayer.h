#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Host/TarnPlayer.h"
#include "HostGStreamer/Ticker.h"
#include "Platform/Result.h"

namespace tarn {

class GStreamerPipeline;
enum class GStreamerSeekMode;
struct GStreamerEvent;

struct GStreamerPlayerOptions {
  /// Element factories. The default renders nothing, in real time: no display and no sound device needed.
  std::string videoSink = "fakesink";
  std::string audioSink = "fakesink";
  /// A `GstGLQt6VideoItem` (see `prepareQuickVideo`), which then shows the picture in place of `videoSink`.
  /// Its window has drawn a first frame, with OpenGL, before anything is loaded. May go before the player.
  void* quickVideoItem = nullptr;
  /// Between two reports of the playhead.
  std::chrono::milliseconds reportInterval{250};
  /// How long an item may take until it is ready.
  std::chrono::milliseconds loadLimit{20'000};
  /// How long the playhead may stand still while it should move, and how long a seek may take.
  std::chrono::milliseconds stallLimit{15'000};
};

/// Brings in GStreamer's item for Qt Quick: afterwards QML can import
/// `org.freedesktop.gstreamer.Qt6GLVideoItem 1.0`. The error names what is not installed. Main thread; Qt is
/// named by no other part of this layer.
[[nodiscard]] Result<void> prepareQuickVideo();

/// The player of this system on Linux: GStreamer's playbin with the adaptive HLS demuxer, playing against
/// the system's clock. Needs no event loop but the main queue's.
///
/// Times have timescale 90000, positions rounded to the nearest tick. Waiting for data is no failure until a
/// limit of the options has passed. When the stream breaks off, what was received before is played first.
///
/// In a child made by `fork` a player may be destroyed. Anything else there fails with an error that says
/// why, unless GStreamer was first used in the child.
class GStreamerPlayer : public TarnPlayer {
 public:
  explicit GStreamerPlayer(GStreamerPlayerOptions options = {});
  ~GStreamerPlayer() override;

  void loadURL(const URL& url) override;
  void play() override;
  void pause() override;
  void seekToTime(CMTime time, CMTime toleranceBefore, CMTime toleranceAfter,
                  SeekCompletion completion) override;
  [[nodiscard]] CMTime currentTime() const override;

 private:
  using Clock = std::chrono::steady_clock;

  class Turn;

  struct Seek {
    CMTime time;
    CMTime toleranceBefore;
    CMTime toleranceAfter;
    SeekCompletion completion;
    bool toEnd = false;
    bool isAccurate = false;  // this attempt must land on the time itself
    bool announced = false;   // the pipeline has told of data at the place jumped to
  };

  [[nodiscard]] bool hasPipeline() const;
  void failIfForked();
  void onNextTurn(std::function<void()> task);
  void openPipeline();
  void applyPlaying();
  void updateTicker();
  [[nodiscard]] bool isAwaitingProgress() const;

  void handle(const GStreamerEvent& event);
  void settle();
  void becomeReady();
  void setStarved(bool starved);
  void breakOff(const Error& cause);
  void runOut();
  void reachEnd();
  void failWithCause(const Error& cause);
  void fail(Error error);

  void dropSeeks();
  void refuse(SeekCompletion completion);
  void startWaitingSeek();
  void jump(Seek seek, GStreamerSeekMode mode);
  void land();

  void tick();
  void report(CMTime time);
  void updateDuration();
  void updateRanges();
  [[nodiscard]] std::optional<CMTime> knownDuration() const;

  const GStreamerPlayerOptions options_;
  std::optional<URL> url_;
  std::unique_ptr<GStreamerPipeline> pipeline_;
  std::uint64_t item_ = 0;           // counts loads, so that a callback that loads another item is noticed
  CMTime position_ = kCMTimeZero;    // as last reported or landed on
  bool hasReported_ = false;         // of this item
  bool atEnd_ = false;               // the playhead stands on the duration
  bool playsAgain_ = false;          // asked for while the end was announced
  Clock::time_point nextRanges_;     // when to look at the ranges again, which costs as much as all the rest
  Clock::time_point lastAdvance_;    // of the playhead, or the begin of what is being waited for
  std::optional<Error> breakOff_;    // why the stream ended early, while the received media is played
  std::optional<Seek> waitingSeek_;  // not yet given to the pipeline
  std::optional<Seek> activeSeek_;
  Ticker ticker_;
  std::shared_ptr<char> alive_ = std::make_shared<char>();
};

}  // namespace tarn
