#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "Platform/MediaTime.h"

namespace tarn {

/// The seconds of `time`, truncated towards zero; zero if not a number.
[[nodiscard]] inline std::int64_t wholeSeconds(CMTime time) {
  constexpr double kMaxSeconds = 1e18;
  const double seconds = CMTimeGetSeconds(time);
  return std::isnan(seconds) ? 0 : static_cast<std::int64_t>(std::clamp(seconds, -kMaxSeconds, kMaxSeconds));
}

}  // namespace tarn
