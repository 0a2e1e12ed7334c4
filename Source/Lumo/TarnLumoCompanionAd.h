#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Lumo/TarnLumoTrackingEvent.h"
#include "Platform/URL.h"

struct TarnLumoCompanionAdBuilder;

/// A companion banner (VAST 3.0 §2.3.3).
class TarnLumoCompanionAd {
 public:
  explicit TarnLumoCompanionAd(const TarnLumoCompanionAdBuilder& builder);

  /// Pixels, as the document gives them.
  [[nodiscard]] std::int64_t width() const { return width_; }
  [[nodiscard]] std::int64_t height() const { return height_; }
  [[nodiscard]] const std::optional<std::string>& identifier() const { return identifier_; }
  [[nodiscard]] const std::optional<tarn::URL>& staticResourceURL() const { return staticResourceURL_; }
  /// MIME type.
  [[nodiscard]] const std::optional<std::string>& staticResourceCreativeType() const { return creativeType_; }
  [[nodiscard]] const std::shared_ptr<const TarnLumoTrackingEventsCollection>& trackingEventsCollection()
      const {
    return trackingEventsCollection_;
  }
  [[nodiscard]] const std::optional<tarn::URL>& clickThroughURL() const { return clickThroughURL_; }
  [[nodiscard]] const std::vector<tarn::URL>& clickTrackingURLs() const { return clickTrackingURLs_; }

  /// -1, 0 or 1.
  [[nodiscard]] int compareByWidthThenHeight(const TarnLumoCompanionAd& other) const;
  [[nodiscard]] bool isEqualToCompanionAd(const TarnLumoCompanionAd& other) const;
  [[nodiscard]] std::uint64_t hash() const;
  [[nodiscard]] std::string description() const;
  friend bool operator==(const TarnLumoCompanionAd& a, const TarnLumoCompanionAd& b) {
    return a.isEqualToCompanionAd(b);
  }

 private:
  std::int64_t width_;
  std::int64_t height_;
  std::optional<std::string> identifier_;
  std::optional<tarn::URL> staticResourceURL_;
  std::optional<std::string> creativeType_;
  std::shared_ptr<const TarnLumoTrackingEventsCollection> trackingEventsCollection_;
  std::optional<tarn::URL> clickThroughURL_;
  std::vector<tarn::URL> clickTrackingURLs_;
};

/// Finds the companions that fit a slot. Only exact sizes match: no scaling, no nearest fit.
class TarnLumoCompanionAdsCollection {
 public:
  using Companions = std::vector<std::shared_ptr<const TarnLumoCompanionAd>>;

  /// Sorts its argument if it is not; equal sizes keep their order. No element is null.
  explicit TarnLumoCompanionAdsCollection(Companions orderedCompanionAdsWithWidthThenHeight);

  [[nodiscard]] const Companions& orderedCompanionAdsWithWidthThenHeight() const { return companions_; }
  [[nodiscard]] Companions companionAdsForWidth(std::int64_t width, std::int64_t height) const;
  /// The first in width-then-height order; null when none has it.
  [[nodiscard]] std::shared_ptr<const TarnLumoCompanionAd> companionAdWithIdentifier(
      std::string_view identifier) const;

  [[nodiscard]] bool isEqualToCompanionAdsCollection(const TarnLumoCompanionAdsCollection& other) const;
  [[nodiscard]] std::uint64_t hash() const;
  [[nodiscard]] std::string description() const;
  friend bool operator==(const TarnLumoCompanionAdsCollection& a, const TarnLumoCompanionAdsCollection& b) {
    return a.isEqualToCompanionAdsCollection(b);
  }

 private:
  Companions companions_;
};
