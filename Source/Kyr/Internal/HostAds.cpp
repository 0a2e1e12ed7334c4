#include "Kyr/Internal/HostAds.h"

#include <string>
#include <utility>
#include <vector>

#include "Kyr/TarnKyrConstants.h"

namespace tarn {
namespace {

Dictionary publicProperties(const std::shared_ptr<const TarnLumoAd>& ad) {
  Dictionary properties;
  properties.set(kTarnKyrAdPropertiesKeyLumoAd, ad);
  if (ad->vastAdCreativeExtensions())
    properties.set(kTarnKyrVASTAdCreativeExtensionsKey, *ad->vastAdCreativeExtensions());
  if (ad->vastAdExtensions()) properties.set(kTarnKyrVASTAdExtensionsKey, *ad->vastAdExtensions());
  return properties;
}

std::vector<std::string> clickThroughTexts(const TarnLumoAd& ad) {
  if (!ad.clickThroughURL()) return {};
  return {ad.clickThroughURL()->absoluteString()};
}

std::vector<std::string> trackingTexts(const TarnLumoAd& ad) {
  std::vector<std::string> texts;
  for (const auto& url : ad.clickTrackingURLs()) texts.push_back(url.absoluteString());
  return texts;
}

Dictionary privateProperties(const std::shared_ptr<const TarnLumoAd>& ad, const SkipAd& skip) {
  const auto skipTime = static_cast<float>(CMTimeGetSeconds(ad->skipOffset()));
  // Documents mark an ad as not skippable with an offset of a second or less.
  const int skippable = skipTime > 1.0F ? 1 : 0;
  Dictionary properties;
  properties.set(kTarnAdPrivatePropertyKeyClickthroughURLs, clickThroughTexts(*ad));
  properties.set(kTarnAdPrivatePropertyKeyTrackingURLs, trackingTexts(*ad));
  properties.set(kTarnAdPrivatePropertyKeySkippable, skippable);
  properties.set(kTarnAdPrivatePropertyKeySkipTime, skipTime);
  properties.set(kTarnAdPrivatePropertyKeySkipHandler, TarnAdSkipHandler([skip, ad] { skip(ad); }));
  return properties;
}

std::shared_ptr<const TarnAd> makeAd(const std::shared_ptr<const TarnLumoAd>& ad, const SkipAd& skip) {
  auto result = std::make_shared<TarnAd>(ad->title(), ad->adId(), ad->logicalOffset(), ad->duration(),
                                         publicProperties(ad));
  result->setPrivateProperties(privateProperties(ad, skip));
  return result;
}

}  // namespace

HostAds::HostAds(SkipAd skip) : skip_(std::move(skip)) {}

std::shared_ptr<const TarnAd> HostAds::adForLumoAd(const std::shared_ptr<const TarnLumoAd>& ad) {
  if (!ad) return nullptr;
  auto& result = ads_[ad.get()];
  if (!result) result = makeAd(ad, skip_);
  return result;
}

std::shared_ptr<const TarnAdSequence> HostAds::adSeqeunceForLumoAdSequence(
    const std::shared_ptr<const TarnLumoAdSequence>& adSequence) {
  if (!adSequence) return nullptr;
  auto& result = adSequences_[adSequence.get()];
  if (result) return result;
  TarnAdSequence::Ads ads;
  for (const auto& ad : adSequence->ads()) ads.push_back(adForLumoAd(ad));
  Dictionary properties;
  properties.set(kTarnKyrAdPropertiesKeyLumoAdSequence, adSequence);
  result = std::make_shared<const TarnAdSequence>(std::move(ads), std::move(properties));
  return result;
}

}  // namespace tarn
