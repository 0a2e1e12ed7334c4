#include "Lumo/TarnLumoProgressTracker.h"

#include <utility>

#include "Lumo/Internal/ValueSupport.h"

namespace {

/// A step back into an ad that is shorter than this is jitter of the player, not a seek.
constexpr double kMinBackwardSeekIntoAd = 5.0;

bool isEarlier(const TarnLumoPath& path, const TarnLumoPath& other) {
  return path.absoluteTime() < other.absoluteTime();
}

template <typename T>
bool differ(const std::shared_ptr<const T>& a, const std::shared_ptr<const T>& b) {
  return a && b && !tarn::equalValues(a, b);
}

template <typename T>
std::shared_ptr<const T> read(const tarn::Dictionary& properties, std::string_view key) {
  const auto* object = properties.get<std::shared_ptr<const T>>(key);
  return object ? *object : nullptr;
}

TarnLumoProgressTrackerEvent::Fields fieldsOf(const std::optional<tarn::Dictionary>& properties) {
  if (!properties) return {};
  TarnLumoProgressTrackerEvent::Fields fields;
  fields.ad = read<TarnLumoAd>(*properties, kTarnLumoProgressTrackerEventPropertiesKeyAd);
  fields.adSequence =
      read<TarnLumoAdSequence>(*properties, kTarnLumoProgressTrackerEventPropertiesKeyAdSequence);
  if (const auto* time = properties->get<CMTime>(kTarnLumoProgressTrackerEventPropertiesKeyAdProgress))
    fields.adProgress = *time;
  return fields;
}

}  // namespace

TarnLumoProgressTrackerEvent::TarnLumoProgressTrackerEvent(TarnLumoProgressTrackerEventType type,
                                                           Fields fields)
    : type_(type), fields_(std::move(fields)) {}

TarnLumoProgressTrackerEvent::TarnLumoProgressTrackerEvent(TarnLumoProgressTrackerEventType type,
                                                           std::optional<tarn::Dictionary> properties)
    : type_(type), fields_(fieldsOf(properties)), givenProperties_(std::move(properties)) {}

std::optional<tarn::Dictionary> TarnLumoProgressTrackerEvent::properties() const {
  if (givenProperties_) return givenProperties_;
  tarn::Dictionary properties;
  if (fields_.ad) properties.set(kTarnLumoProgressTrackerEventPropertiesKeyAd, fields_.ad);
  if (fields_.adSequence)
    properties.set(kTarnLumoProgressTrackerEventPropertiesKeyAdSequence, fields_.adSequence);
  if (fields_.adProgress)
    properties.set(kTarnLumoProgressTrackerEventPropertiesKeyAdProgress, *fields_.adProgress);
  return properties.empty() ? std::nullopt : std::optional(std::move(properties));
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
    emitEvent(TarnLumoProgressTrackerEventTypeAdProgress,
              {.ad = next.ad(), .adProgress = next.logicalTime()});
  } else {
    contentTime_.set(next.logicalTime());
  }
}

bool TarnLumoProgressTracker::goesBackInAd(const TarnLumoPath& next) const {
  if (!isEarlier(next, *previousPath_)) return false;
  if (previousPath_->ad()) return true;
  if (!next.ad()) return false;
  const CMTime distance = CMTimeSubtract(previousPath_->absoluteTime(), next.absoluteTime());
  return CMTimeGetSeconds(distance) < kMinBackwardSeekIntoAd;
}

void TarnLumoProgressTracker::emitTransitions(const TarnLumoPath& next) {
  const auto previousAd = previousPath_ ? previousPath_->ad() : nullptr;
  const auto previousSequence = previousPath_ ? previousPath_->adSequence() : nullptr;
  const bool adEntered = !previousAd && next.ad();
  const bool adExited = previousAd && !next.ad();
  const bool adsDiffer = differ(previousAd, next.ad());
  const bool sequencesChange = adsDiffer && differ(previousSequence, next.adSequence());

  if (adsDiffer || adExited) emitEvent(TarnLumoProgressTrackerEventTypeExitAd, {.ad = previousAd});
  if (adExited || sequencesChange) {
    emitEvent(TarnLumoProgressTrackerEventTypeExitAdSequence, {.adSequence = previousSequence});
  }
  if (adEntered || sequencesChange) {
    emitEvent(TarnLumoProgressTrackerEventTypeEnterAdSequence, {.adSequence = next.adSequence()});
  }
  if (adEntered || adsDiffer) emitEvent(TarnLumoProgressTrackerEventTypeEnterAd, {.ad = next.ad()});
}

void TarnLumoProgressTracker::emitEvent(TarnLumoProgressTrackerEventType type,
                                        TarnLumoProgressTrackerEvent::Fields fields) {
  event_.set(std::make_shared<const TarnLumoProgressTrackerEvent>(type, std::move(fields)));
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
