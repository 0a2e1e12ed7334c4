#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Lumo/TarnLumoCompanionAd.h"
#include "Lumo/TarnLumoTrackingEvent.h"
#include "Platform/Dictionary.h"
#include "Platform/MediaTime.h"
#include "Platform/URL.h"

/// The ad model: immutable values, shared as `std::shared_ptr<const …>`, readable from any thread. An absent
/// text or URL is `std::nullopt`; an absent collection is a null pointer.

/// Keys of the nested dictionary that represents an extension element: its tag (`std::string`), its
/// attributes (a `tarn::Dictionary` of `std::string`), and its content: `std::vector<tarn::Dictionary>` of
/// its child elements, or its text (`std::string`) when it has none.
inline constexpr const char* kTarnXMLElementTagKey = "tag";
inline constexpr const char* kTarnXMLElementAttributesKey = "attributes";
inline constexpr const char* kTarnXMLElementContentKey = "content";

struct TarnLumoAdBuilder;

/// One ad of the stitched stream.
class TarnLumoAd {
 public:
  explicit TarnLumoAd(const TarnLumoAdBuilder& builder);

  [[nodiscard]] const std::optional<std::string>& title() const { return title_; }
  [[nodiscard]] const std::optional<std::string>& adId() const { return adId_; }
  /// Absolute time.
  [[nodiscard]] CMTime beginTime() const { return beginTime_; }
  [[nodiscard]] CMTime duration() const { return duration_; }
  /// Absolute time of the first instant after the ad.
  [[nodiscard]] CMTime endTime() const { return endTime_; }
  /// Content time of the break that holds the ad; positive infinity for a post-roll.
  [[nodiscard]] CMTime logicalOffset() const { return logicalOffset_; }
  /// In-ad time after which the ad may be skipped; invalid when it may not.
  [[nodiscard]] CMTime skipOffset() const { return skipOffset_; }
  [[nodiscard]] const std::vector<tarn::URL>& impressionURLs() const { return impressionURLs_; }
  [[nodiscard]] const std::shared_ptr<const TarnLumoTrackingEventsCollection>& trackingEventsCollection()
      const {
    return trackingEventsCollection_;
  }
  [[nodiscard]] const std::shared_ptr<const TarnLumoCompanionAdsCollection>& companionsCollection() const {
    return companionsCollection_;
  }
  [[nodiscard]] const std::optional<tarn::URL>& clickThroughURL() const { return clickThroughURL_; }
  [[nodiscard]] const std::vector<tarn::URL>& clickTrackingURLs() const { return clickTrackingURLs_; }
  /// The Linear's and the ad's extension elements as nested dictionaries; absent when the document had none.
  [[nodiscard]] const std::optional<std::vector<tarn::Dictionary>>& vastAdCreativeExtensions() const {
    return vastAdCreativeExtensions_;
  }
  [[nodiscard]] const std::optional<std::vector<tarn::Dictionary>>& vastAdExtensions() const {
    return vastAdExtensions_;
  }

  /// Equality does not look at the two extension lists.
  [[nodiscard]] bool isEqualToAd(const TarnLumoAd& other) const;
  [[nodiscard]] std::uint64_t hash() const;
  [[nodiscard]] std::string description() const;
  friend bool operator==(const TarnLumoAd& a, const TarnLumoAd& b) { return a.isEqualToAd(b); }

 private:
  std::optional<std::string> title_;
  std::optional<std::string> adId_;
  CMTime beginTime_;
  CMTime duration_;
  CMTime endTime_;
  CMTime logicalOffset_;
  CMTime skipOffset_;
  std::vector<tarn::URL> impressionURLs_;
  std::shared_ptr<const TarnLumoTrackingEventsCollection> trackingEventsCollection_;
  std::shared_ptr<const TarnLumoCompanionAdsCollection> companionsCollection_;
  std::optional<tarn::URL> clickThroughURL_;
  std::vector<tarn::URL> clickTrackingURLs_;
  std::optional<std::vector<tarn::Dictionary>> vastAdCreativeExtensions_;
  std::optional<std::vector<tarn::Dictionary>> vastAdExtensions_;
};
