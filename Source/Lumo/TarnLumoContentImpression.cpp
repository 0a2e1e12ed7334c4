#include "Lumo/TarnLumoContentImpression.h"

#include <utility>

#include "Lumo/Internal/ValueSupport.h"

TarnLumoContentImpression::TarnLumoContentImpression(std::optional<tarn::URL> url, CMTime logicalTime)
    : url_(std::move(url)), logicalTime_(logicalTime) {}

bool TarnLumoContentImpression::isEqualToContentImpression(const TarnLumoContentImpression& other) const {
  return url_ == other.url_ && logicalTime_ == other.logicalTime_;
}

std::uint64_t TarnLumoContentImpression::hash() const {
  return tarn::foldHash(tarn::hashOf(url_), tarn::hashOfTime(logicalTime_));
}

std::string TarnLumoContentImpression::description() const {
  return tarn::Description("TarnLumoContentImpression", this)
      .piece("url", url_)
      .piece("logicalTime", logicalTime_)
      .text();
}
