#include <utility>

#include "Kyr/TarnKyrSession.h"
#include "Reactive/Tarn_RACBinding.h"
#include "Reactive/Tarn_RACObserve.h"

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

/// A seek that waits until its break has been played, from its acceptance to its completion.
struct TarnKyrSession::ForcedSeek {
  CMTime absoluteTarget;
  Completion completion;
  Tarn_RACDisposable breakExit;  // the subscription to the end of the break
};

void TarnKyrSession::configureSeekingCommand() {
  const auto allowed = trackerEvents()
                           .filter([](const TrackerEvent& event) {
                             return event->type() == TarnLumoProgressTrackerEventTypeEnterAdSequence ||
                                    event->type() == TarnLumoProgressTrackerEventTypeExitAdSequence;
                           })
                           .map([](const TrackerEvent& event) {
                             return event->type() == TarnLumoProgressTrackerEventTypeExitAdSequence;
                           });
  untilTermination_.add(tarn::bindSignal(allowed, [this](bool canSeek) { setCanSeek(canSeek); }));
}

void TarnKyrSession::setCanSeek(bool canSeek) {
  if (gate_.isOpen()) canSeek_.set(canSeek);
}

TarnKyrSeekTolerance TarnKyrSession::seekTolerancesSeekingFromAbsoluteTime(CMTime /*from*/, CMTime to) const {
  if (!timeline_) return {defaultSeekTolerance_, defaultSeekTolerance_};
  return tarn::seekTolerances(*timeline_, to, defaultSeekTolerance_, defaultMinimumSeekToleranceBuffer_);
}

void TarnKyrSession::seekToTime(CMTime time, Completion completion) {
  const auto keepAlive = shared_from_this();
  const bool isAllowed = gate_.isOpen() && canSeek_.get();
  if (!isAllowed || CMTIME_IS_INVALID(time) || time < kCMTimeZero) return complete(completion, false);
  setCanSeek(false);
  const CMTime contentLength = timeline_ ? timeline_->contentLength() : CMTime{};
  const CMTime contentTarget = time <= contentLength ? time : contentLength;
  const CMTime absoluteTarget = absoluteTimeAtContentTime(contentTarget);
  if (CMTIME_IS_INVALID(absoluteTarget)) {
    setCanSeek(true);
    return complete(completion, false);
  }
  ++playheadMoves_;
  const auto overtaken = takeForcedSeek();
  startSeek(time, absoluteTarget, std::move(completion));
  if (overtaken && gate_.isOpen()) complete(overtaken->completion, false);
}

void TarnKyrSession::startSeek(CMTime requested, CMTime absoluteTarget, Completion completion) {
  const CMTime current = currentTime();
  if (current > absoluteTarget) return seekBackward(requested, absoluteTarget, std::move(completion));
  const auto plan = tarn::planForwardSeek(*timeline_, current, absoluteTarget, requested);
  if (plan.forcedAdSequence && !adsDisabled())
    return playForcedAd(plan.forcedAdSequence, plan.absoluteTarget, std::move(completion));
  seekForward(plan.absoluteTarget, std::move(completion));
}

/// Towards the past no ad is forced. The beginning is sought exactly: it may be the start of a pre-roll.
void TarnKyrSession::seekBackward(CMTime requested, CMTime absoluteTarget, Completion completion) {
  suspendProgress();
  const CMTime target = tarn::timeBySeekOffset(absoluteTarget);
  const auto tolerance =
      requested == kCMTimeZero ? kExactly : seekTolerancesSeekingFromAbsoluteTime(currentTime(), target);
  setCanSeek(true);
  seekPlayer(target, tolerance, [completion = std::move(completion)](TarnKyrSession& self, bool finished) {
    self.resumeProgress();
    complete(completion, finished);
  });
}

void TarnKyrSession::seekForward(CMTime absoluteTarget, Completion completion) {
  const auto tolerance =
      adsDisabled() ? kExactly : seekTolerancesSeekingFromAbsoluteTime(currentTime(), absoluteTarget);
  setCanSeek(true);
  suspendProgress();
  seekPlayer(absoluteTarget, tolerance,
             [completion = std::move(completion)](TarnKyrSession& self, bool finished) {
               self.resumeProgress();
               complete(completion, finished);
             });
}

