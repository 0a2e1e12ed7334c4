#include "Kyr/TarnKyrSession.h"

#include <string>
#include <utility>

#include "Host/Tarn_RACBinding.h"
#include "Kyr/TarnKyrConstants.h"
#include "Lumo/TarnLumoTimelineOperation.h"
#include "Platform/Log.h"
#include "Platform/Queue.h"

namespace {

bool isTermination(const TarnPlaybackSession::LifecycleEvent& event) {
  return event && event->is(kTarnPlaybackSessionLifecycleEventTerminate);
}

Tarn_RACSignal<Tarn_RACUnit> makeTerminationSignal(const std::shared_ptr<TarnPlaybackSession>& inner) {
  if (!inner) return Tarn_RACSignal<Tarn_RACUnit>::never();
  return inner->lifecycle().filter(isTermination).take(1).map([](const auto&) { return Tarn_RACUnit(); });
}

TarnCuePointCollection::CuePoints adSlots(const TarnLumoTimeline& timeline) {
  TarnCuePointCollection::CuePoints slots;
  for (const auto& adSequence : timeline.adSequences())
    slots.push_back(
        std::make_shared<const TarnCuePoint>(kTarnCuePointTypeAdSlot, adSequence->logicalOffset()));
  return slots;
}

/// A time at which none of the timeline's ads plays any more.
CMTime behindAllAds(const TarnLumoTimeline& timeline) {
  CMTime latest = timeline.payloadLength();
  for (const auto& adSequence : timeline.adSequences()) {
    if (CMTimeCompare(adSequence->endTime(), latest) > 0) latest = adSequence->endTime();
  }
  return latest;
}

}  // namespace

TarnKyrSession::TarnKyrSession(std::shared_ptr<TarnPlaybackSession> innerPlaybackSession,
                               TarnLumoHTTPHeaders httpHeaders, std::shared_ptr<tarn::BeaconSink> beaconSink)
    : inner_(std::move(innerPlaybackSession)),
      httpHeaders_(std::move(httpHeaders)),
      sharedDigester_(std::make_shared<TarnLumoAnalyticsDigester>(std::move(beaconSink))),
      terminationSignal_(makeTerminationSignal(inner_)) {
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

void TarnKyrSession::followInnerSession() {
  const auto tracker = tracker_.get();
  subscriptions_.add(tarn::bindSignal(inner_->progress(), [this](CMTime time) { followPlayhead(time); }));
  subscriptions_.add(tarn::bindSignal(inner_->seekableRangesChanges(), [tracker](const TimeRanges& ranges) {
    tracker->setAbsoluteSeekableTimeRanges(ranges);
  }));
  subscriptions_.add(tarn::bindSignal(inner_->loadedTimeRangesChanges(), [tracker](const TimeRanges& ranges) {
    tracker->setAbsoluteLoadedTimeRanges(ranges);
  }));
}

/// An encoder's stream may be a few frames shorter than its document says, so that its end lies in the last
/// ad. Nothing plays there any more: the ad is left if it was playing, and not entered if it was not.
void TarnKyrSession::followPlayhead(CMTime time) {
  const auto tracker = tracker_.get();
  if (!isItemEnd(time) || !timeline_->pathAtTime(time).ad()) return tracker->setAbsoluteTime(time);
  const CMTime end = behindAllAds(*timeline_);
  if (timeline_->pathAtTime(tracker->absoluteTime()).ad()) tracker->setAbsoluteTime(time);
  tracker->setAbsoluteTime(end);
}

bool TarnKyrSession::isItemEnd(CMTime time) const {
  const auto current = player();
  if (!current) return false;
  const auto& duration = current->currentItemDuration().get();
  return duration && CMTIME_IS_NUMERIC(*duration) && CMTimeCompare(time, *duration) == 0;
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
  inner_->loadVideoURL(url);
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
  inner_->resumeVideoAtTime(absoluteTimeAtContentTime(time), autoPlay);
}

void TarnKyrSession::logForwarding(const char* invocation) const {
  tarn::writeLogLine(
      "TarnKyrSession: Cannot `-forwardInvocation:` to nonexistent inner playback session. (Invocation: " +
      std::string(invocation) + ")");
}

CMTime TarnKyrSession::absoluteTimeAtContentTime(CMTime contentTime) const {
  return timeline_ ? timeline_->absoluteTimeAtContentTime(contentTime) : CMTime{};
}

CMTime TarnKyrSession::contentTimeAtAbsoluteTime(CMTime absoluteTime) const {
  return timeline_ ? timeline_->contentTimeAtAbsoluteTime(absoluteTime) : CMTime{};
}
