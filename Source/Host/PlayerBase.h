#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

#include "Host/PlayerSeek.h"
#include "Host/TarnPlayer.h"
#include "Platform/Liveness.h"
#include "Platform/Queue.h"

namespace tarn {

class StreamWatch;

/// What is known of an item when it becomes ready. Absent means unknown.
struct PlayerItem {
  std::optional<CMTime> duration = std::nullopt;
  TarnPlayer::TimeRanges seekableRanges = std::nullopt;
  TarnPlayer::TimeRanges loadedRanges = std::nullopt;
};

/// A media engine for real streams: it may wait for a server without end, and it has threads, which a child
/// made by `fork` does not have.
struct StreamEngine {
  std::string library;                       ///< Its name, for errors.
  std::chrono::milliseconds reportInterval;  ///< Between two calls of `doFollow`.
  /// How long an item may take until it is ready.
  std::chrono::milliseconds loadLimit;
  /// How long the playhead may stay where it is while it should move, and how long a seek may take.
  std::chrono::milliseconds stallLimit;
};

/// A player without its media engine: keeps the promises of `TarnPlayer` that are the same for every player.
///
/// A player derives from it, implements the `do…` operations and `playhead`, and reports what its engine does
/// with the `report…` operations. The base decides what is announced, in which order, and when a seek starts
/// and completes.
///
/// The state of the item:
///
///     empty ── loadURL ──► loading ── reportReady ──► ready ── reportEnd ──► ended
///                             │                       │  ▲                     │
///                             │                       │  └──── reportLanded ───┘
///                             └──── reportFailure ────┴──► failed
///
/// `loadURL` leads from every state to `loading`, `reportFailure` from every one that has an item to
/// `failed`.
///
/// The state of seeking:
///
///     none ── seekToTime ──► waiting ── item ready, doSeek ──► in flight ── seekToTime ──► in flight,
///      ▲                                                          │                     another waits
///      └───────────── reportLanded, reportSeekFailed ─────────────┘
///
/// A seek that waits behind one in flight is given to `doSeek` when that one has landed; a newer one takes
/// its place. With `Seeks::replaced` the newer one is given to `doSeek` at once, and the older one never
/// lands.
///
/// **Reports.** Each is made on the main thread. One that comes too late, or makes no sense in the present
/// state, is ignored. Ready, landed and failure may be reported inside a `do…` operation and are then
/// announced on a later turn. A report returns false when a listener has destroyed the player or loaded
/// another item: return then, and touch no member.
class PlayerBase : public TarnPlayer {
 public:
  ~PlayerBase() override;

  void loadURL(const URL& url) override;
  void play() override;
  void pause() override;
  void seekToTime(CMTime time, CMTime toleranceBefore, CMTime toleranceAfter,
                  SeekCompletion completion) override;
  [[nodiscard]] CMTime currentTime() const final;

 protected:
  enum class Seeks {
    oneAtATime,  ///< The engine finishes a seek before it is given the next one.
    replaced,    ///< `doSeek` drops the seek in flight, which is not reported any more.
  };
  enum class Addresses {
    webOnly,  ///< Others than http and https fail without `doLoad`.
    any,      ///< Only for a player that opens nothing.
  };

  explicit PlayerBase(Seeks seeks = Seeks::oneAtATime, Addresses addresses = Addresses::webOnly);
  /// A player of real streams. It fails when a limit has passed. In a child that was forked since the item
  /// was loaded it fails when it is used, and of the operations below only `doUnload` and `doLoad` are
  /// called.
  explicit PlayerBase(StreamEngine engine);

  // What a player implements. No listener is called inside, except by its own reports.

  /// Begins to load; `reportReady` or `reportFailure` follows.
  virtual void doLoad(const URL& url) = 0;
  /// Releases the item, which is over: before another one loads, and before a failure is announced.
  virtual void doUnload() {}
  /// The playhead moves from now on. Called when the item is ready and no seek is in flight, also when it
  /// moves already, and after each landing anew.
  virtual void doPlay() = 0;
  /// The playhead is at the item's end and should move: `reportEnd` follows, unless `doPause` or `doSeek` is
  /// called before. This one reports it on the next turn.
  virtual void doPlayAtEnd();
  /// The playhead stops. Also called when it does not move.
  virtual void doPause() = 0;
  /// Moves the playhead, which is not asked for until `reportLanded` or `reportSeekFailed`. Called when the
  /// item is ready or has ended.
  virtual void doSeek(const PlayerSeek& seek) = 0;
  /// Called steadily while the playhead should move, only for a player of real streams. Reports the position,
  /// and whatever else changes meanwhile; its reports are announced at once.
  virtual void doFollow();
  /// Where the engine is; asked for only while the item is ready and no seek is in flight. Absent while
  /// unknown. It is cut to the item, and a step back is not passed on.
  [[nodiscard]] virtual std::optional<CMTime> playhead() const = 0;

