#include "Kyr/TarnKyrSession.h"

#include <string>
#include <utility>

#include "Kyr/Internal/GatedBeaconSink.h"
#include "Kyr/Internal/HostAds.h"
#include "Kyr/Internal/LifecycleTranslator.h"
#include "Kyr/Internal/SeekDriver.h"
#include "Kyr/TarnKyrConstants.h"
#include "Lumo/TarnLumoTimelineOperation.h"
#include "Platform/Log.h"
#include "Platform/MainQueue.h"
#include "Reactive/Tarn_RACBinding.h"
#include "Reactive/Tarn_RACObserve.h"

namespace {

Tarn_RACSignal<Tarn_RACUnit> makeTerminationSignal(const std::shared_ptr<TarnPlaybackSession>& inner) {
  if (!inner) return Tarn_RACSignal<Tarn_RACUnit>::never();
  return inner->lifecycle().filter(tarn::isTermination).take(1).map([](const auto&) {
    return Tarn_RACUnit();
  });
}

TarnCuePointCollection::CuePoints adSlots(const TarnLumoTimeline& timeline) {
  TarnCuePointCollection::CuePoints slots;
  for (const auto& adSequence : timeline.adSequences())
    slots.push_back(
        std::make_shared<const TarnCuePoint>(kTarnCuePointTypeAdSlot, adSequence->logicalOffset()));
  return slots;
}

/// A time at which none of the timeline's ads plays any more.
CMTime timeAfterLastAd(const TarnLumoTimeline& timeline) {
  CMTime latest = timeline.payloadLength();
  for (const auto& adSequence : timeline.adSequences()) {
    if (adSequence->endTime() > latest) latest = adSequence->endTime();
  }
  return latest;
}

CMTime totalAdTime(const TarnLumoTimeline& timeline) {
  CMTime total = kCMTimeZero;
  for (const auto& adSequence : timeline.adSequences()) total = CMTimeAdd(total, adSequence->duration());
  return total;
}

bool isAdSequenceState(const std::shared_ptr<const TarnLumoProgressTrackerEvent>& event) {
  return event->type() == TarnLumoProgressTrackerEventTypeEnterAdSequence ||
         event->type() == TarnLumoProgressTrackerEventTypeExitAdSequence;
}

}  // namespace

TarnKyrSession::TarnKyrSession(std::shared_ptr<TarnPlaybackSession> innerPlaybackSession,
                               TarnLumoHTTPHeaders httpHeaders, std::shared_ptr<tarn::BeaconSink> beaconSink,
                               tarn::Fetch fetch)
    : inner_(std::move(innerPlaybackSession)),
      httpHeaders_(std::move(httpHeaders)),
      fetch_(std::move(fetch)),
      seekDriver_(std::make_shared<tarn::SeekDriver>(*this, defaultSeekTolerance_,
                                                     defaultMinimumSeekToleranceBuffer_)),
      hostAds_(std::make_unique<tarn::HostAds>([driver = std::weak_ptr(seekDriver_)](const auto& ad) {
        if (const auto alive = driver.lock()) alive->skipAd(ad);
      })),
      lifecycleTranslator_(std::make_unique<const tarn::LifecycleTranslator>(*hostAds_)),
      sharedDigester_(std::make_shared<TarnLumoAnalyticsDigester>(
          std::make_shared<tarn::GatedBeaconSink>(gate_, std::move(beaconSink)))),
      terminationSignal_(makeTerminationSignal(inner_)) {
  // Before the events are forwarded: nothing else is to follow Terminate.
  subscriptions_.add(terminationSignal_.subscribeNext([this](const auto&) { stopAtTermination(); }));
  subscribeKyrSubjectsToInnerPlaybackSession();
}

TarnKyrSession::~TarnKyrSession() {
  loadQueue_.cancelAllOperations();
  if (const auto loading = loadOperation_.lock()) loading->abortRetrieval();
}

std::weak_ptr<TarnKyrSession> TarnKyrSession::weakSelf() {
  return std::static_pointer_cast<TarnKyrSession>(shared_from_this());
}

void TarnKyrSession::load() {
  if (loadState_.get() != TarnKyrLoadStateInitial) return;
  const auto keepAlive = shared_from_this();
  loadState_.set(TarnKyrLoadStateLoading);
  const auto selected = source();
  const auto operation =
      TarnLumoTimeline::timelineOperationForLumoUXURL(selected ? selected->url() : std::nullopt);
  operation->setHttpHeaders(httpHeaders_);
  operation->setFetch(fetch_);
  operation->setCompletionBlock([weak = weakSelf(), weakOperation = std::weak_ptr(operation)] {
    const auto concluded = weakOperation.lock();
    if (!concluded) return;
    tarn::MainQueue::shared().async([weak, concluded] {
      if (const auto self = weak.lock()) self->concludeLoad(*concluded);
    });
  });
  loadOperation_ = operation;
  loadQueue_.addOperation(operation);
}

