#pragma once

#include "Lumo/TarnLumoAd.h"

/// Builders of the ad model: plain mutable holders, used by one thread while a document is read. Building
/// copies, so a later change never reaches a built object; a builder may be built repeatedly.

struct TarnLumoTrackingEventsCollectionBuilder {
  std::vector<std::shared_ptr<const TarnLumoTrackingEvent>> trackingEvents;

  /// `offsetString` is in-ad seconds (en_US). One that is no number counts as 0 seconds, a valid offset;
  /// returns whether it was one.
  bool addTrackingEventNamed(std::optional<std::string> name, std::string_view offsetString,
                             std::optional<tarn::URL> url);
  void addTrackingEventNamed(std::optional<std::string> name, std::optional<tarn::URL> url);
  [[nodiscard]] std::shared_ptr<const TarnLumoTrackingEventsCollection> buildTrackingEventsCollection() const;
};

struct TarnLumoCompanionAdBuilder {
  std::int64_t width = 0;
  std::int64_t height = 0;
  std::optional<std::string> identifier;
  std::optional<tarn::URL> staticResourceURL;
  std::optional<std::string> staticResourceCreativeType;
  std::shared_ptr<const TarnLumoTrackingEventsCollection> trackingEventsCollection;
  std::optional<tarn::URL> clickThroughURL;
  std::vector<tarn::URL> clickTrackingURLs;

  [[nodiscard]] std::shared_ptr<const TarnLumoCompanionAd> buildCompanionAd() const;
};

struct TarnLumoCompanionAdsCollectionBuilder {
  std::vector<std::shared_ptr<const TarnLumoCompanionAd>> companionAds;

  void addCompanionAd(std::shared_ptr<const TarnLumoCompanionAd> companion);
  [[nodiscard]] std::shared_ptr<const TarnLumoCompanionAdsCollection> buildCompanionAdsCollection() const;
};

struct TarnLumoAdBuilder {
  std::optional<std::string> adTitle;
  std::optional<std::string> adId;
  CMTime beginTime;
  CMTime duration;
  CMTime logicalOffset;
  CMTime skipOffset = kCMTimeInvalid;
  std::vector<tarn::URL> impressionURLs;
  std::shared_ptr<const TarnLumoTrackingEventsCollection> trackingEventsCollection;
  std::optional<tarn::URL> clickThroughURL;
  std::vector<tarn::URL> clickTrackingURLs;
  std::shared_ptr<const TarnLumoCompanionAdsCollection> companionsCollection;
  std::optional<std::vector<tarn::Dictionary>> vastAdCreativeExtensions;
  std::optional<std::vector<tarn::Dictionary>> vastAdExtensions;

  /// The ad's end time is begin time + duration, of their current values.
  [[nodiscard]] std::shared_ptr<const TarnLumoAd> buildAd() const;
};
