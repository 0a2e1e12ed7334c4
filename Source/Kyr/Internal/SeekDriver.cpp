#include "Kyr/Internal/SeekDriver.h"

#include <utility>

#include "Lumo/TarnLumoCommon.h"
#include "Reactive/Tarn_RACBinding.h"
#include "Reactive/Tarn_RACObserve.h"

namespace tarn {
namespace {

using TrackerEvent = std::shared_ptr<const TarnLumoProgressTrackerEvent>;

constexpr TarnKyrSeekTolerance kExactly{kCMTimeZero, kCMTimeZero};

void complete(const SeekDriver::Completion& completion, bool finished) {
  if (completion) completion(finished);
}

bool isExit(const TrackerEvent& event) {
  return event->type() == TarnLumoProgressTrackerEventTypeExitAdSequence;
}

bool isEnterOrExit(const TrackerEvent& event) {
  return event->type() == TarnLumoProgressTrackerEventTypeEnterAdSequence || isExit(event);
}

bool isExitOf(const TrackerEvent& event, const TarnLumoAdSequence& adSequence) {
  const auto exited = isExit(event) ? event->adSequence() : nullptr;
  return exited && exited->isEqualToAdSequence(adSequence);
}

}  // namespace

SeekDriver::SeekDriver(TarnPlaybackSession& session, CMTime tolerance, CMTime toleranceBuffer)
    : session_(session), tolerance_(tolerance), toleranceBuffer_(toleranceBuffer) {}

void SeekDriver::follow(std::shared_ptr<const TarnLumoTimeline> timeline,
                        std::shared_ptr<TarnLumoProgressTracker> tracker,
                        const TarnLumoAnalyticsSession& analytics) {
  timeline_ = std::move(timeline);
  tracker_ = std::move(tracker);
  analytics_ = &analytics;
  const auto allowed =
      observe(tracker_, &TarnLumoProgressTracker::event).ignoreNil().filter(isEnterOrExit).map(isExit);
  subscriptions_.add(bindSignal(allowed, [this](bool canSeek) { setCanSeek(canSeek); }));
}

void SeekDriver::terminate() {
  state_ = State::terminated;
  forcedSeek_.reset();
  subscriptions_.dispose();
}

void SeekDriver::setCanSeek(bool canSeek) {
  if (state_ != State::terminated) canSeek_.set(canSeek);
}

TarnKyrSeekTolerance SeekDriver::tolerances(CMTime target) const {
  if (!timeline_) return {tolerance_, tolerance_};
  return seekTolerances(*timeline_, target, tolerance_, toleranceBuffer_);
}

void SeekDriver::seekToTime(CMTime time, Completion completion) {
  const bool isAllowed = state_ != State::terminated && canSeek_.get();
  if (!isAllowed || CMTIME_IS_INVALID(time) || time < kCMTimeZero) return complete(completion, false);
  setCanSeek(false);
  const CMTime contentLength = timeline_ ? timeline_->contentLength() : CMTime{};
  const CMTime contentTarget = time <= contentLength ? time : contentLength;
  const CMTime absoluteTarget = timeline_ ? timeline_->absoluteTimeAtContentTime(contentTarget) : CMTime{};
  if (CMTIME_IS_INVALID(absoluteTarget)) {
    setCanSeek(true);
    return complete(completion, false);
  }
  if (state_ == State::terminated) return;  // by an observer of `canSeek`
  ++requestedMoves_;
  const auto overtaken = endForcedSeek();
  startSeek(time, absoluteTarget, std::move(completion));
  if (overtaken && state_ != State::terminated) complete(overtaken->completion, false);
}

void SeekDriver::startSeek(CMTime requested, CMTime absoluteTarget, Completion completion) {
  const CMTime current = currentTime();
  if (current > absoluteTarget) return seekBackward(requested, absoluteTarget, std::move(completion));
  const auto plan = planForwardSeek(*timeline_, current, absoluteTarget, requested);
  if (plan.forcedAdSequence && !adsDisabled())
    return forceBreak(plan.forcedAdSequence, plan.absoluteTarget, std::move(completion));
  seekForward(plan.absoluteTarget, std::move(completion));
}

/// A backward seek forces no ad. A seek to content time zero is exact: it may be the start of a pre-roll.
void SeekDriver::seekBackward(CMTime requested, CMTime absoluteTarget, Completion completion) {
  const auto suspension = suspended();
  const CMTime target = timeBySeekOffset(absoluteTarget);
  const auto tolerance = requested == kCMTimeZero ? kExactly : tolerances(target);
  setCanSeek(true);
  movePlayhead(target, tolerance, [completion = std::move(completion)](SeekDriver&, bool finished) {
    complete(completion, finished);
  });
}

void SeekDriver::seekForward(CMTime absoluteTarget, Completion completion) {
  const auto tolerance = adsDisabled() ? kExactly : tolerances(absoluteTarget);
  setCanSeek(true);
  movePlayhead(absoluteTarget, tolerance, [completion = std::move(completion)](SeekDriver&, bool finished) {
    complete(completion, finished);
  });
}

void SeekDriver::forceBreak(const std::shared_ptr<const TarnLumoAdSequence>& adSequence,
                            CMTime absoluteTarget, Completion completion) {
  const auto seek = std::make_shared<ForcedSeek>(ForcedSeek{absoluteTarget, std::move(completion), {}});
  forcedSeek_ = seek;
  state_ = State::seekingBreak;
  awaitBreakExit(*seek, adSequence);
  session_.avPlayerPause();
  if (forcedSeek_ != seek) return;
  // The result makes no difference: the stream continues from where the player is.
  movePlayhead(timeBySeekOffset(adSequence->beginTime()), kExactly,
               [seek](SeekDriver& self, bool) { self.reachBreak(seek); });
}

void SeekDriver::awaitBreakExit(ForcedSeek& seek,
                                const std::shared_ptr<const TarnLumoAdSequence>& adSequence) {
  seek.breakExit =
      observe(tracker_, &TarnLumoProgressTracker::event)
          .skip(1)
          .filter([adSequence](const TrackerEvent& event) { return isExitOf(event, *adSequence); })
          .take(1)
          .subscribeNext([weak = weakSelf()](const auto&) {
            if (const auto self = weak.lock()) self->leaveBreak();
          });
  subscriptions_.add(seek.breakExit);
}

/// An overtaken seek undoes its pause too, unless a newer forced seek has paused for itself.
void SeekDriver::reachBreak(const ForcedSeekPtr& seek) {
  const bool isCurrent = advance(seek, State::seekingBreak, State::playingBreak);
  const auto suspension = suspended();  // the tracker continues when the player has been started
  if (isCurrent || state_ == State::idle) session_.avPlayerPlay();
}

void SeekDriver::leaveBreak() {
  const auto seek = forcedSeek_;
  session_.avPlayerPause();
  if (!advance(seek, State::playingBreak, State::seekingTarget)) return;
  const CMTime remaining = CMTimeSubtract(seek->absoluteTarget, currentTime());
  if (hasEnded() || remaining < CMTimeMake(1, kDocumentTimescale)) return reachTarget(seek, true);
  movePlayhead(seek->absoluteTarget, tolerances(seek->absoluteTarget),
               [seek](SeekDriver& self, bool finished) { self.reachTarget(seek, finished); });
}

/// An overtaken seek undoes its pause too, unless a newer forced seek has paused for itself.
void SeekDriver::reachTarget(const ForcedSeekPtr& seek, bool finished) {
  const bool isCurrent = forcedSeek_ == seek;
  if (isCurrent) endForcedSeek();
  if (state_ == State::idle) session_.avPlayerPlay();
  if (!isCurrent) return;
  if (state_ == State::idle) setCanSeek(true);
  if (state_ != State::terminated) complete(seek->completion, finished);
}

SeekDriver::ForcedSeekPtr SeekDriver::endForcedSeek() {
  auto seek = std::exchange(forcedSeek_, nullptr);
  if (!seek) return nullptr;
  state_ = State::idle;
  seek->breakExit.dispose();
  return seek;
}

bool SeekDriver::advance(const ForcedSeekPtr& seek, State from, State to) {
  if (forcedSeek_ != seek || state_ != from) return false;
  state_ = to;
  return true;
}

void SeekDriver::giveWayTo(const std::function<void()>& move) {
  ++requestedMoves_;
  move();
  abandonForcedSeek();
}

void SeekDriver::abandonForcedSeek() {
  const auto seek = endForcedSeek();
  if (!seek) return;
  setCanSeek(true);
  if (state_ != State::terminated) complete(seek->completion, false);
}

void SeekDriver::skipAd(const std::shared_ptr<const TarnLumoAd>& ad) {
  const auto keepAlive = session_.weak_from_this().lock();
  const auto player = keepAlive ? session_.player() : nullptr;
  if (!player) return;
  const auto adAnalytics = analytics_->adAnalaytics();
  if (!adAnalytics || !adAnalytics->ad()->isEqualToAd(*ad)) return;
  if (std::exchange(isSkipping_, true)) return;
  // Reported once a play, even if the seek of the first skip failed and the ad continues.
  if (reportedSkip_.lock() != adAnalytics) adAnalytics->trackAdSkip();
  reportedSkip_ = adAnalytics;
  session_.avPlayerPause();
  const CMTime target = timeBySeekOffset(ad->endTime());
  const CMTime itemEnd = player->currentItemDuration().get().value_or(CMTime{});
  const auto suspension = suspended();
  if (target >= itemEnd) return skipToItemEnd(itemEnd);
  movePlayhead(target, kExactly, [](SeekDriver& self, bool) { self.concludeSkip(); });
}

/// A player near the end of an item does not reliably move to the end itself, but from the beginning it does.
/// The detour is hidden from the viewer.
void SeekDriver::skipToItemEnd(CMTime itemEnd) {
  session_.setPlayerLayerHidden(true);
  movePlayhead(kCMTimeZero, kExactly, [itemEnd, moves = requestedMoves_](SeekDriver& self, bool) {
    const auto arrive = [](SeekDriver& driver, bool) {
      driver.concludeSkip();
      driver.session_.setPlayerLayerHidden(false);
    };
    if (moves != self.requestedMoves_) return arrive(self, false);  // overtaken
    self.movePlayhead(itemEnd, kExactly, arrive);
  });
}

void SeekDriver::concludeSkip() {
  isSkipping_ = false;
  session_.avPlayerPlay();
}

/// Suspends the tracker until the seek has landed, and then calls `landed`. After `terminate` no seek is
/// made.
void SeekDriver::movePlayhead(CMTime time, TarnKyrSeekTolerance tolerance, Landed landed) {
  suspend();
  if (state_ == State::terminated) return;
  const auto player = session_.player();
  if (!player) return land(landed, false);
  player->seekToTime(time, tolerance.beforeTolerance, tolerance.afterTolerance,
                     [weak = weakSelf(), landed = std::move(landed)](bool finished) {
                       if (const auto self = weak.lock()) self->land(landed, finished);
                     });
}

void SeekDriver::land(const Landed& landed, bool finished) {
  if (state_ == State::terminated) return;
  resume();
  landed(*this, finished);
}

/// Suspensions add up: seeks may overtake one another, and the tracker must see none of their jumps.
void SeekDriver::suspend() {
  ++suspensions_;
  tracker_->setSuspendProgress(true);
}

void SeekDriver::resume() {
  if (--suspensions_ == 0) tracker_->setSuspendProgress(false);
}

Token SeekDriver::suspended() {
  suspend();
  return Token([this] { resume(); });
}

/// Keeps the session alive while it is locked.
std::weak_ptr<SeekDriver> SeekDriver::weakSelf() {
  return std::shared_ptr<SeekDriver>(session_.shared_from_this(), this);
}

CMTime SeekDriver::currentTime() const {
  const auto player = session_.player();
  return player ? player->currentTime() : CMTime{};
}

bool SeekDriver::hasEnded() const {
  const auto player = session_.player();
  return player && player->state().get() == TarnPlayerState::ended;
}

bool SeekDriver::adsDisabled() const {
  const auto common = session_.sessionCommonProperties();
  return common && common->adsDisabled.get();
}

}  // namespace tarn
