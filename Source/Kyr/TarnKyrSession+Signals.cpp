#include <utility>
#include <vector>

#include "Kyr/Internal/TarnKyrHostAds.h"
#include "Kyr/TarnKyrSession.h"
#include "Reactive/Tarn_RACBinding.h"
#include "Reactive/Tarn_RACObserve.h"

namespace {

using LifecycleEvent = TarnPlaybackSession::LifecycleEvent;
using TrackerEvent = std::shared_ptr<const TarnLumoProgressTrackerEvent>;

LifecycleEvent makeEvent(const char* type, std::optional<tarn::Dictionary> properties = std::nullopt) {
  return std::make_shared<const TarnPlaybackSessionLifecycleEvent>(type, std::move(properties));
}

bool isAdState(const TrackerEvent& event) {
  return event->type() == TarnLumoProgressTrackerEventTypeEnterAd ||
         event->type() == TarnLumoProgressTrackerEventTypeExitAd;
}

bool isAdSequenceState(const TrackerEvent& event) {
  return event->type() == TarnLumoProgressTrackerEventTypeEnterAdSequence ||
         event->type() == TarnLumoProgressTrackerEventTypeExitAdSequence;
}

bool is(const LifecycleEvent& event, const char* type) {
  return event && event->is(type);
}

/// The application's controls learn that the content stops for a break, and goes on after it.
std::vector<LifecycleEvent> withContentPauses(const LifecycleEvent& event) {
  if (is(event, kTarnPlaybackSessionLifecycleEventAdSequenceEnter)) {
    return {makeEvent(kTarnPlaybackSessionLifecycleEventWillPauseForAd),
            makeEvent(kTarnPlaybackSessionLifecycleEventPause), event};
  }
  if (is(event, kTarnPlaybackSessionLifecycleEventAdSequenceExit))
    return {event, makeEvent(kTarnPlaybackSessionLifecycleEventPlay)};
  return {event};
}

CMTime totalAdTime(const TarnLumoTimeline& timeline) {
  CMTime total = kCMTimeZero;
  for (const auto& adSequence : timeline.adSequences()) total = CMTimeAdd(total, adSequence->duration());
  return total;
}

}  // namespace

Tarn_RACSignal<TarnKyrSession::TrackerEvent> TarnKyrSession::trackerEvents() {
  return tarn::observe(tracker_, &TarnLumoProgressTracker::event).ignoreNil();
}

/// Wired before the timeline is known: the events of the tracker to come count from when it is there.
void TarnKyrSession::subscribeKyrSubjectsToInnerPlaybackSession() {
  if (!inner_) return;
  const auto innerLifecycle = inner_->lifecycle();
  const auto noAd = std::make_shared<const TarnLumoProgressTrackerEvent>(
      TarnLumoProgressTrackerEventTypeExitAd, std::nullopt);
  const auto adState = trackerEvents().filter(isAdState).startWith(noAd);
  subscriptions_.add(tarn::zip(innerLifecycle, adState.sample(innerLifecycle))
                         .reduceEach([this](const LifecycleEvent& event, const TrackerEvent& state) {
                           return translated(event, state);
                         })
                         .subscribeNext([this](const LifecycleEvent& event) { forward(event); }));
}

/// At the item's end and at a failure the ads and seeks of the session end first.
void TarnKyrSession::forward(const LifecycleEvent& event) {
  const auto weak = weakSelf();
  const bool ended = is(event, kTarnPlaybackSessionLifecycleEventEnd);
  if (ended) leaveAdAtItemEnd();
  if (ended || is(event, kTarnPlaybackSessionLifecycleEventError)) {
    if (const auto self = weak.lock()) self->abandonForcedSeek();
  }
  if (const auto self = weak.lock()) self->kyrLifecycleSubject_.sendNext(event);
}

TarnKyrSession::LifecycleEvent TarnKyrSession::translated(const LifecycleEvent& event,
                                                          const TrackerEvent& adState) {
  if (adState->type() != TarnLumoProgressTrackerEventTypeEnterAd) return event;
  if (is(event, kTarnPlaybackSessionLifecycleEventPause))
    return makeEvent(kTarnPlaybackSessionLifecycleEventAdPause, adProperties(*adState));
  if (is(event, kTarnPlaybackSessionLifecycleEventPlay))
    return makeEvent(kTarnPlaybackSessionLifecycleEventAdResume, adProperties(*adState));
  return event;
}

