#include <utility>

#include "Host/Tarn_RACBinding.h"
#include "Host/Tarn_RACObserve.h"
#include "Kyr/TarnKyrSession.h"

namespace {

using TrackerEvent = std::shared_ptr<const TarnLumoProgressTrackerEvent>;

constexpr TarnKyrSeekTolerance kExactly{kCMTimeZero, kCMTimeZero};

void complete(const TarnSessionSeeking::Completion& completion, bool finished) {
  if (completion) completion(finished);
}

bool isExitOf(const TrackerEvent& event, const TarnLumoAdSequence& adSequence) {
  if (event->type() != TarnLumoProgressTrackerEventTypeExitAdSequence) return false;
  const auto left = event->adSequence();
  return left && left->isEqualToAdSequence(adSequence);
}

}  // namespace

void TarnKyrSession::configureSeekingCommand() {
  const auto allowed = trackerEvents()
                           .filter([](const TrackerEvent& event) {
                             return event->type() == TarnLumoProgressTrackerEventTypeEnterAdSequence ||
                                    event->type() == TarnLumoProgressTrackerEventTypeExitAdSequence;
                           })
                           .map([](const TrackerEvent& event) {
                             return event->type() == TarnLumoProgressTrackerEventTypeExitAdSequence;
                           });
  subscriptions_.add(tarn::bindSignal(allowed, [this](bool canSeek) { canSeek_.set(canSeek); }));
}

TarnKyrSeekTolerance TarnKyrSession::seekTolerancesSeekingFromAbsoluteTime(CMTime /*from*/, CMTime to) const {
  if (!timeline_) return {defaultSeekTolerance_, defaultSeekTolerance_};
  return tarn::seekTolerances(*timeline_, to, defaultSeekTolerance_, defaultMinimumSeekToleranceBuffer_);
}

void TarnKyrSession::seekToTime(CMTime time, Completion completion) {
  const auto keepAlive = shared_from_this();
  if (!canSeek_.get() || CMTIME_IS_INVALID(time) || CMTimeCompare(time, kCMTimeZero) < 0)
    return complete(completion, false);
  canSeek_.set(false);
  const CMTime contentLength = timeline_ ? timeline_->contentLength() : CMTime{};
  const CMTime contentTarget = CMTimeCompare(time, contentLength) <= 0 ? time : contentLength;
  const CMTime absoluteTarget = absoluteTimeAtContentTime(contentTarget);
  if (CMTIME_IS_INVALID(absoluteTarget)) {
    canSeek_.set(true);
    return complete(completion, false);
  }
  const CMTime current = currentTime();
  if (CMTimeCompare(current, absoluteTarget) > 0)
    return seekBackward(time, absoluteTarget, std::move(completion));
  const auto plan = tarn::planForwardSeek(*timeline_, current, absoluteTarget, time);
  if (plan.forcedAdSequence && !adsDisabled())
    return playForcedAd(plan.forcedAdSequence, plan.absoluteTarget, std::move(completion));
  seekForward(plan.absoluteTarget, std::move(completion));
}

/// Towards the past no ad is forced. The beginning is sought exactly: it may be the start of a pre-roll.
void TarnKyrSession::seekBackward(CMTime requested, CMTime absoluteTarget, Completion completion) {
  suspendProgress();
  const CMTime target = tarn::timeBySeekOffset(absoluteTarget);
  const auto tolerance = CMTimeCompare(requested, kCMTimeZero) == 0
                             ? kExactly
                             : seekTolerancesSeekingFromAbsoluteTime(currentTime(), target);
  canSeek_.set(true);
  seekPlayer(target, tolerance, [weak = weakSelf(), completion = std::move(completion)](bool finished) {
    const auto self = weak.lock();
    if (!self) return;
    self->resumeProgress();
    complete(completion, finished);
  });
}

void TarnKyrSession::seekForward(CMTime absoluteTarget, Completion completion) {
  const auto tolerance =
      adsDisabled() ? kExactly : seekTolerancesSeekingFromAbsoluteTime(currentTime(), absoluteTarget);
  canSeek_.set(true);
  suspendProgress();
  seekPlayer(absoluteTarget, tolerance,
             [weak = weakSelf(), completion = std::move(completion)](bool finished) {
               const auto self = weak.lock();
               if (!self) return;
               self->resumeProgress();
               complete(completion, finished);
             });
}