void TarnKyrSession::concludeLoad(const TarnLumoTimelineOperation& operation) {
  timeline_ = operation.resultTimeline();
  if (!timeline_) {
    loadError_ = operation.error();
    loadState_.set(TarnKyrLoadStateError);
    return;
  }
  tracker_.set(std::make_shared<TarnLumoProgressTracker>(timeline_));
  followInnerSession();
  analyticsSession_ = TarnLumoAnalyticsSession::initWithProgessTracker(tracker(), sharedDigester_);
  subscribeToProgressTracker();
  subscribeToInnerPlaybackSessionDuration();
  configureSeekingCommand();
  configurePauseResumeCommand();
  updateVideo();
  if (timeline_->lumoURL()) {
    inner_->loadVideoURL(*timeline_->lumoURL());
  } else {
    tarn::writeLogLine("The VMAP document names no stream; there is nothing to play");
  }
  loadState_.set(TarnKyrLoadStateComplete);
}

Tarn_RACSignal<TarnKyrSession::TrackerEvent> TarnKyrSession::trackerEvents() {
  return tarn::observe(tracker_, &TarnLumoProgressTracker::event).ignoreNil();
}

/// Subscribed to before the timeline is known. The tracker's events count from when there is a tracker.
void TarnKyrSession::subscribeKyrSubjectsToInnerPlaybackSession() {
  if (!inner_) return;
  subscriptions_.add(lifecycleTranslator_->innerEvents(inner_->lifecycle(), trackerEvents())
                         .subscribeNext([this](const LifecycleEvent& event) { forward(event); }));
}

/// At the item's end and at a failure the ads and seeks of the session end first.
void TarnKyrSession::forward(const LifecycleEvent& event) {
  const auto weak = weakSelf();
  const bool ended = event && event->is(kTarnPlaybackSessionLifecycleEventEnd);
  if (ended) leaveAdAtItemEnd();
  if (ended || (event && event->is(kTarnPlaybackSessionLifecycleEventError))) {
    if (const auto self = weak.lock()) self->seekDriver_->abandonForcedSeek();
  }
  if (const auto self = weak.lock()) self->kyrLifecycleSubject_.sendNext(event);
}

