#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "Platform/MediaTime.h"

namespace tarn {

/// The seconds of `time`, cut towards zero; zero for a time that is no number.
[[nodiscard]] inline std::int64_t wholeSeconds(CMTime time) {
  constexpr double kMost = 1e18;
  const double seconds = CMTimeGetSeconds(time);
  return std::isnan(seconds) ? 0 : static_cast<std::int64_t>(std::clamp(seconds, -kMost, kMost));
}

}  // namespace tarn
