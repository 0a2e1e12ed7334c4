#pragma once

#include <compare>
#include <cstdint>
#include <string>

/// Media time: a rational number of seconds, value / timescale, which keeps audio and video positions exact;
/// floating-point seconds accumulate errors.
///
/// A time is one of: invalid (the valid flag is clear, whatever the other fields hold), numeric, indefinite,
/// or an infinity. A numeric time whose timescale is not positive, which is possible only in a struct filled
/// by hand, is invalid in every operation. All operations are pure functions, safe on any thread; none
/// throws, none allocates except `CMTimeCopyDescription`. Intermediate results are 128 bits and wider, so a
/// result is exact unless its has-been-rounded flag says otherwise.

using CMTimeValue = std::int64_t;
using CMTimeScale = std::int32_t;
using CMTimeEpoch = std::int64_t;
using CMTimeFlags = std::uint32_t;

inline constexpr CMTimeFlags kCMTimeFlags_Valid = 1U << 0U;
inline constexpr CMTimeFlags kCMTimeFlags_HasBeenRounded = 1U << 1U;
inline constexpr CMTimeFlags kCMTimeFlags_PositiveInfinity = 1U << 2U;
inline constexpr CMTimeFlags kCMTimeFlags_NegativeInfinity = 1U << 3U;
inline constexpr CMTimeFlags kCMTimeFlags_Indefinite = 1U << 4U;
inline constexpr CMTimeFlags kCMTimeFlags_ImpliedValueFlagsMask =
    kCMTimeFlags_PositiveInfinity | kCMTimeFlags_NegativeInfinity | kCMTimeFlags_Indefinite;

inline constexpr CMTimeScale kCMTimeMaxTimescale = 0x7fffffff;

/// A default-constructed time is all zero and therefore invalid: the system's value for "no time".
struct CMTime {
  CMTimeValue value = 0;
  CMTimeScale timescale = 0;  ///< Ticks per second; meaningful for numeric times only, and then positive.
  CMTimeFlags flags = 0;
  CMTimeEpoch epoch = 0;  ///< Distinguishes equal times of different loops or runs; 0 for durations.
};

/// `duration` from `start`; the span is half-open.
struct CMTimeRange {
  CMTime start;
  CMTime duration;
};

inline constexpr CMTime kCMTimeInvalid{};
inline constexpr CMTime kCMTimeZero{0, 1, kCMTimeFlags_Valid, 0};
inline constexpr CMTime kCMTimeIndefinite{0, 0, kCMTimeFlags_Valid | kCMTimeFlags_Indefinite, 0};
inline constexpr CMTime kCMTimePositiveInfinity{0, 0, kCMTimeFlags_Valid | kCMTimeFlags_PositiveInfinity, 0};
inline constexpr CMTime kCMTimeNegativeInfinity{0, 0, kCMTimeFlags_Valid | kCMTimeFlags_NegativeInfinity, 0};

[[nodiscard]] constexpr bool CMTIME_IS_VALID(const CMTime& time) {
  return (time.flags & kCMTimeFlags_Valid) != 0;
}
[[nodiscard]] constexpr bool CMTIME_IS_INVALID(const CMTime& time) {
  return !CMTIME_IS_VALID(time);
}
[[nodiscard]] constexpr bool CMTIME_IS_POSITIVE_INFINITY(const CMTime& time) {
  return CMTIME_IS_VALID(time) && (time.flags & kCMTimeFlags_PositiveInfinity) != 0;
}
[[nodiscard]] constexpr bool CMTIME_IS_NEGATIVE_INFINITY(const CMTime& time) {
  return CMTIME_IS_VALID(time) && (time.flags & kCMTimeFlags_NegativeInfinity) != 0;
}
[[nodiscard]] constexpr bool CMTIME_IS_INDEFINITE(const CMTime& time) {
  return CMTIME_IS_VALID(time) && (time.flags & kCMTimeFlags_Indefinite) != 0;
}
[[nodiscard]] constexpr bool CMTIME_IS_NUMERIC(const CMTime& time) {
  return (time.flags & (kCMTimeFlags_Valid | kCMTimeFlags_ImpliedValueFlagsMask)) == kCMTimeFlags_Valid;
}
[[nodiscard]] constexpr bool CMTIME_HAS_BEEN_ROUNDED(const CMTime& time) {
  return CMTIME_IS_NUMERIC(time) && (time.flags & kCMTimeFlags_HasBeenRounded) != 0;
}

