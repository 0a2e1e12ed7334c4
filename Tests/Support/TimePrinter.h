#pragma once

#include <gmock/gmock.h>

#include <ostream>

#include "Platform/MediaTime.h"

/// Prints times readably in failed tests.
void PrintTo(const CMTime& time, std::ostream* out);
void PrintTo(const CMTimeRange& range, std::ostream* out);

namespace tarn::test {

/// A time of whole ticks at timescale 600 from seconds.
[[nodiscard]] CMTime seconds(double value);

/// Equal by `CMTimeCompare`: 1/2 equals 2/4.
MATCHER_P(TimeEq, expected, "compares equal to " + CMTimeCopyDescription(expected)) {
  return arg == expected;
}

/// Equal in value, timescale, flags and epoch.
MATCHER_P(IdenticalTo, expected, "is identical to " + CMTimeCopyDescription(expected)) {
  return isIdentical(arg, expected);
}

/// A valid time of that many seconds.
MATCHER_P(SecondsEq, expected, "is " + ::testing::PrintToString(expected) + " s") {
  return CMTIME_IS_VALID(arg) && CMTimeGetSeconds(arg) == static_cast<double>(expected);
}

MATCHER(IsInvalidTime, "is the invalid time") {
  return CMTIME_IS_INVALID(arg);
}

}  // namespace tarn::test