/// The application sees one seek that takes as long as the break does. `canSeek` stays false until the break
/// has been left; the seek that follows reaches the target, unless the session terminates before.
void TarnKyrSession::playForcedAd(const std::shared_ptr<const TarnLumoAdSequence>& adSequence,
                                  CMTime absoluteTarget, Completion completion) {
  subscriptions_.add(
      tarn::observe(tracker_.get(), &TarnLumoProgressTracker::event)
          .skip(1)
          .filter([adSequence](const TrackerEvent& event) { return isExitOf(event, *adSequence); })
          .take(1)
          .takeUntil(terminationSignal_)
          .subscribeNext(
              [weak = weakSelf(), absoluteTarget, completion = std::move(completion)](const auto&) {
                if (const auto self = weak.lock()) self->seekAfterForcedAd(absoluteTarget, completion);
              }));
  avPlayerPause();
  suspendProgress();
  // Whether it got there makes no difference: the stream goes on from where the player is.
  seekPlayer(tarn::timeBySeekOffset(adSequence->beginTime()), kExactly, [weak = weakSelf()](bool) {
    const auto self = weak.lock();
    if (!self) return;
    self->avPlayerPlay();
    self->resumeProgress();
  });
}

void TarnKyrSession::seekAfterForcedAd(CMTime absoluteTarget, Completion completion) {
  avPlayerPause();
  const CMTime remaining = CMTimeSubtract(absoluteTarget, currentTime());
  if (CMTimeCompare(remaining, CMTimeMake(1, 600)) < 0) return concludeForcedAd(true, completion);
  suspendProgress();
  const auto tolerance = seekTolerancesSeekingFromAbsoluteTime(currentTime(), absoluteTarget);
  seekPlayer(absoluteTarget, tolerance,
             [weak = weakSelf(), completion = std::move(completion)](bool finished) {
               const auto self = weak.lock();
               if (!self) return;
               self->resumeProgress();
               self->concludeForcedAd(finished, completion);
             });
}

void TarnKyrSession::concludeForcedAd(bool finished, const Completion& completion) {
  avPlayerPlay();
  canSeek_.set(true);
  complete(completion, finished);
}

std::function<void(const std::shared_ptr<const TarnLumoAd>&)> TarnKyrSession::skipHandler() {
  return [weak = weakSelf()](const std::shared_ptr<const TarnLumoAd>& ad) {
    if (const auto self = weak.lock()) self->skipAd(ad);
  };
}

/// A press that comes when the ad or the session is over, or while an earlier one's seek is under way, skips
/// nothing.
void TarnKyrSession::skipAd(const std::shared_ptr<const TarnLumoAd>& ad) {
  const auto current = player();
  if (!current) return;
  const auto adAnalytics = analyticsSession_->adAnalaytics();
  if (!adAnalytics || !adAnalytics->ad()->isEqualToAd(*ad)) return;
  if (std::exchange(skipping_, true)) return;
  // Told once a play, even if the first press's seek failed and the ad goes on.
  if (skipTold_.lock() != adAnalytics) adAnalytics->trackAdSkip();
  skipTold_ = adAnalytics;
  avPlayerPause();
  const CMTime target = tarn::timeBySeekOffset(ad->endTime());
  const CMTime itemEnd = current->currentItemDuration().get().value_or(CMTime{});
  suspendProgress();
  if (CMTimeCompare(target, itemEnd) >= 0) return skipToItemEnd(itemEnd);
  seekPlayer(target, kExactly, [weak = weakSelf()](bool) {
    if (const auto self = weak.lock()) self->concludeSkip();
  });
}

/// Players that stand near the end of an item do not reliably move to the end itself; from the beginning they
/// do. The viewer is not shown the way.
void TarnKyrSession::skipToItemEnd(CMTime itemEnd) {
  setPlayerLayerHidden(true);
  seekPlayer(kCMTimeZero, kExactly, [weak = weakSelf(), itemEnd](bool) {
    const auto self = weak.lock();
    if (!self) return;
    self->seekPlayer(itemEnd, kExactly, [weak](bool) {
      const auto session = weak.lock();
      if (!session) return;
      session->concludeSkip();
      session->setPlayerLayerHidden(false);
    });
  });
}

void TarnKyrSession::concludeSkip() {
  skipping_ = false;
  resumeProgress();
  avPlayerPlay();
}

CMTime TarnKyrSession::currentTime() const {
  const auto current = player();
  return current ? current->currentTime() : CMTime{};
}

bool TarnKyrSession::adsDisabled() const {
  const auto common = commonProperties_.lock();
  return common && common->adsDisabled.get();
}

void TarnKyrSession::seekPlayer(CMTime time, TarnKyrSeekTolerance tolerance,
                                std::function<void(bool finished)> completion) {
  if (const auto current = player()) {
    current->seekToTime(time, tolerance.beforeTolerance, tolerance.afterTolerance, std::move(completion));
  } else {
    completion(false);
  }
}

/// Seeks may overtake one another. The tracker is to see none of the jumps, so it goes on when the last of
/// those under way has landed.
void TarnKyrSession::suspendProgress() {
  ++seeksUnderWay_;
  if (const auto tracker = tracker_.get()) tracker->setSuspendProgress(true);
}

void TarnKyrSession::resumeProgress() {
  if (--seeksUnderWay_ > 0) return;
  if (const auto tracker = tracker_.get()) tracker->setSuspendProgress(false);
}
