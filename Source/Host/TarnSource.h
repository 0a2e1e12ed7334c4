#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Platform/Dictionary.h"
#include "Platform/URL.h"

/// Delivery methods: how the stream at a source's URL is made. Compared case-insensitively.
inline constexpr const char* kTarnSourceDeliveryHLS = "kTarnSourceDeliveryHLS";
inline constexpr const char* kTarnSourceDeliveryLumo = "kTarnSourceDeliveryLumo";
inline constexpr const char* kTarnSourceDeliveryQuillSSAI = "kTarnSourceDeliveryQuillSSAI";

/// One location of a video's stream. Immutable, any thread; two sources are the same when
/// they are the same object.
class TarnSource {
 public:
  /// `url` and `deliveryMethod` may be absent: catalogue entries do not always have them. `properties` come
  /// from the catalogue; texts in them are `std::string`, whole numbers `std::int64_t`.
  TarnSource(std::optional<tarn::URL> url, std::optional<std::string> deliveryMethod,
             tarn::Dictionary properties = {})
      : url_(std::move(url)),
        deliveryMethod_(std::move(deliveryMethod)),
        properties_(std::move(properties)) {}

  [[nodiscard]] const std::optional<tarn::URL>& url() const { return url_; }
  [[nodiscard]] const std::optional<std::string>& deliveryMethod() const { return deliveryMethod_; }
  [[nodiscard]] const tarn::Dictionary& properties() const { return properties_; }

 private:
  std::optional<tarn::URL> url_;
  std::optional<std::string> deliveryMethod_;
  tarn::Dictionary properties_;
};
