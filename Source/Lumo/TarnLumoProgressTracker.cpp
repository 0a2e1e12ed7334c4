#include "Lumo/TarnLumoProgressTracker.h"

#include <utility>

#include "Lumo/Internal/ValueSupport.h"

namespace {

/// A step back into an ad that is shorter than this is jitter of the player, not a seek.
constexpr double kShortestBackwardSeekIntoAd = 5.0;

bool isEarlier(const TarnLumoPath& path, const TarnLumoPath& other) {
  return path.absoluteTime() < other.absoluteTime();
}

template <typename T>
bool differ(const std::shared_ptr<const T>& a, const std::shared_ptr<const T>& b) {
  return a && b && !tarn::equalValues(a, b);
}

template <typename T>
const T* read(const std::optional<tarn::Dictionary>& properties, std::string_view key) {
  return properties ? properties->get<T>(key) : nullptr;
}

template <typename T>
std::optional<tarn::Dictionary> propertiesOf(std::string_view key, const std::shared_ptr<const T>& object) {
  if (!object) return std::nullopt;
  tarn::Dictionary properties;
  properties.set(key, object);
  return properties;
}

}  // namespace

TarnLumoProgressTrackerEvent::TarnLumoProgressTrackerEvent(TarnLumoProgressTrackerEventType type,
                                                           std::optional<tarn::Dictionary> properties)
    : type_(type), properties_(std::move(properties)) {}

std::shared_ptr<const TarnLumoAd> TarnLumoProgressTrackerEvent::ad() const {
  const auto* ad =
      read<std::shared_ptr<const TarnLumoAd>>(properties_, kTarnLumoProgressTrackerEventPropertiesKeyAd);
  return ad ? *ad : nullptr;
}

std::shared_ptr<const TarnLumoAdSequence> TarnLumoProgressTrackerEvent::adSequence() const {
  const auto* sequence = read<std::shared_ptr<const TarnLumoAdSequence>>(
      properties_, kTarnLumoProgressTrackerEventPropertiesKeyAdSequence);
  return sequence ? *sequence : nullptr;
}

std::optional<CMTime> TarnLumoProgressTrackerEvent::adProgress() const {
  const auto* progress = read<CMTime>(properties_, kTarnLumoProgressTrackerEventPropertiesKeyAdProgress);
  return progress ? std::optional(*progress) : std::nullopt;
}

TarnLumoProgressTracker::TarnLumoProgressTracker(std::shared_ptr<const TarnLumoTimeline> timeline)
    : timeline_(std::move(timeline)) {}

void TarnLumoProgressTracker::setAbsoluteTime(CMTime time) {
  absoluteTime_ = time;
  if (suspendProgress_ && previousPath_) return;
  if (updating_) {
    pendingTimes_.push_back(time);
    return;
  }
  const auto self = weak_from_this().lock();  // an observer may release the last reference
  updating_ = true;
  const tarn::Token done([this] {  // also when an observer throws
    updating_ = false;
    pendingTimes_.clear();
  });
  progressTimeUpdate(time);
  while (!pendingTimes_.empty()) {
    const CMTime next = pendingTimes_.front();
    pendingTimes_.erase(pendingTimes_.begin());
    progressTimeUpdate(next);
  }
}

void TarnLumoProgressTracker::progressTimeUpdate(CMTime time) {
  if (!timeline_ || CMTIME_IS_INVALID(time)) return;
  TarnLumoPath next = timeline_->pathAtTime(time);
  if (previousPath_ && goesBackInAd(next)) return;

  const tarn::Token accepted([this, &next] { previousPath_ = std::move(next); });  // also when one throws
  emitTransitions(next);
  if (next.ad()) {
    emitAdProgress(next);
  } else {
    contentTime_.set(next.logicalTime());
  }
}

bool TarnLumoProgressTracker::goesBackInAd(const TarnLumoPath& next) const {
  if (!isEarlier(next, *previousPath_)) return false;
  if (previousPath_->ad()) return true;
  if (!next.ad()) return false;
  const CMTime distance = CMTimeSubtract(previousPath_->absoluteTime(), next.absoluteTime());
  return CMTimeGetSeconds(distance) < kShortestBackwardSeekIntoAd;
}