/// A valid time of `value` / `timescale` seconds; invalid when `timescale` is not positive.
[[nodiscard]] CMTime CMTimeMake(CMTimeValue value, CMTimeScale timescale);

/// `seconds` rounded, half away from zero, to a whole number of ticks of `preferredTimescale`.
///
/// The timescale is halved until the value fits 64 bits; a value that does not fit at timescale 1 is an
/// infinity. Not-a-number, or a timescale that is not positive, gives the invalid time. Has-been-rounded
/// means that the ticks differ from the product of seconds and timescale.
[[nodiscard]] CMTime CMTimeMakeWithSeconds(double seconds, CMTimeScale preferredTimescale);

/// The nearest double, for values of up to 53 bits (within one unit in the last place beyond); the same for
/// times that compare equal. NaN for invalid and indefinite times, ±infinity for the infinities.
[[nodiscard]] double CMTimeGetSeconds(CMTime time);

/// The sum, in the least common timescale of both operands.
///
/// A common timescale beyond `kCMTimeMaxTimescale` becomes that maximum; a value beyond 64 bits halves the
/// timescale until it fits, and is an infinity if it does not fit at 1. Both set has-been-rounded if digits
/// were lost; an operand's flag is kept. An invalid operand gives the invalid time; an infinity and any valid
/// time give that infinity, opposite infinities the invalid time; otherwise an indefinite operand gives
/// indefinite. Times of two different nonzero epochs give the invalid time; otherwise the result has the
/// nonzero epoch, if there is one.
[[nodiscard]] CMTime CMTimeAdd(CMTime addend1, CMTime addend2);

/// As `CMTimeAdd`, for the difference; times of the same nonzero epoch give a duration with epoch 0, and two
/// equal infinities the invalid time.
[[nodiscard]] CMTime CMTimeSubtract(CMTime minuend, CMTime subtrahend);

/// -1, 0 or 1. A total order: -infinity < numeric < indefinite < +infinity < invalid; numeric times by epoch
/// first, then by their exact rational value. Times of one non-numeric kind are equal.
[[nodiscard]] int CMTimeCompare(CMTime time1, CMTime time2);

/// The order of `CMTimeCompare`: equivalent times, such as 1/2 and 2/4, are equal without being identical.
[[nodiscard]] inline std::weak_ordering operator<=>(const CMTime& a, const CMTime& b) {
  return CMTimeCompare(a, b) <=> 0;
}
[[nodiscard]] inline bool operator==(const CMTime& a, const CMTime& b) {
  return CMTimeCompare(a, b) == 0;
}

/// The product of the time and the exact value of the double, in the time's epoch.
///
/// Its timescale is the time's own if the product is a whole number of its ticks; else the time's own doubled
/// until it is; else, with the product rounded (half away from zero) and flagged so, the largest multiple of
/// the time's own that `kCMTimeMaxTimescale` and a 64-bit value allow, so that 30 s at 600 times 0.1 is 3.0 s
/// and still has a common timescale with times of 600. A product beyond 64 bits halves the timescale as in
/// `CMTimeAdd`.
///
/// Infinite times take the sign of the product, and give the invalid time for 0; a numeric time
/// times an infinity is an infinity by sign, and invalid when the time is 0; indefinite stays indefinite; NaN
/// and an invalid time give the invalid time.
[[nodiscard]] CMTime CMTimeMultiplyByFloat64(CMTime time, double multiplier);

[[nodiscard]] CMTimeRange CMTimeRangeMake(CMTime start, CMTime duration);

/// The end of the range, which is not in it: start + duration.
[[nodiscard]] CMTime CMTimeRangeGetEnd(CMTimeRange range);

/// For people, for example "{18000/600 = 30.000}" or "{+INFINITY}".
[[nodiscard]] std::string CMTimeCopyDescription(CMTime time);

namespace tarn {

/// The same value, timescale, flags and epoch: stricter than `CMTimeCompare`: 1/2 and 2/4 are equal but not
/// identical.
[[nodiscard]] constexpr bool isIdentical(const CMTime& a, const CMTime& b) {
  return a.value == b.value && a.timescale == b.timescale && a.flags == b.flags && a.epoch == b.epoch;
}

}  // namespace tarn
