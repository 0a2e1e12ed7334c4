#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "Host/TarnCuePoint.h"
#include "Host/TarnPlaybackSessionLifecycleEvent.h"
#include "Host/TarnPlayer.h"
#include "Host/TarnSessionCapabilities.h"
#include "Host/TarnSessionCommonProperties.h"
#include "Host/TarnSessionProviderExtension.h"
#include "Host/TarnSource.h"
#include "Host/TarnVideo.h"
#include "Platform/MediaTime.h"
#include "Platform/URL.h"
#include "Reactive/Tarn_RACSignal.h"

/// One video being played: what the application's controls talk to, and what a plug-in wraps to change what
/// they see.
///
/// Made by a session provider, then in this order: subscribed to, `begin`, played, `terminate`. Always owned
/// by a `std::shared_ptr`. Main thread throughout: operations are called there and signals send there. The
/// signals send nothing before `begin`; none completes or fails by itself. Each subscriber receives Terminate
/// once and nothing after it: a value that is being sent when a subscriber terminates the session does not
/// reach the later subscribers any more. A session may be released inside one of its own signals, and stops
/// its player when it goes.
///
/// Times are on the session's own axis: absolute time (ads included) for a session over a player, content
/// time for one that hides ads.
class TarnPlaybackSession : public std::enable_shared_from_this<TarnPlaybackSession> {
 public:
  using TimeRanges = std::optional<std::vector<CMTimeRange>>;
  using CuePoints = std::shared_ptr<const TarnCuePointCollection>;
  /// Null is allowed and means nothing.
  using LifecycleEvent = std::shared_ptr<const TarnPlaybackSessionLifecycleEvent>;

  TarnPlaybackSession() = default;
  TarnPlaybackSession(const TarnPlaybackSession&) = delete;
  TarnPlaybackSession& operator=(const TarnPlaybackSession&) = delete;
  virtual ~TarnPlaybackSession() = default;

  /// What is played. Null before the session knows.
  [[nodiscard]] virtual std::shared_ptr<const TarnVideo> video() const = 0;
  /// The source that was selected for the video; null when none was usable.
  [[nodiscard]] virtual std::shared_ptr<const TarnSource> source() const = 0;
  /// Null when there is none, and after Terminate. For reading the position (always absolute time) and for
  /// seeks below the session's rules; shared with the session, not to be kept longer than it.
  [[nodiscard]] virtual std::shared_ptr<TarnPlayer> player() const = 0;

  /// Kept weakly. Null before it was set and when its owner is gone.
  virtual void setSessionCommonProperties(const std::shared_ptr<TarnSessionCommonProperties>& properties) = 0;
  [[nodiscard]] virtual std::shared_ptr<TarnSessionCommonProperties> sessionCommonProperties() const = 0;

  /// Puts a stream into the player, replacing what was there. Before or after `begin`.
  virtual void loadVideoURL(const tarn::URL& url) = 0;
  /// The session is the one to show: it sends Begin, then where it stands, then everything as it happens.
  /// Does not start the player. Only the first call counts.
  virtual void begin() = 0;
  /// Stops for good and sends Terminate. Only the first call counts; nothing else has an effect after it.
  virtual void terminate() = 0;

  /// The player's play and pause, without regard to ads. Before the stream is ready they say what it is to
  /// do then.
  virtual void avPlayerPlay() = 0;
  virtual void avPlayerPause() = 0;
  /// Moves to `time` exactly, whatever a seek's rules are; with `autoPlay` it plays from there on arrival,
  /// else the player stays playing or paused as it is.
  virtual void resumeVideoAtTime(CMTime time, bool autoPlay) = 0;

  /// The playhead, whenever it is reported.
  [[nodiscard]] virtual Tarn_RACSignal<CMTime> progress() const = 0;
  /// Indefinite while unknown. Sent when it changes.
  [[nodiscard]] virtual Tarn_RACSignal<CMTime> durationChanges() const = 0;
  /// Absent while unknown.
  [[nodiscard]] virtual Tarn_RACSignal<TimeRanges> seekableRangesChanges() const = 0;
  [[nodiscard]] virtual Tarn_RACSignal<TimeRanges> loadedTimeRangesChanges() const = 0;
  /// Whether the picture is on another device.
  [[nodiscard]] virtual Tarn_RACSignal<bool> isExternalPlaybackActive() const = 0;
  /// The video's cue points, when they become known or change.
  [[nodiscard]] virtual Tarn_RACSignal<CuePoints> cuePoints() const = 0;
  [[nodiscard]] virtual Tarn_RACSignal<LifecycleEvent> lifecycle() const = 0;

  /// What a session can do further; null when it cannot. A session that wraps another answers for itself,
  /// else for the wrapped one.
  [[nodiscard]] virtual TarnSessionSeeking* seeking() { return nullptr; }
  [[nodiscard]] virtual TarnSessionTimeMapping* timeMapping() { return nullptr; }

  [[nodiscard]] TarnSessionProviderExtension providerExtension() {
    return TarnSessionProviderExtension(weak_from_this());
  }
  /// Hides the picture, if there is a player; sound and time go on.
  void setPlayerLayerHidden(bool hidden) const {
    if (const auto current = player()) current->setLayerHidden(hidden);
  }
};