void TarnLumoProgressTracker::emitTransitions(const TarnLumoPath& next) {
  const auto previousAd = previousPath_ ? previousPath_->ad() : nullptr;
  const auto previousSequence = previousPath_ ? previousPath_->adSequence() : nullptr;
  const bool adEntered = !previousAd && next.ad();
  const bool adExited = previousAd && !next.ad();
  const bool adsDiffer = differ(previousAd, next.ad());
  const bool sequencesChange = adsDiffer && differ(previousSequence, next.adSequence());

  if (adsDiffer || adExited) emitAdEvent(TarnLumoProgressTrackerEventTypeExitAd, previousAd);
  if (adExited || sequencesChange) {
    emitAdSequenceEvent(TarnLumoProgressTrackerEventTypeExitAdSequence, previousSequence);
  }
  if (adEntered || sequencesChange) {
    emitAdSequenceEvent(TarnLumoProgressTrackerEventTypeEnterAdSequence, next.adSequence());
  }
  if (adEntered || adsDiffer) emitAdEvent(TarnLumoProgressTrackerEventTypeEnterAd, next.ad());
}

void TarnLumoProgressTracker::emitAdEvent(TarnLumoProgressTrackerEventType type,
                                          const std::shared_ptr<const TarnLumoAd>& ad) {
  emitEvent(type, propertiesOf(kTarnLumoProgressTrackerEventPropertiesKeyAd, ad));
}

void TarnLumoProgressTracker::emitAdSequenceEvent(
    TarnLumoProgressTrackerEventType type, const std::shared_ptr<const TarnLumoAdSequence>& adSequence) {
  emitEvent(type, propertiesOf(kTarnLumoProgressTrackerEventPropertiesKeyAdSequence, adSequence));
}

void TarnLumoProgressTracker::emitAdProgress(const TarnLumoPath& path) {
  tarn::Dictionary properties;
  properties.set(kTarnLumoProgressTrackerEventPropertiesKeyAd, path.ad());
  properties.set(kTarnLumoProgressTrackerEventPropertiesKeyAdProgress, path.logicalTime());
  emitEvent(TarnLumoProgressTrackerEventTypeAdProgress, std::move(properties));
}

void TarnLumoProgressTracker::emitEvent(TarnLumoProgressTrackerEventType type,
                                        std::optional<tarn::Dictionary> properties) {
  event_.set(std::make_shared<const TarnLumoProgressTrackerEvent>(type, std::move(properties)));
}

void TarnLumoProgressTracker::setAbsoluteSeekableTimeRanges(TimeRanges ranges) {
  absoluteSeekableTimeRanges_ = std::move(ranges);
  rangesUpdate(absoluteSeekableTimeRanges_, contentSeekableTimeRanges_);
}

void TarnLumoProgressTracker::setAbsoluteLoadedTimeRanges(TimeRanges ranges) {
  absoluteLoadedTimeRanges_ = std::move(ranges);
  rangesUpdate(absoluteLoadedTimeRanges_, contentLoadedTimeRanges_);
}

void TarnLumoProgressTracker::rangesUpdate(const TimeRanges& absolute,
                                           tarn::Observable<TimeRanges>& content) const {
  const bool absent = !absolute && !content.get();
  const bool empty = absolute && absolute->empty() && content.get() && content.get()->empty();
  if (absent || empty) return;
  if (!absolute) return content.set(std::nullopt);

  std::vector<CMTimeRange> converted;
  converted.reserve(absolute->size());
  for (const auto& range : *absolute) {
    const CMTime end = CMTimeRangeGetEnd(range);
    converted.push_back(
        CMTimeRangeMake(kCMTimeZero, timeline_ ? timeline_->contentTimeAtAbsoluteTime(end) : CMTime{}));
  }
  content.set(std::move(converted));
}
