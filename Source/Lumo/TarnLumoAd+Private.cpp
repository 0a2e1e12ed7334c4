#include "Lumo/TarnLumoAd+Private.h"

#include <utility>

#include "Lumo/TarnLumoCommon.h"
#include "Platform/NumberFormatter.h"

bool TarnLumoTrackingEventsCollectionBuilder::addTrackingEventNamed(std::optional<std::string> name,
                                                                    std::string_view offsetString,
                                                                    std::optional<tarn::URL> url) {
  const auto& formatter = tarn::NumberFormatter::shared(tarn::NumberFormatter::Style::plain);
  const auto seconds = formatter.numberFromString(offsetString);
  trackingEvents.push_back(std::make_shared<const TarnLumoTrackingEvent>(
      std::move(name), CMTimeMakeWithSeconds(seconds.value_or(0.0), tarn::kDocumentTimescale),
      std::move(url)));
  return seconds.has_value();
}

void TarnLumoTrackingEventsCollectionBuilder::addTrackingEventNamed(std::optional<std::string> name,
                                                                    std::optional<tarn::URL> url) {
  trackingEvents.push_back(
      std::make_shared<const TarnLumoTrackingEvent>(std::move(name), kCMTimeInvalid, std::move(url)));
}

std::shared_ptr<const TarnLumoTrackingEventsCollection>
TarnLumoTrackingEventsCollectionBuilder::buildTrackingEventsCollection() const {
  TarnLumoTrackingEventsCollection::EventsByName byName;
  TarnLumoTrackingEventsCollection::Events ordered;
  for (const auto& event : trackingEvents) {
    if (CMTIME_IS_VALID(event->offset()) && event->name() != "complete") ordered.push_back(event);
    byName[event->name().value_or("")].push_back(event);
  }
  return std::make_shared<const TarnLumoTrackingEventsCollection>(std::move(byName), std::move(ordered));
}

std::shared_ptr<const TarnLumoCompanionAd> TarnLumoCompanionAdBuilder::buildCompanionAd() const {
  return std::make_shared<const TarnLumoCompanionAd>(*this);
}

void TarnLumoCompanionAdsCollectionBuilder::addCompanionAd(
    std::shared_ptr<const TarnLumoCompanionAd> companion) {
  companionAds.push_back(std::move(companion));
}

std::shared_ptr<const TarnLumoCompanionAdsCollection>
TarnLumoCompanionAdsCollectionBuilder::buildCompanionAdsCollection() const {
  return std::make_shared<const TarnLumoCompanionAdsCollection>(companionAds);
}

std::shared_ptr<const TarnLumoAd> TarnLumoAdBuilder::buildAd() const {
  return std::make_shared<const TarnLumoAd>(*this);
}
