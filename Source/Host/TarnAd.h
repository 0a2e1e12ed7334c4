#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Dictionary.h"
#include "Platform/MediaTime.h"

/// Keys of an ad's private properties: set by the plug-in that makes the ad, read by the code that draws the
/// ad's controls.
///
/// Clickthrough and tracking URLs: `std::vector<std::string>`. Skippable: `int`, 1 or 0. Skip time: `float`,
/// in-ad seconds. Skip handler: `TarnAdSkipHandler`.
inline constexpr const char* kTarnAdPrivatePropertyKeyClickthroughURLs =
    "kTarnAdPrivatePropertyKeyClickthroughURLs";
inline constexpr const char* kTarnAdPrivatePropertyKeyTrackingURLs = "kTarnAdPrivatePropertyKeyTrackingURLs";
inline constexpr const char* kTarnAdPrivatePropertyKeySkippable = "kTarnAdPrivatePropertyKeySkippable";
inline constexpr const char* kTarnAdPrivatePropertyKeySkipTime = "kTarnAdPrivatePropertyKeySkipTime";
inline constexpr const char* kTarnAdPrivatePropertyKeySkipHandler = "kTarnAdPrivatePropertyKeySkipHandler";

/// Call it on the main thread when the viewer skips the ad. It does nothing after the session has ended.
using TarnAdSkipHandler = std::function<void()>;

/// An ad as the application sees it. Immutable once it is shared as `std::shared_ptr<const TarnAd>`; two ads
/// are the same when they are the same object.
class TarnAd {
 public:
  /// `beginTime` is the content time of the break that holds the ad. `properties` are for the application.
  TarnAd(std::optional<std::string> title, std::optional<std::string> adId, CMTime beginTime, CMTime duration,
         tarn::Dictionary properties)
      : title_(std::move(title)),
        adId_(std::move(adId)),
        beginTime_(beginTime),
        duration_(duration),
        properties_(std::move(properties)) {}

  [[nodiscard]] const std::optional<std::string>& title() const { return title_; }
  [[nodiscard]] const std::optional<std::string>& adId() const { return adId_; }
  [[nodiscard]] CMTime beginTime() const { return beginTime_; }
  [[nodiscard]] CMTime duration() const { return duration_; }
  [[nodiscard]] const tarn::Dictionary& properties() const { return properties_; }

  /// Empty unless set by the plug-in that made the ad.
  [[nodiscard]] const tarn::Dictionary& privateProperties() const { return privateProperties_; }
  /// For the plug-in that makes the ad, before the ad is shared. A skip handler must not own the ad that it
  /// is stored in: neither would ever be destroyed.
  void setPrivateProperties(tarn::Dictionary properties) { privateProperties_ = std::move(properties); }

 private:
  std::optional<std::string> title_;
  std::optional<std::string> adId_;
  CMTime beginTime_;
  CMTime duration_;
  tarn::Dictionary properties_;
  tarn::Dictionary privateProperties_;
};

/// Ads that play one after another in one break. Immutable.
class TarnAdSequence {
 public:
  using Ads = std::vector<std::shared_ptr<const TarnAd>>;

  /// None of the pointers is null.
  TarnAdSequence(Ads ads, tarn::Dictionary properties)
      : ads_(std::move(ads)), properties_(std::move(properties)) {}

  [[nodiscard]] const Ads& ads() const { return ads_; }
  [[nodiscard]] const tarn::Dictionary& properties() const { return properties_; }

 private:
  Ads ads_;
  tarn::Dictionary properties_;
};
