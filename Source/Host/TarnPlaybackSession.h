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

/// One video being played: the interface for the application's controls, and for plug-ins that wrap a session
/// to change its behaviour.
///
/// Made by a session provider, then in this order: subscribed to, `begin`, played, `terminate`. Always owned
/// by a `std::shared_ptr`. Main thread throughout: operations are called there and signals send there. The
/// signals send nothing before `begin`; none completes or fails on its own. Each subscriber receives
/// Terminate once and nothing after it: a value that is being sent when a subscriber terminates the session
/// does not reach the later subscribers. A session may be released inside one of its own signals, and stops
/// its player when it is destroyed.
///
/// Times are on the session's own axis: absolute time (ads included) for a session over a player, content
/// time for one that hides ads.
class TarnPlaybackSession : public std::enable_shared_from_this<TarnPlaybackSession> {
 public:
  using TimeRanges = std::optional<std::vector<CMTimeRange>>;
  using CuePoints = std::shared_ptr<const TarnCuePointCollection>;
  /// Null is allowed and does nothing.
  using LifecycleEvent = std::shared_ptr<const TarnPlaybackSessionLifecycleEvent>;

  TarnPlaybackSession() = default;
  TarnPlaybackSession(const TarnPlaybackSession&) = delete;
  TarnPlaybackSession& operator=(const TarnPlaybackSession&) = delete;
  virtual ~TarnPlaybackSession() = default;

  /// The video being played; null while unknown.
  [[nodiscard]] virtual std::shared_ptr<const TarnVideo> video() const = 0;
  /// The source that was selected for the video; null when none was usable.
  [[nodiscard]] virtual std::shared_ptr<const TarnSource> source() const = 0;
  /// Null when there is none, and after Terminate. For reading the position (always absolute time) and for
  /// seeks below the session's rules; shared with the session; do not keep it longer than the session.
  [[nodiscard]] virtual std::shared_ptr<TarnPlayer> player() const = 0;

  /// Kept weakly. Null before it was set and after its owner was destroyed.
  virtual void setSessionCommonProperties(const std::shared_ptr<TarnSessionCommonProperties>& properties) = 0;
  [[nodiscard]] virtual std::shared_ptr<TarnSessionCommonProperties> sessionCommonProperties() const = 0;

  /// Loads a stream into the player, replacing an earlier one. Before or after `begin`.
  virtual void loadVideoURL(const tarn::URL& url) = 0;
  /// Makes the session active: it sends Begin, then its current state, then every change. Does not start the
  /// player. Only the first call has an effect.
  virtual void begin() = 0;
  /// Stops permanently and sends Terminate. Only the first call has an effect; later calls of any operation
  /// have none.
  virtual void terminate() = 0;

  /// The player's play and pause, regardless of ads. Before the stream is ready they set what the player does
  /// when it is.
  virtual void avPlayerPlay() = 0;
  virtual void avPlayerPause() = 0;
  /// Moves to `time` exactly, regardless of the rules for seeks; with `autoPlay` it plays from there on
  /// arrival, otherwise the player stays playing or paused.
  virtual void resumeVideoAtTime(CMTime time, bool autoPlay) = 0;

  /// The playhead, each time it is reported.
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

  /// Optional capabilities; null when the session does not have one. A session that wraps another returns its
  /// own, otherwise that of the wrapped one.
  [[nodiscard]] virtual TarnSessionSeeking* seeking() { return nullptr; }
  [[nodiscard]] virtual TarnSessionTimeMapping* timeMapping() { return nullptr; }

  [[nodiscard]] TarnSessionProviderExtension providerExtension() {
    return TarnSessionProviderExtension(weak_from_this());
  }
  /// Hides the picture, if there is a player; sound and time continue.
  void setPlayerLayerHidden(bool hidden) const {
    if (const auto current = player()) current->setLayerHidden(hidden);
  }
};
