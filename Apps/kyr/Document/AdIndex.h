#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <unordered_map>

#include "Lumo/TarnLumoTimeline.h"

namespace tarn::cli {

/// The positions of a timeline's sequences and ads in its list of sequences. Knows the objects, not equal
/// ones: two plays of one creative are equal ads.
class AdIndex {
 public:
  explicit AdIndex(const TarnLumoTimeline& timeline);

  /// Absent for null and for objects that the timeline does not hold.
  [[nodiscard]] std::optional<std::size_t> indexOf(const TarnLumoAdSequence* sequence) const;
  /// Of the sequence that holds the ad.
  [[nodiscard]] std::optional<std::size_t> indexOf(const TarnLumoAd* ad) const;

 private:
  std::unordered_map<const void*, std::size_t> indexes_;
};

}  // namespace tarn::cli
