#include "Lumo/TarnLumoAd.h"

#include "Lumo/Internal/ValueSupport.h"
#include "Lumo/TarnLumoAd+Private.h"

TarnLumoAd::TarnLumoAd(const TarnLumoAdBuilder& builder)
    : title_(builder.adTitle),
      adId_(builder.adId),
      beginTime_(builder.beginTime),
      duration_(builder.duration),
      endTime_(CMTimeAdd(builder.beginTime, builder.duration)),
      logicalOffset_(builder.logicalOffset),
      skipOffset_(builder.skipOffset),
      impressionURLs_(builder.impressionURLs),
      trackingEventsCollection_(builder.trackingEventsCollection),
      companionsCollection_(builder.companionsCollection),
      clickThroughURL_(builder.clickThroughURL),
      clickTrackingURLs_(builder.clickTrackingURLs),
      vastAdCreativeExtensions_(builder.vastAdCreativeExtensions),
      vastAdExtensions_(builder.vastAdExtensions) {}

bool TarnLumoAd::isEqualToAd(const TarnLumoAd& other) const {
  if (this == &other) return true;
  return title_ == other.title_ && adId_ == other.adId_ && duration_ == other.duration_ &&
         beginTime_ == other.beginTime_ && endTime_ == other.endTime_ &&
         logicalOffset_ == other.logicalOffset_ && skipOffset_ == other.skipOffset_ &&
         impressionURLs_ == other.impressionURLs_ &&
         tarn::equalValues(trackingEventsCollection_, other.trackingEventsCollection_) &&
         clickTrackingURLs_ == other.clickTrackingURLs_ && clickThroughURL_ == other.clickThroughURL_ &&
         tarn::equalValues(companionsCollection_, other.companionsCollection_);
}

std::uint64_t TarnLumoAd::hash() const {
  std::uint64_t hash = tarn::hashOf(title_);
  hash = tarn::foldHash(hash, tarn::hashOf(adId_));
  hash = tarn::foldHash(hash, tarn::hashOfTime(duration_));
  hash = tarn::foldHash(hash, tarn::hashOfTime(beginTime_));
  hash = tarn::foldHash(hash, tarn::hashOfTime(endTime_));
  hash = tarn::foldHash(hash, tarn::hashOfTime(logicalOffset_));
  hash = tarn::foldHash(hash, tarn::hashOfTime(skipOffset_));
  hash = tarn::foldHash(hash, tarn::hashOf(impressionURLs_));
  hash = tarn::foldHash(hash, tarn::hashOf(trackingEventsCollection_));
  hash = tarn::foldHash(hash, tarn::hashOf(clickTrackingURLs_));
  hash = tarn::foldHash(hash, tarn::hashOf(clickThroughURL_));
  return tarn::foldHash(hash, tarn::hashOf(companionsCollection_));
}

std::string TarnLumoAd::description() const {
  return tarn::Description("TarnLumoAd", this)
      .piece("title", title_)
      .piece("adId", adId_)
      .piece("beginTime", beginTime_)
      .piece("endTime", endTime_)
      .piece("duration", duration_)
      .piece("skipOffset", skipOffset_)
      .piece("impressionURLs", impressionURLs_)
      .piece("trackingEvents", trackingEventsCollection_)
      .piece("clickThroughURL", clickThroughURL_)
      .piece("clickTrackingURLs", clickTrackingURLs_)
      .lastPiece("companionCollections", companionsCollection_)
      .text();
}