void TarnKyrSession::subscribeToProgressTracker() {
  const auto tracker = tracker_.get();
  untilTermination_.add(tarn::observe(tracker, &TarnLumoProgressTracker::contentTime)
                            .filter([this](const auto&) { return canSeek_.get(); })
                            .subscribeNext(kyrProgressSubject_));
  untilTermination_.add(tarn::observe(tracker, &TarnLumoProgressTracker::contentSeekableTimeRanges)
                            .subscribeNext(kyrSeekableTimeRangesSubject_));
  untilTermination_.add(tarn::observe(tracker, &TarnLumoProgressTracker::contentLoadedTimeRanges)
                            .subscribeNext(kyrloadedTimeRangesSubject_));
  untilTermination_.add(
      trackerEvents()
          .map([this](const TrackerEvent& event) { return lifecycleEventForTrackerEvent(event); })
          .flattenMap([](const LifecycleEvent& event) {
            return Tarn_RACSignal<LifecycleEvent>::values(withContentPauses(event));
          })
          .subscribeNext(kyrLifecycleSubject_));
}

/// An event of an unknown type is passed on as an absent one.
TarnKyrSession::LifecycleEvent TarnKyrSession::lifecycleEventForTrackerEvent(const TrackerEvent& event) {
  switch (event->type()) {
    case TarnLumoProgressTrackerEventTypeEnterAd:
      return makeEvent(kTarnPlaybackSessionLifecycleEventAdEnter, adProperties(*event));
    case TarnLumoProgressTrackerEventTypeExitAd:
      return makeEvent(kTarnPlaybackSessionLifecycleEventAdExit, adProperties(*event));
    case TarnLumoProgressTrackerEventTypeEnterAdSequence:
      return makeEvent(kTarnPlaybackSessionLifecycleEventAdSequenceEnter, adSequenceProperties(*event));
    case TarnLumoProgressTrackerEventTypeExitAdSequence:
      return makeEvent(kTarnPlaybackSessionLifecycleEventAdSequenceExit, adSequenceProperties(*event));
    case TarnLumoProgressTrackerEventTypeAdProgress: {
      auto properties = adProperties(*event).value_or(tarn::Dictionary());
      if (const auto progress = event->adProgress())
        properties.set(kTarnPlaybackSessionLifecycleEventPropertiesKeyAdProgress, *progress);
      return makeEvent(kTarnPlaybackSessionLifecycleEventAdProgress, std::move(properties));
    }
  }
  return nullptr;
}

std::optional<tarn::Dictionary> TarnKyrSession::adProperties(const TarnLumoProgressTrackerEvent& event) {
  const auto ad = tarn::hostAd(event.ad(), skipHandler());
  if (!ad) return std::nullopt;
  tarn::Dictionary properties;
  properties.set(kTarnPlaybackSessionLifecycleEventPropertiesKeyAd, ad);
  return properties;
}

std::optional<tarn::Dictionary> TarnKyrSession::adSequenceProperties(
    const TarnLumoProgressTrackerEvent& event) {
  const auto adSequence = tarn::hostAdSequence(event.adSequence(), skipHandler());
  if (!adSequence) return std::nullopt;
  tarn::Dictionary properties;
  properties.set(kTarnPlaybackSessionLifecycleEventPropertiesKeyAdSequence, adSequence);
  return properties;
}

void TarnKyrSession::subscribeToInnerPlaybackSessionDuration() {
  untilTermination_.add(inner_->durationChanges()
                            .map([adTime = totalAdTime(*timeline_)](CMTime duration) {
                              return CMTimeSubtract(duration, adTime);
                            })
                            .subscribeNext(kyrDurationChangesSubject_));
  untilTermination_.add(
      tarn::bindSignal(inner_->durationChanges(), [this](CMTime duration) { followDuration(duration); }));
}

void TarnKyrSession::configurePauseResumeCommand() {
  using Command = Tarn_RACCommand<Tarn_RACUnit, Tarn_RACUnit>;
  const auto enabled = trackerEvents().filter(isAdSequenceState).map([](const TrackerEvent& event) {
    return event->type() == TarnLumoProgressTrackerEventTypeEnterAdSequence;
  });
  const auto makeCommand = [&enabled, weak = weakSelf()](void (TarnKyrSession::*operation)()) {
    return std::make_shared<const Command>(enabled, [weak, operation](const Tarn_RACUnit&) {
      if (const auto self = weak.lock()) (self.get()->*operation)();
      return Tarn_RACSignal<Tarn_RACUnit>::empty();
    });
  };
  const auto resume = makeCommand(&TarnKyrSession::avPlayerPlay);
  const auto pause = makeCommand(&TarnKyrSession::avPlayerPause);
  untilTermination_.add(
      resumeAdInvocations_.signal().subscribeNext([resume](const auto&) { resume->execute(); }));
  untilTermination_.add(
      pauseAdInvocations_.signal().subscribeNext([pause](const auto&) { pause->execute(); }));
}
