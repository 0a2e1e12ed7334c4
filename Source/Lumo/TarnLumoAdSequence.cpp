#include "Lumo/TarnLumoAdSequence.h"

#include <utility>

#include "Lumo/Internal/ValueSupport.h"

TarnLumoAdSequence::TarnLumoAdSequence(Ads ads) : ads_(std::move(ads)), duration_(kCMTimeZero) {
  if (ads_.empty()) return;
  beginTime_ = ads_.front()->beginTime();
  endTime_ = ads_.back()->endTime();
  logicalOffset_ = ads_.front()->logicalOffset();
  for (const auto& ad : ads_) duration_ = CMTimeAdd(duration_, ad->duration());
}

bool TarnLumoAdSequence::isEqualToAdSequence(const TarnLumoAdSequence& other) const {
  return this == &other || tarn::equalValues(ads_, other.ads_);
}

std::uint64_t TarnLumoAdSequence::hash() const {
  return tarn::hashOf(ads_);
}

std::string TarnLumoAdSequence::description() const {
  return tarn::Description("TarnLumoAdSequence", this)
      .piece("ads", ads_)
      .piece("beginTime", beginTime_)
      .piece("endTime", endTime_)
      .piece("duration", duration_)
      .piece("logicalOffset", logicalOffset_)
      .text();
}