void TarnKyrSession::subscribeToProgressTracker() {
  const auto tracker = tracker_.get();
  untilTermination_.add(tarn::observe(tracker, &TarnLumoProgressTracker::contentTime)
                            .filter([this](const auto&) { return canSeek(); })
                            .subscribeNext(kyrProgressSubject_));
  untilTermination_.add(tarn::observe(tracker, &TarnLumoProgressTracker::contentSeekableTimeRanges)
                            .subscribeNext(kyrSeekableTimeRangesSubject_));
  untilTermination_.add(tarn::observe(tracker, &TarnLumoProgressTracker::contentLoadedTimeRanges)
                            .subscribeNext(kyrloadedTimeRangesSubject_));
  untilTermination_.add(lifecycleTranslator_->adEvents(trackerEvents()).subscribeNext(kyrLifecycleSubject_));
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

void TarnKyrSession::configureSeekingCommand() {
  seekDriver_->follow(timeline_, tracker_.get(), *analyticsSession_);
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

void TarnKyrSession::followInnerSession() {
  const auto tracker = tracker_.get();
  untilTermination_.add(tarn::bindSignal(inner_->progress(), [this](CMTime time) { followPlayhead(time); }));
  untilTermination_.add(tarn::bindSignal(
      inner_->seekableRangesChanges(),
      [tracker](const TimeRanges& ranges) { tracker->setAbsoluteSeekableTimeRanges(ranges); }));
  untilTermination_.add(tarn::bindSignal(
      inner_->loadedTimeRangesChanges(),
      [tracker](const TimeRanges& ranges) { tracker->setAbsoluteLoadedTimeRanges(ranges); }));
}

/// An encoder's stream may be a few frames shorter than its document says, so that its end is inside the last
/// ad. An ad of which nothing is left to play is not entered. But a position that equals the duration need
/// not be the end: the duration may not be known yet. So the tracker does not receive it until that is clear.
void TarnKyrSession::followPlayhead(CMTime time) {
  possibleEnd_.reset();
  if (!isAtItemsDuration(time) || !timeline_->pathAtTime(time).ad())
    return tracker_.get()->setAbsoluteTime(time);
  possibleEnd_ = time;
  if (canSeek()) kyrProgressSubject_.sendNext(timeline_->contentTimeAtAbsoluteTime(time));
}

void TarnKyrSession::followDuration(CMTime duration) {
  const auto position = std::exchange(possibleEnd_, std::nullopt);
  if (position && CMTIME_IS_NUMERIC(duration)) followPlayhead(*position);
}

/// The ad that plays when the item ends is left, also when the document says that it lasts longer.
void TarnKyrSession::leaveAdAtItemEnd() {
  const auto position = std::exchange(possibleEnd_, std::nullopt);
  const bool inAd = analyticsSession_ && analyticsSession_->adAnalaytics();
  if (!position && !inAd) return;
  const auto tracker = tracker_.get();
  const CMTime end = timeAfterLastAd(*timeline_);
  if (position && inAd) tracker->setAbsoluteTime(*position);
  tracker->setAbsoluteTime(end);
}

bool TarnKyrSession::isAtItemsDuration(CMTime time) const {
  const auto current = player();
  if (!current) return false;
  const auto& duration = current->currentItemDuration().get();
  return duration && CMTIME_IS_NUMERIC(*duration) && time == *duration;
}

void TarnKyrSession::stopAtTermination() {
  const auto keepAlive = shared_from_this();  // a completion that goes may hold the last reference
  gate_.close();
  seekDriver_->terminate();
  untilTermination_.dispose();
}

void TarnKyrSession::updateVideo() {
  const auto innerVideo = inner_->video();
  if (!innerVideo) return;
  auto cuePoints = adSlots(*timeline_);
  const auto& own = innerVideo->cuePoints()->array();
  cuePoints.insert(cuePoints.end(), own.begin(), own.end());
  updatedVideoWithCuePoints_ = innerVideo->update([&cuePoints](TarnMutableVideo& copy) {
    copy.cuePoints = TarnCuePointCollection::collectionWithArray(std::move(cuePoints));
  });
}

std::shared_ptr<const TarnSource> TarnKyrSession::source() const {
  return inner_ ? inner_->source() : nullptr;
}

std::shared_ptr<TarnPlayer> TarnKyrSession::player() const {
  return inner_ ? inner_->player() : nullptr;
}

void TarnKyrSession::setSessionCommonProperties(
    const std::shared_ptr<TarnSessionCommonProperties>& properties) {
  commonProperties_ = properties;
  if (inner_) inner_->setSessionCommonProperties(properties);
}

void TarnKyrSession::loadVideoURL(const tarn::URL& url) {
  if (!inner_) return logForwarding("loadVideoURL:");
  const auto keepAlive = shared_from_this();
  seekDriver_->giveWayTo([&] { inner_->loadVideoURL(url); });
}

void TarnKyrSession::begin() {
  if (!inner_) {
    return tarn::writeLogLine("`-[TarnKyrSession begin]` called with nil inner playback session; ignoring.");
  }
  const auto keepAlive = shared_from_this();
  inner_->begin();
}

void TarnKyrSession::terminate() {
  if (!inner_) {
    return tarn::writeLogLine(
        "`-[TarnKyrSession terminate]` called with nil inner playback session; ignoring.");
  }
  const auto keepAlive = shared_from_this();
  inner_->terminate();
}

void TarnKyrSession::avPlayerPlay() {
  if (!inner_) return logForwarding("avPlayerPlay");
  const auto keepAlive = shared_from_this();
  inner_->avPlayerPlay();
}

void TarnKyrSession::avPlayerPause() {
  if (!inner_) return logForwarding("avPlayerPause");
  const auto keepAlive = shared_from_this();
  inner_->avPlayerPause();
}

void TarnKyrSession::resumeVideoAtTime(CMTime time, bool autoPlay) {
  if (!inner_) return logForwarding("resumeVideoAtTime:withAutoPlay:");
  const auto keepAlive = shared_from_this();
  seekDriver_->giveWayTo([&] { inner_->resumeVideoAtTime(absoluteTimeAtContentTime(time), autoPlay); });
}

void TarnKyrSession::logForwarding(const char* invocation) const {
  tarn::writeLogLine(
      "TarnKyrSession: Cannot `-forwardInvocation:` to nonexistent inner playback session. (Invocation: " +
      std::string(invocation) + ")");
}

bool TarnKyrSession::canSeek() const {
  return seekDriver_->canSeek().get();
}

tarn::Observable<bool>& TarnKyrSession::canSeekProperty() {
  return seekDriver_->canSeek();
}

void TarnKyrSession::seekToTime(CMTime time, Completion completion) {
  const auto keepAlive = shared_from_this();
  seekDriver_->seekToTime(time, std::move(completion));
}

TarnKyrSeekTolerance TarnKyrSession::seekTolerancesSeekingFromAbsoluteTime(CMTime /*from*/, CMTime to) const {
  return seekDriver_->tolerances(to);
}

CMTime TarnKyrSession::absoluteTimeAtContentTime(CMTime contentTime) const {
  return timeline_ ? timeline_->absoluteTimeAtContentTime(contentTime) : CMTime{};
}

CMTime TarnKyrSession::contentTimeAtAbsoluteTime(CMTime absoluteTime) const {
  return timeline_ ? timeline_->contentTimeAtAbsoluteTime(absoluteTime) : CMTime{};
}
