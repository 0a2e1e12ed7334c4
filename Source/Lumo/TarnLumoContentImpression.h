#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/MediaTime.h"
#include "Platform/URL.h"

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