  // What a player reports.

  /// The loaded item can be played. Starts the seek that waits, and plays if the player is meant to play.
  bool reportReady(const PlayerItem& item);
  /// The playhead, if it has moved since the last report. To be called steadily while the playhead moves.
  bool reportPosition();
  /// The engine has played everything.
  bool reportEnd();
  /// The engine has nothing more to play: `reportEnd`, or a failure when the duration is more than two
  /// seconds away, or half a second when the engine has skipped something because of `fault`.
  bool reportRanOut(const std::optional<Error>& fault = std::nullopt);
  /// Playing has failed for good.
  bool reportFailure(Error error);
  /// The same, with an error that names the stream.
  bool reportFailure(TarnPlayerErrorCode code, Error cause);
  /// The seek in flight has led to `landing`, within its tolerances.
  bool reportLanded(CMTime landing);
  /// The seek in flight has led nowhere; the playhead is where it was before.
  bool reportSeekFailed();

  /// Announced when it differs; an absent value is no report.
  bool reportDuration(const std::optional<CMTime>& duration);
  /// Announced when they differ.
  bool reportSeekableRanges(TimeRanges ranges);
  bool reportLoadedRanges(TimeRanges ranges);
  /// Whether the engine waits for data. The engine itself stops for so long, if it does not anyway.
  bool reportBuffering(bool isBuffering);

  /// Starts the limit of what is in progress anew. Needed only within a seek, between steps of the engine.
  void expectProgress();

  // What a player may ask.

  /// A seek waits or is in flight.
  [[nodiscard]] bool isSeeking() const { return waitingSeek_ || activeSeek_; }
  /// The item is ready, and no seek waits or is in flight.
  [[nodiscard]] bool isFollowing() const { return state_.get() == TarnPlayerState::ready && !isSeeking(); }
  /// A seek in flight is outdated by one that waits.
  [[nodiscard]] bool isSeekWaiting() const { return waitingSeek_.has_value(); }
  /// The item was loaded before this process was forked: its engine may only be destroyed.
  [[nodiscard]] bool isOfParent() const;
  /// Numeric, or absent.
  [[nodiscard]] std::optional<CMTime> knownDuration() const;

  /// `task`, which does nothing once the player has been destroyed or has loaded another item. The result may
  /// be copied and posted on any thread; it runs on the main queue.
  [[nodiscard]] Task forThisItem(Task task) const;
  /// The same, on a later turn of the main queue.
  void onNextTurn(Task task) const;
  [[nodiscard]] const Liveness& liveness() const { return liveness_; }

 private:
  class Turn;
  struct Seek {
    PlayerSeek aim;
    SeekCompletion completion;
  };

  template <typename T>
  [[nodiscard]] bool announce(Observable<T>& property, std::type_identity_t<T> value);
  template <typename Operation>
  void callPlayer(Operation operation);
  [[nodiscard]] CMTime withinItem(CMTime time) const;
  [[nodiscard]] bool announceEmptyItem();
  [[nodiscard]] bool canUseEngine() const { return !isBetweenItems_ && !isOfParent(); }
  void failIfForked();
  void tick();
  void applyPlaying();
  [[nodiscard]] bool report(CMTime time);
  void refuse(SeekCompletion completion) const;
  void dropSeeks();
  void startWaitingSeek();
  [[nodiscard]] bool land(CMTime landing);

  const Seeks seeks_;
  const Addresses addresses_;
  const std::unique_ptr<StreamWatch> watch_;  // of a player of real streams
  std::optional<URL> url_;                    // of the item
  bool isBetweenItems_ = false;      // the item before has been released, and `state_` is still of it
  std::uint64_t item_ = 0;           // counts loads, so that a listener that loads another item is noticed
  std::uint64_t seekNumber_ = 0;     // counts the calls of doSeek
  int calls_ = 0;                    // of the player's operations in progress
  CMTime position_ = kCMTimeZero;    // as last reported, or where the seek began
  bool hasReported_ = false;         // of this item
  bool isAtEnd_ = false;             // the playhead is at the duration
  bool playsAgain_ = false;          // requested while the end is announced
  std::optional<Seek> waitingSeek_;  // not yet given to the player
  std::optional<Seek> activeSeek_;
  Liveness liveness_;
};

}  // namespace tarn
