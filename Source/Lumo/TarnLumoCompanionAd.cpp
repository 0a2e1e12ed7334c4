#include "Lumo/TarnLumoCompanionAd.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "Lumo/Internal/ValueSupport.h"
#include "Lumo/TarnLumoAd+Private.h"

namespace {

int compare(std::int64_t a, std::int64_t b) {
  if (a == b) return 0;
  return a < b ? -1 : 1;
}

}  // namespace

TarnLumoCompanionAd::TarnLumoCompanionAd(const TarnLumoCompanionAdBuilder& builder)
    : width_(builder.width),
      height_(builder.height),
      identifier_(builder.identifier),
      staticResourceURL_(builder.staticResourceURL),
      creativeType_(builder.staticResourceCreativeType),
      trackingEventsCollection_(builder.trackingEventsCollection),
      clickThroughURL_(builder.clickThroughURL),
      clickTrackingURLs_(builder.clickTrackingURLs) {}

int TarnLumoCompanionAd::compareByWidthThenHeight(const TarnLumoCompanionAd& other) const {
  const int byWidth = compare(width_, other.width_);
  return byWidth != 0 ? byWidth : compare(height_, other.height_);
}

bool TarnLumoCompanionAd::isEqualToCompanionAd(const TarnLumoCompanionAd& other) const {
  if (this == &other) return true;
  return width_ == other.width_ && height_ == other.height_ && identifier_ == other.identifier_ &&
         tarn::equalValues(trackingEventsCollection_, other.trackingEventsCollection_) &&
         clickTrackingURLs_ == other.clickTrackingURLs_ && clickThroughURL_ == other.clickThroughURL_ &&
         staticResourceURL_ == other.staticResourceURL_ && creativeType_ == other.creativeType_;
}

std::uint64_t TarnLumoCompanionAd::hash() const {
  auto hash = tarn::foldHash(static_cast<std::uint64_t>(width_), static_cast<std::uint64_t>(height_));
  hash = tarn::foldHash(hash, tarn::hashOf(identifier_));
  hash = tarn::foldHash(hash, tarn::hashOf(trackingEventsCollection_));
  hash = tarn::foldHash(hash, tarn::hashOf(clickTrackingURLs_));
  hash = tarn::foldHash(hash, tarn::hashOf(clickThroughURL_));
  hash = tarn::foldHash(hash, tarn::hashOf(staticResourceURL_));
  return tarn::foldHash(hash, tarn::hashOf(creativeType_));
}

std::string TarnLumoCompanionAd::description() const {
  return tarn::Description("TarnLumoCompanionAd", this)
      .piece("ID", identifier_)
      .piece("size", fmt::format("{{{}, {}}}", width_, height_))
      .piece("staticResourceURL", staticResourceURL_)
      .piece("staticResourceCreativeType", creativeType_)
      .piece("trackingEvents", trackingEventsCollection_)
      .piece("clickThroughURL", clickThroughURL_)
      .piece("clickTrackingURLs", clickTrackingURLs_)
      .text();
}

TarnLumoCompanionAdsCollection::TarnLumoCompanionAdsCollection(
    Companions orderedCompanionAdsWithWidthThenHeight)
    : companions_(std::move(orderedCompanionAdsWithWidthThenHeight)) {
  std::stable_sort(companions_.begin(), companions_.end(),
                   [](const auto& a, const auto& b) { return a->compareByWidthThenHeight(*b) < 0; });
}

TarnLumoCompanionAdsCollection::Companions TarnLumoCompanionAdsCollection::companionAdsForWidth(
    std::int64_t width, std::int64_t height) const {
  Companions fitting;
  for (const auto& companion : companions_) {
    if (companion->width() > width) break;
    if (companion->width() == width && companion->height() == height) fitting.push_back(companion);
  }
  return fitting;
}

std::shared_ptr<const TarnLumoCompanionAd> TarnLumoCompanionAdsCollection::companionAdWithIdentifier(
    std::string_view identifier) const {
  const auto found = std::find_if(companions_.begin(), companions_.end(), [&](const auto& companion) {
    return companion->identifier() == identifier;
  });
  return found == companions_.end() ? nullptr : *found;
}

bool TarnLumoCompanionAdsCollection::isEqualToCompanionAdsCollection(
    const TarnLumoCompanionAdsCollection& other) const {
  return tarn::equalValues(companions_, other.companions_);
}

std::uint64_t TarnLumoCompanionAdsCollection::hash() const {
  return tarn::hashOf(companions_);
}

std::string TarnLumoCompanionAdsCollection::description() const {
  return tarn::Description("TarnLumoCompanionAdsCollection", this)
      .piece("orderedCompanionAdsWithWidthThenHeight", companions_)
      .text();
}
