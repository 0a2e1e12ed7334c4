#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "HostMpv/MpvPlayer.h"
#include "Platform/Error.h"
#include "Platform/MediaTime.h"
#include "Platform/Result.h"
#include "Platform/URL.h"

struct mpv_event;
struct mpv_handle;

namespace tarn {

struct MpvEvent {
  enum class Kind {
    loaded,            ///< The first picture is decoded.
    landed,            ///< The newest seek has finished.
    seekFailed,        ///< mpv has refused it.
    bufferingChanged,  ///< See `isStarved`.
    durationChanged,   ///< See `duration`.
    failed,            ///< mpv has given up, for the reason in `error`.
  };
  Kind kind;
  std::optional<Error> error = std::nullopt;              ///< In mpv's own domain.
  TarnPlayerErrorCode code = TarnPlayerErrorCode::other;  ///< Of a failure before `loaded`.
};

/// One instance of mpv with one URL, the only place that talks to libmpv. Belongs to the main thread.
class MpvCore {
 public:
  /// Begins to load, paused. `onWakeup` is called on mpv's threads when `nextEvent` may have something to
  /// return, until the core has been destroyed; it must do no more than post. An error of the player's
  /// domain: mpv cannot be started.
  [[nodiscard]] static Result<std::unique_ptr<MpvCore>> open(const URL& url, const MpvPlayerOptions& options,
                                                             std::function<void()> onWakeup);
  MpvCore(const MpvCore&) = delete;
  MpvCore& operator=(const MpvCore&) = delete;
  /// Releases nothing in a child that was forked since it was opened: mpv's threads are missing there.
  ~MpvCore();

  /// Absent when there is none at present; `hasPlayedAll` may have changed.
  [[nodiscard]] std::optional<MpvEvent> nextEvent();

  void setPaused(bool paused);
  /// `landed` or `seekFailed` follows. One at a time.
  void seek(CMTime time);

  // Absent while unknown.
  [[nodiscard]] std::optional<CMTime> position() const { return time("time-pos"); }
  [[nodiscard]] std::optional<CMTime> duration() const { return time("duration"); }
  /// How far the media after the playhead has been received.
  [[nodiscard]] std::optional<CMTime> receivedUntil() const { return time("demuxer-cache-time"); }
  [[nodiscard]] TarnPlayer::TimeRanges seekableRanges() const;
  /// From the playhead on.
  [[nodiscard]] TarnPlayer::TimeRanges loadedRanges() const;
  /// Playback waits for data.
  [[nodiscard]] bool isStarved() const { return flag("paused-for-cache"); }
  [[nodiscard]] bool hasPlayedAll() const { return flag("eof-reached"); }

  /// The newest warning of FFmpeg's network protocols since the last seek: something could not be fetched.
  [[nodiscard]] const std::optional<Error>& complaint() const { return complaint_; }

 private:
  enum class Progress {
    opening,
    idle,
    seekRequested,
    seekAccepted,
    seekBegun,
  };

  explicit MpvCore(std::function<void()> onWakeup);
  [[nodiscard]] std::optional<CMTime> time(const char* property) const;
  [[nodiscard]] bool flag(const char* property) const;
  [[nodiscard]] Result<void> start(const MpvPlayerOptions& options);
  [[nodiscard]] std::optional<MpvEvent> translate(const mpv_event& event);
  [[nodiscard]] std::optional<MpvEvent> replied(const mpv_event& event);
  [[nodiscard]] std::optional<MpvEvent> restarted();
  [[nodiscard]] std::optional<MpvEvent> changed(const mpv_event& event);
  [[nodiscard]] MpvEvent failed(int code);
  void keepComplaint(const mpv_event& event);

  const unsigned generation_;
  const std::function<void()> onWakeup_;
  std::unique_ptr<mpv_handle, void (*)(mpv_handle*)> handle_;
  Progress progress_ = Progress::opening;
  std::optional<Error> complaint_;
};

}  // namespace tarn
