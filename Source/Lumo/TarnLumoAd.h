#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Dictionary.h"
#include "Platform/MediaTime.h"
#include "Platform/URL.h"

/// The ad model: immutable values, shared as `std::shared_ptr<const …>`, readable from any thread. An absent
/// text or URL is `std::nullopt`; an absent collection is a null pointer.

/// One tracking event of a Linear or a companion (VAST 3.0 §2.3.1.7).
class TarnLumoTrackingEvent {
 public:
  /// `offset` is in-ad time; invalid unless the document gave one. `url` is absent when its text formed none.
  TarnLumoTrackingEvent(std::optional<std::string> name, CMTime offset, std::optional<tarn::URL> url);

  [[nodiscard]] const std::optional<std::string>& name() const { return name_; }
  [[nodiscard]] CMTime offset() const { return offset_; }
  [[nodiscard]] const std::optional<tarn::URL>& url() const { return url_; }

  /// -1, 0 or 1 by offset alone.
  [[nodiscard]] int compareByOffset(const TarnLumoTrackingEvent& other) const;
  [[nodiscard]] bool isEqualToTrackingEvent(const TarnLumoTrackingEvent& other) const;
  [[nodiscard]] std::uint64_t hash() const;
  [[nodiscard]] std::string description() const;
  friend bool operator==(const TarnLumoTrackingEvent& a, const TarnLumoTrackingEvent& b) {
    return a.isEqualToTrackingEvent(b);
  }

 private:
  std::optional<std::string> name_;
  CMTime offset_;
  std::optional<tarn::URL> url_;
};

/// Finds the beacon URLs that are due, by name or by in-ad time.
class TarnLumoTrackingEventsCollection {
 public:
  using Events = std::vector<std::shared_ptr<const TarnLumoTrackingEvent>>;
  using EventsByName = std::map<std::string, Events, std::less<>>;
  using URLs = std::vector<tarn::URL>;

  /// Sorts `orderedEventsWithOffsets` if it is not; equal offsets keep their order. No element is null.
  TarnLumoTrackingEventsCollection(EventsByName eventsByName, Events orderedEventsWithOffsets);

  /// The events of each name in document order; events without a name are under the empty name.
  [[nodiscard]] const EventsByName& eventsByName() const { return eventsByName_; }
  /// Ascending by offset. Events named "complete" are never here: they are due when the ad is left, not at a
  /// time.
  [[nodiscard]] const Events& orderedEventsWithOffsets() const { return orderedEventsWithOffsets_; }

  /// In document order, leaving out events without a URL; empty for an unknown name.
  [[nodiscard]] URLs URLsForTrackingEventsNamed(std::string_view name) const;
  /// The URLs of the events with an offset in the half-open in-ad interval [`first`, `second`), in offset
  /// order.
  [[nodiscard]] URLs URLsForTrackingEventsAtOrAfter(CMTime first, CMTime second) const;

  [[nodiscard]] bool isEqualToTrackingEventsCollection(const TarnLumoTrackingEventsCollection& other) const;
  [[nodiscard]] std::uint64_t hash() const;
  [[nodiscard]] std::string description() const;
  friend bool operator==(const TarnLumoTrackingEventsCollection& a,
                         const TarnLumoTrackingEventsCollection& b) {
    return a.isEqualToTrackingEventsCollection(b);
  }

 private:
  EventsByName eventsByName_;
  Events orderedEventsWithOffsets_;
};

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

/// A beacon to be sent when playback reaches a content time. Inside lists it compares by identity: each is a
/// beacon of its own, even with equal values.
class TarnLumoContentImpression {
 public:
  TarnLumoContentImpression(std::optional<tarn::URL> url, CMTime logicalTime);

  [[nodiscard]] const std::optional<tarn::URL>& url() const { return url_; }
  /// Content time.
  [[nodiscard]] CMTime logicalTime() const { return logicalTime_; }

  [[nodiscard]] bool isEqualToContentImpression(const TarnLumoContentImpression& other) const;
  [[nodiscard]] std::uint64_t hash() const;
  [[nodiscard]] std::string description() const;

 private:
  std::optional<tarn::URL> url_;
  CMTime logicalTime_;
};

/// One stretch of content in the stitched stream.
class TarnLumoContentSegment {
 public:
  TarnLumoContentSegment(CMTime beginTime, CMTime duration) : beginTime_(beginTime), duration_(duration) {}

  /// Absolute time.
  [[nodiscard]] CMTime beginTime() const { return beginTime_; }
  [[nodiscard]] CMTime duration() const { return duration_; }

 private:
  CMTime beginTime_;
  CMTime duration_;
};
