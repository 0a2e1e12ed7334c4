#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Lumo/TarnLumoAd.h"

/// The ads of one ad break, played back to back. Immutable, any thread.
class TarnLumoAdSequence {
 public:
  using Ads = std::vector<std::shared_ptr<const TarnLumoAd>>;

  /// No element is null.
  explicit TarnLumoAdSequence(Ads ads);

  [[nodiscard]] const Ads& ads() const { return ads_; }
  /// Absolute time of the first ad's begin; all-zero (invalid) without ads.
  [[nodiscard]] CMTime beginTime() const { return beginTime_; }
  /// Absolute time of the last ad's end; all-zero (invalid) without ads.
  [[nodiscard]] CMTime endTime() const { return endTime_; }
  /// The sum of the ads' durations; zero without ads.
  [[nodiscard]] CMTime duration() const { return duration_; }
  /// Content time; positive infinity for a post-roll; all-zero (invalid) without ads.
  [[nodiscard]] CMTime logicalOffset() const { return logicalOffset_; }

  [[nodiscard]] bool isEqualToAdSequence(const TarnLumoAdSequence& other) const;
  [[nodiscard]] std::uint64_t hash() const;
  [[nodiscard]] std::string description() const;
  friend bool operator==(const TarnLumoAdSequence& a, const TarnLumoAdSequence& b) {
    return a.isEqualToAdSequence(b);
  }

 private:
  Ads ads_;
  CMTime beginTime_;
  CMTime endTime_;
  CMTime duration_;
  CMTime logicalOffset_;
};
