#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "Platform/Error.h"
#include "Platform/MediaTime.h"
#include "Platform/Observable.h"
#include "Platform/URL.h"

/// Domain of a player's errors; codes are `TarnPlayerErrorCode`.
inline constexpr const char* TarnPlayerErrorDomain = "tarn.player";

enum class TarnPlayerErrorCode : std::int64_t {
  unsupportedScheme = 1,  ///< Neither http nor https: a document must not make a set-top read local files.
  cannotOpen = 2,         ///< The stream is not there, or its server refuses or does not respond.
  notPlayable = 3,        ///< The response is no playable stream: a web page, nothing, an unknown codec.
  brokenOff = 4,          ///< The stream had begun to load and failed before its end.
  stalled = 5,            ///< No progress for longer than the player waits.
  missingComponent = 6,   ///< A component that playback needs is not installed.
  other = 7,
};

enum class TarnPlayerState {
  empty,    ///< Nothing was loaded yet.
  loading,  ///< From `loadURL` until the first picture is shown.
  ready,    ///< Plays or is paused.
  ended,    ///< Has reached the item's end; a seek leads back to `ready`.
  failed,   ///< See `error`; only `loadURL` leaves this state.
};

/// The media player as sessions see it: one item at a time, on the item's own axis (absolute time: ads
/// included).
///
/// Belongs to the main thread: every operation is called there, and every value and completion arrives there.
/// Nothing is called after the player has been destroyed, which may happen at any time, also inside one of
/// its own callbacks.
class TarnPlayer {
 public:
  /// `finished` is false when the seek was superseded by a newer one or by another item, or failed.
  using SeekCompletion = std::function<void(bool finished)>;
  using TimeRanges = std::optional<std::vector<CMTimeRange>>;

  TarnPlayer() = default;
  TarnPlayer(const TarnPlayer&) = delete;
  TarnPlayer& operator=(const TarnPlayer&) = delete;
  virtual ~TarnPlayer() = default;

  /// Drops the item that was loaded and begins to load this one. Seeks in progress complete
  /// unfinished. Does not change whether the player plays.
  virtual void loadURL(const tarn::URL& url) = 0;

  /// Plays as soon as there is something to play. After a failure it does nothing, nor at the item's end,
  /// unless a seek is in progress: then it plays from where the seek lands.
  virtual void play() = 0;
  virtual void pause() = 0;

  /// Moves to `time`, or to a place at most `toleranceBefore` earlier or `toleranceAfter` later when the
  /// player gets there sooner. Zero tolerances land on the time itself. A time outside the item is cut to its
  /// ends, the end being the item's duration exactly.
  ///
  /// Returns at once; `completion` (which may be empty) is called exactly once, on a later turn of the main
  /// queue: at once unfinished when the time is neither numeric nor positive infinity or there is no item,
  /// and unfinished, before the newer seek's, when a newer one supersedes it. A seek before the item is ready
  /// waits for it. Completion comes before the report of the new position, so that a listener that suspended
  /// itself for the jump receives the new position.
  virtual void seekToTime(CMTime time, CMTime toleranceBefore, CMTime toleranceAfter,
                          SeekCompletion completion) = 0;

  /// The playhead now; zero before an item is ready. During a seek, where the playhead was before it.
  [[nodiscard]] virtual CMTime currentTime() const = 0;

  /// Hides the picture; sound and time go on.
  void setLayerHidden(bool hidden) { layerHidden_.set(hidden); }

  [[nodiscard]] tarn::Observable<TarnPlayerState>& state() { return state_; }
  /// Present in the state `failed`, and in place before that state is announced.
  [[nodiscard]] const std::optional<tarn::Error>& error() const { return error_; }

  /// Reports of the playhead: steadily while it moves, after each seek, and at the end, where the last report
  /// is the duration exactly. Between seeks they never go back. Invalid before the first.
  [[nodiscard]] tarn::Observable<CMTime>& progress() { return progress_; }
  /// Absent without an item, indefinite while unknown.
  [[nodiscard]] tarn::Observable<std::optional<CMTime>>& currentItemDuration() {
    return currentItemDuration_;
  }
  /// Absent while unknown.
  [[nodiscard]] tarn::Observable<TimeRanges>& seekableTimeRanges() { return seekableTimeRanges_; }
  [[nodiscard]] tarn::Observable<TimeRanges>& loadedTimeRanges() { return loadedTimeRanges_; }
  /// Whether the player is meant to play: true from `play` until `pause`, the end or a failure, also while it
  /// loads, seeks or waits for data. At the end and at a failure `state` changes first, so that a listener
  /// can distinguish them from a pause.
  [[nodiscard]] tarn::Observable<bool>& playing() { return playing_; }
  /// Whether it waits for data.
  [[nodiscard]] tarn::Observable<bool>& buffering() { return buffering_; }
  [[nodiscard]] tarn::Observable<bool>& layerHidden() { return layerHidden_; }

 protected:
  tarn::Observable<TarnPlayerState> state_{TarnPlayerState::empty};
  std::optional<tarn::Error> error_;
  tarn::Observable<CMTime> progress_;
  tarn::Observable<std::optional<CMTime>> currentItemDuration_;
  tarn::Observable<TimeRanges> seekableTimeRanges_;
  tarn::Observable<TimeRanges> loadedTimeRanges_;
  tarn::Observable<bool> playing_{false};
  tarn::Observable<bool> buffering_{false};
  tarn::Observable<bool> layerHidden_{false};
};
