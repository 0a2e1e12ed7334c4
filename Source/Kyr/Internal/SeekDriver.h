#pragma once

#include <functional>
#include <memory>

#include "Host/TarnPlaybackSession.h"
#include "Kyr/TarnKyrSeekPolicy.h"
#include "Lumo/TarnLumoAnalyticsSession.h"
#include "Lumo/TarnLumoProgressTracker.h"
#include "Lumo/TarnLumoTimeline.h"
#include "Platform/MediaTime.h"
#include "Platform/Observable.h"
#include "Reactive/Tarn_RACDisposable.h"

namespace tarn {

/// Moves the playhead for the application: seeks within the ad policy, and skips. Owns `canSeek`, and keeps
/// the tracker suspended while a seek of the player is in flight. Main thread.
///
///               seek over a break             landed             break left
///        idle ─────────────────► seekingBreak ──────► playingBreak ──────► seekingTarget
///         ▲                           │                    │                     │
///         └───────────────────────────┴────────────────────┴─────────────────────┘
///               another seek of the application is accepted (that one may lead to seekingBreak at once),
///               the playhead is sent elsewhere, the item ends, the player fails; target reached
///
///        each state ── terminate ──► terminated
///
/// The application sees one seek, which takes as long as the break does. From `seekingTarget` on `canSeek` is
/// true. A seek that forces no break needs no state: `canSeek` is true again when it is issued, so several
/// can be in flight. A skip needs none either: it is possible in every state but `terminated`.
class SeekDriver {
 public:
  using Completion = TarnSessionSeeking::Completion;

  /// Plays, pauses and seeks through `session`, which owns the driver. `tolerance` and `toleranceBuffer` as
  /// in `seekTolerances`.
  SeekDriver(TarnPlaybackSession& session, CMTime tolerance, CMTime toleranceBuffer);

  /// Called once, when the timeline is loaded. `analytics` outlives the driver.
  void follow(std::shared_ptr<const TarnLumoTimeline> timeline,
              std::shared_ptr<TarnLumoProgressTracker> tracker, const TarnLumoAnalyticsSession& analytics);
  /// Afterwards no seek is made, and none in flight completes.
  void terminate();

  [[nodiscard]] Observable<bool>& canSeek() { return canSeek_; }
  [[nodiscard]] TarnKyrSeekTolerance tolerances(CMTime target) const;
  /// As `TarnKyrSession::seekToTime`.
  void seekToTime(CMTime time, Completion completion);

  /// Runs `move`, which sends the playhead elsewhere; then a pending forced seek completes unfinished.
  void giveWayTo(const std::function<void()>& move);
  /// A pending forced seek completes unfinished.
  void abandonForcedSeek();

  /// Skips the ad if it plays and no skip is in flight. May be called after the session has gone.
  void skipAd(const std::shared_ptr<const TarnLumoAd>& ad);

 private:
  enum class State {
    idle,
    seekingBreak,   ///< The player seeks the start of the forced break.
    playingBreak,   ///< The forced break plays. If the seek to it failed, the player still has to reach it.
    seekingTarget,  ///< The forced break has been left, and the player seeks the application's target.
    terminated,
  };
  /// A seek that forces a break, from its acceptance to its completion.
  struct ForcedSeek {
    CMTime absoluteTarget;
    Completion completion;
    Tarn_RACDisposable breakExit;  // the subscription to the end of the break
  };
  using ForcedSeekPtr = std::shared_ptr<ForcedSeek>;
  using Landed = std::function<void(SeekDriver& self, bool finished)>;

  void setCanSeek(bool canSeek);
  void startSeek(CMTime requested, CMTime absoluteTarget, Completion completion);
  void seekBackward(CMTime requested, CMTime absoluteTarget, Completion completion);
  void seekForward(CMTime absoluteTarget, Completion completion);

  // The transitions.
  void forceBreak(const std::shared_ptr<const TarnLumoAdSequence>& adSequence, CMTime absoluteTarget,
                  Completion completion);
  void reachBreak(const ForcedSeekPtr& seek);
  void leaveBreak();
  void reachTarget(const ForcedSeekPtr& seek, bool finished);
  ForcedSeekPtr endForcedSeek();

  /// False, without effect, when `seek` is not in state `from`: a newer one has overtaken it, or it has
  /// ended.
  [[nodiscard]] bool advance(const ForcedSeekPtr& seek, State from, State to);
  void awaitBreakExit(ForcedSeek& seek, const std::shared_ptr<const TarnLumoAdSequence>& adSequence);

  void skipToItemEnd(CMTime itemEnd);
  void concludeSkip();

  void movePlayhead(CMTime time, TarnKyrSeekTolerance tolerance, Landed landed);
  void land(const Landed& landed, bool finished);
  void suspend();
  void resume();
  /// Suspends the tracker while the token exists.
  [[nodiscard]] Token suspended();

  [[nodiscard]] std::weak_ptr<SeekDriver> weakSelf();
  [[nodiscard]] CMTime currentTime() const;
  [[nodiscard]] bool hasEnded() const;
  [[nodiscard]] bool adsDisabled() const;

  TarnPlaybackSession& session_;
  const CMTime tolerance_;
  const CMTime toleranceBuffer_;
  std::shared_ptr<const TarnLumoTimeline> timeline_;
  std::shared_ptr<TarnLumoProgressTracker> tracker_;
  const TarnLumoAnalyticsSession* analytics_ = nullptr;

  Observable<bool> canSeek_{true};
  State state_ = State::idle;
  ForcedSeekPtr forcedSeek_;  // null in `idle` and `terminated`
  int suspensions_ = 0;
  int requestedMoves_ = 0;  // by the application, so far
  bool isSkipping_ = false;
  std::weak_ptr<TarnLumoAdAnalyticsSession> reportedSkip_;  // the play of an ad whose skip was reported

  Tarn_RACDeallocDisposable subscriptions_;
};

}  // namespace tarn
