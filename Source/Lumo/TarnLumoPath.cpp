#include "Lumo/TarnLumoPath.h"

#include <utility>

#include "Lumo/Internal/TarnLumoTimelineIndex.h"
#include "Lumo/Internal/ValueSupport.h"

TarnLumoPath::TarnLumoPath(std::shared_ptr<const TarnLumoTimeline> timeline, CMTime absoluteTime,
                           std::shared_ptr<const TarnLumoAdSequence> adSequence,
                           std::shared_ptr<const TarnLumoAd> ad)
    : timeline_(std::move(timeline)),
      absoluteTime_(absoluteTime),
      adSequence_(std::move(adSequence)),
      ad_(std::move(ad)) {}

TarnLumoLogicalTime TarnLumoPath::logicalTime() const {
  CMTime origin = kCMTimeZero;
  if (ad_) {
    origin = ad_->beginTime();
  } else if (timeline_) {
    // Counts ads, not sequences, and an ad only once it has ended strictly before: at the instant at which a
    // break ends, its last ad is not counted yet.
    origin = timeline_->index_->breaks.adTimeBefore(absoluteTime_);
  }
  const CMTime logical = CMTimeSubtract(absoluteTime_, origin);
  return CMTIME_IS_VALID(logical) ? logical : absoluteTime_;
}

bool TarnLumoPath::isEqualToPath(const TarnLumoPath& other) const {
  if (this == &other) return true;
  return absoluteTime_ == other.absoluteTime_ && tarn::equalValues(ad_, other.ad_) &&
         tarn::equalValues(adSequence_, other.adSequence_) && tarn::equalValues(timeline_, other.timeline_);
}

std::uint64_t TarnLumoPath::hash() const {
  std::uint64_t hash = tarn::truncateToHash(CMTimeGetSeconds(absoluteTime_) + 31.0);
  hash = tarn::foldHash(hash, tarn::hashOf(ad_));
  hash = tarn::foldHash(hash, tarn::hashOf(adSequence_));
  return tarn::foldHash(hash, tarn::hashOf(timeline_));
}

std::string TarnLumoPath::description() const {
  return tarn::Description("TarnLumoPath", this)
      .piece("absoluteTime", absoluteTime_)
      .piece("logicalTime", logicalTime())
      .piece("ad", ad_)
      .piece("adSequence", adSequence_)
      .piece("timeline", timeline_)
      .text();
}