/// The application sees one seek that takes as long as the break does. `canSeek` stays false until the break
/// has been left; the seek that follows reaches the target.
void TarnKyrSession::playForcedAd(const std::shared_ptr<const TarnLumoAdSequence>& adSequence,
                                  CMTime absoluteTarget, Completion completion) {
  const auto seek = std::make_shared<ForcedSeek>(ForcedSeek{absoluteTarget, std::move(completion), {}});
  forcedSeek_ = seek;
  seek->breakExit =
      tarn::observe(tracker_.get(), &TarnLumoProgressTracker::event)
          .skip(1)
          .filter([adSequence](const TrackerEvent& event) { return isExitOf(event, *adSequence); })
          .take(1)
          .subscribeNext([weak = weakSelf()](const auto&) {
            if (const auto self = weak.lock()) self->seekAfterForcedAd();
          });
  untilTermination_.add(seek->breakExit);
  avPlayerPause();
  if (forcedSeek_ != seek) return;
  suspendProgress();
  // Whether it got there makes no difference: the stream goes on from where the player is.
  seekPlayer(tarn::timeBySeekOffset(adSequence->beginTime()), kExactly, [seek](TarnKyrSession& self, bool) {
    if (!self.forcedSeek_ || self.forcedSeek_ == seek) self.avPlayerPlay();
    self.resumeProgress();
  });
}

void TarnKyrSession::seekAfterForcedAd() {
  const auto seek = forcedSeek_;
  avPlayerPause();
  if (forcedSeek_ != seek) return;
  const CMTime remaining = CMTimeSubtract(seek->absoluteTarget, currentTime());
  if (hasEnded() || remaining < CMTimeMake(1, tarn::kDocumentTimescale)) return concludeForcedAd(seek, true);
  suspendProgress();
  const auto tolerance = seekTolerancesSeekingFromAbsoluteTime(currentTime(), seek->absoluteTarget);
  seekPlayer(seek->absoluteTarget, tolerance, [seek](TarnKyrSession& self, bool finished) {
    self.resumeProgress();
    self.concludeForcedAd(seek, finished);
  });
}

/// Also for a seek that has been overtaken, and has got its answer: it undoes its pause, but leaves a newer
/// forced seek what that one has paused and locked.
void TarnKyrSession::concludeForcedAd(const std::shared_ptr<ForcedSeek>& seek, bool finished) {
  const bool isCurrent = forcedSeek_ == seek;
  if (isCurrent) takeForcedSeek();
  if (!forcedSeek_) avPlayerPlay();
  if (!isCurrent) return;
  if (!forcedSeek_) setCanSeek(true);
  if (gate_.isOpen()) complete(seek->completion, finished);
}

std::shared_ptr<TarnKyrSession::ForcedSeek> TarnKyrSession::takeForcedSeek() {
  auto seek = std::exchange(forcedSeek_, nullptr);
  if (seek) seek->breakExit.dispose();
  return seek;
}

void TarnKyrSession::abandonForcedSeek() {
  const auto seek = takeForcedSeek();
  if (!seek) return;
  setCanSeek(true);
  if (gate_.isOpen()) complete(seek->completion, false);
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
  if (target >= itemEnd) return skipToItemEnd(itemEnd);
  seekPlayer(target, kExactly, [](TarnKyrSession& self, bool) { self.concludeSkip(); });
}

/// Players that stand near the end of an item do not reliably move to the end itself; from the beginning they
/// do. The viewer is not shown the way.
void TarnKyrSession::skipToItemEnd(CMTime itemEnd) {
  setPlayerLayerHidden(true);
  seekPlayer(kCMTimeZero, kExactly, [itemEnd, moves = playheadMoves_](TarnKyrSession& self, bool) {
    const auto arrive = [](TarnKyrSession& session, bool) {
      session.concludeSkip();
      session.setPlayerLayerHidden(false);
    };
    if (moves != self.playheadMoves_) return arrive(self, false);  // overtaken
    self.seekPlayer(itemEnd, kExactly, arrive);
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

bool TarnKyrSession::hasEnded() const {
  const auto current = player();
  return current && current->state().get() == TarnPlayerState::ended;
}

bool TarnKyrSession::adsDisabled() const {
  const auto common = commonProperties_.lock();
  return common && common->adsDisabled.get();
}

/// After Terminate no seek is made and none lands.
void TarnKyrSession::seekPlayer(CMTime time, TarnKyrSeekTolerance tolerance, Landed landed) {
  if (!gate_.isOpen()) return;
  const auto current = player();
  if (!current) return landed(*this, false);
  current->seekToTime(time, tolerance.beforeTolerance, tolerance.afterTolerance,
                      [weak = weakSelf(), landed = std::move(landed)](bool finished) {
                        const auto self = weak.lock();
                        if (self && self->gate_.isOpen()) landed(*self, finished);
                      });
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
