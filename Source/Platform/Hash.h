#pragma once

#include <cmath>
#include <cstdint>

#include "Platform/MediaTime.h"

namespace tarn {

/// Folds the next field's hash into `hash`, in unsigned 64-bit arithmetic with wrap-around.
[[nodiscard]] constexpr std::uint64_t foldHash(std::uint64_t hash, std::uint64_t next) {
  return 31 * hash + next;
}

/// `seconds` truncated toward zero to an unsigned integer. A value that does not fit (negative, not a number,
/// too large) gives 0, so that equal times have equal hashes.
[[nodiscard]] inline std::uint64_t truncateToHash(double seconds) {
  constexpr double kLimit = 18446744073709551616.0;
  if (!(seconds >= 0.0) || seconds >= kLimit) return 0;
  return static_cast<std::uint64_t>(seconds);
}

/// Times that compare equal have the same hash.
[[nodiscard]] inline std::uint64_t hashOfTime(const CMTime& time) {
  return truncateToHash(CMTimeGetSeconds(time));
}

}  // namespace tarn
