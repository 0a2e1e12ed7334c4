#include "Platform/MediaTime.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>

namespace {

__extension__ typedef __int128 Int128;
__extension__ typedef unsigned __int128 UInt128;

constexpr UInt128 kMaxMagnitude = std::numeric_limits<CMTimeValue>::max();

/// In ascending order.
enum class Kind { negativeInfinity, numeric, indefinite, positiveInfinity, invalid };

Kind kindOf(const CMTime& time) {
  if (CMTIME_IS_INVALID(time)) return Kind::invalid;
  if (CMTIME_IS_POSITIVE_INFINITY(time)) return Kind::positiveInfinity;
  if (CMTIME_IS_NEGATIVE_INFINITY(time)) return Kind::negativeInfinity;
  if (CMTIME_IS_INDEFINITE(time)) return Kind::indefinite;
  return time.timescale > 0 ? Kind::numeric : Kind::invalid;
}

/// The common case, which needs no wider arithmetic: both numeric, the same timescale, no epoch.
bool shareTicks(const CMTime& a, const CMTime& b) {
  return (a.flags & b.flags & kCMTimeFlags_Valid) != 0 &&
         ((a.flags | b.flags) & kCMTimeFlags_ImpliedValueFlagsMask) == 0 && a.timescale == b.timescale &&
         a.timescale > 0 && (a.epoch | b.epoch) == 0;
}

CMTimeFlags numericFlags(CMTimeFlags operands, bool exact = true) {
  const CMTimeFlags rounded = exact ? operands & kCMTimeFlags_HasBeenRounded : kCMTimeFlags_HasBeenRounded;
  return kCMTimeFlags_Valid | rounded;
}

UInt128 magnitudeOf(Int128 value) {
  return value < 0 ? -static_cast<UInt128>(value) : static_cast<UInt128>(value);
}

/// ±magnitude / (divisor * 2^shift) seconds, exactly. The magnitude is below 2^117, so its product with any
/// timescale, over the divisor, fits the arithmetic of `ticksAt`.
struct Seconds {
  bool negative = false;
  UInt128 magnitude = 0;
  std::uint64_t divisor = 1;
  int shift = 0;
};

struct Ticks {
  CMTimeValue value = 0;
  bool exact = true;
};

/// Rounds half away from zero; absent beyond 64 bits.
std::optional<Ticks> ticksAt(const Seconds& seconds, CMTimeScale timescale) {
  // magnitude * timescale needs up to 148 bits: high * 2^32 + low.
  constexpr UInt128 kLowMask = 0xffffffffU;
  const auto scale = static_cast<UInt128>(timescale);
  const UInt128 lowProduct = (seconds.magnitude & kLowMask) * scale;
  const UInt128 high = (seconds.magnitude >> 32) * scale + (lowProduct >> 32);
  const UInt128 low = lowProduct & kLowMask;

  // To round at half a divisor, twice the product over 2^shift, truncated to a whole number, is enough.
  UInt128 doubled = 0;
  bool exact = true;
  if (seconds.shift <= 33) {
    if ((high >> 94) >> seconds.shift != 0) return std::nullopt;
    doubled = (high << (33 - seconds.shift)) + ((low << 1) >> seconds.shift);
    exact = ((low << 1) & ((UInt128{1} << seconds.shift) - 1)) == 0;
  } else {
    const int shift = std::min(seconds.shift - 33, 127);
    doubled = high >> shift;
    exact = low == 0 && (high & ((UInt128{1} << shift) - 1)) == 0;
  }

  const UInt128 divisor = seconds.divisor;
  const UInt128 magnitude = (doubled + divisor) / (2 * divisor);
  if (magnitude > kMaxMagnitude + (seconds.negative ? 1 : 0)) return std::nullopt;
  exact = exact && magnitude * 2 * divisor == doubled;
  const Int128 value = seconds.negative ? -static_cast<Int128>(magnitude) : static_cast<Int128>(magnitude);
  return Ticks{static_cast<CMTimeValue>(value), exact};
}

CMTime numericTime(const Ticks& ticks, CMTimeScale timescale, CMTimeFlags operandFlags, CMTimeEpoch epoch) {
  return {ticks.value, timescale, numericFlags(operandFlags, ticks.exact), epoch};
}

/// In `timescale`, halved until the value fits; an infinity when it does not fit at 1. Every attempt rounds
/// the exact seconds, so halving accumulates no errors.
CMTime fittedTime(const Seconds& seconds, CMTimeScale timescale, CMTimeFlags operandFlags,
                  CMTimeEpoch epoch) {
  for (; timescale > 0; timescale /= 2) {
    if (const auto ticks = ticksAt(seconds, timescale)) {
      return numericTime(*ticks, timescale, operandFlags, epoch);
    }
  }
  return seconds.negative ? kCMTimeNegativeInfinity : kCMTimePositiveInfinity;
}

/// Reduced if the value has more bits than a double holds, so that equal times are the same double.
double numericSeconds(const CMTime& time) {
  constexpr UInt128 kMaxExact = UInt128{1} << std::numeric_limits<double>::digits;
  const auto magnitude = static_cast<std::uint64_t>(magnitudeOf(time.value));
  if (magnitude <= kMaxExact) return static_cast<double>(time.value) / time.timescale;
  const auto divisor = static_cast<std::int64_t>(std::gcd(magnitude, std::uint64_t(time.timescale)));
  const std::int64_t value = time.value / divisor;
  const std::int64_t timescale = time.timescale / divisor;
  return static_cast<double>(value) / static_cast<double>(timescale);
}

/// a + sign * b of numeric times, in their least common timescale.
CMTime combineNumeric(const CMTime& a, const CMTime& b, int sign, CMTimeEpoch epoch) {
  const std::int64_t divisor = std::gcd(a.timescale, b.timescale);
  const std::int64_t aFactor = b.timescale / divisor;
  const std::int64_t bFactor = a.timescale / divisor;
  const std::int64_t common = aFactor * a.timescale;
  const Int128 sum = static_cast<Int128>(a.value) * aFactor + static_cast<Int128>(b.value) * bFactor * sign;
  if (common <= kCMTimeMaxTimescale && sum == static_cast<CMTimeValue>(sum)) {
    return numericTime({static_cast<CMTimeValue>(sum), true}, static_cast<CMTimeScale>(common),
                       a.flags | b.flags, epoch);
  }
  const Seconds seconds{sum < 0, magnitudeOf(sum), static_cast<std::uint64_t>(common), 0};
  const auto timescale = static_cast<CMTimeScale>(std::min<std::int64_t>(common, kCMTimeMaxTimescale));
  return fittedTime(seconds, timescale, a.flags | b.flags, epoch);
}

/// The sum of two kinds of which at least one is not numeric.
CMTime combineKinds(Kind a, Kind b) {
  const auto either = [&](Kind kind) { return a == kind || b == kind; };
  if (either(Kind::invalid)) return kCMTimeInvalid;
  const bool positive = either(Kind::positiveInfinity);
  const bool negative = either(Kind::negativeInfinity);
  if (positive && negative) return kCMTimeInvalid;
  if (positive) return kCMTimePositiveInfinity;
  if (negative) return kCMTimeNegativeInfinity;
  return kCMTimeIndefinite;
}

Kind negated(Kind kind) {
  if (kind == Kind::positiveInfinity) return Kind::negativeInfinity;
  if (kind == Kind::negativeInfinity) return Kind::positiveInfinity;
  return kind;
}

CMTime infinityOfSign(bool negative) {
  return negative ? kCMTimeNegativeInfinity : kCMTimePositiveInfinity;
}

/// `time` * `multiplier` seconds, or absent if no timescale can represent it. Both are nonzero and finite.
/// The magnitude is odd unless the product is whole in the time's own timescale (shift 0).
std::optional<Seconds> exactProduct(const CMTime& time, double multiplier) {
  constexpr int kMantissaBits = std::numeric_limits<double>::digits;
  int exponent = 0;
  const double fraction = std::frexp(std::fabs(multiplier), &exponent);
  auto mantissa = static_cast<std::uint64_t>(std::ldexp(fraction, kMantissaBits));
  auto value = static_cast<std::uint64_t>(magnitudeOf(time.value));
  const int mantissaZeros = std::countr_zero(mantissa);
  const int valueZeros = std::countr_zero(value);
  mantissa >>= mantissaZeros;
  value >>= valueZeros;
  exponent += mantissaZeros + valueZeros - kMantissaBits;

  Seconds product{(time.value < 0) != (multiplier < 0), UInt128{mantissa} * value,
                  static_cast<std::uint64_t>(time.timescale), std::max(-exponent, 0)};
  if (exponent > 0) {
    // 97 bits hold at least 2^95, which at the largest timescale are 2^64 seconds.
    if (static_cast<int>(std::bit_width(mantissa)) + static_cast<int>(std::bit_width(value)) + exponent >
        96) {
      return std::nullopt;
    }
    product.magnitude <<= exponent;
  }
  return product;
}

/// The largest multiple of `timescale` at which `seconds` fit; 0 when there is none.
CMTimeScale finestMultiple(const Seconds& seconds, CMTimeScale timescale) {
  CMTimeScale fits = 0;
  CMTimeScale candidate = kCMTimeMaxTimescale / timescale;
  CMTimeScale limit = candidate;
  while (fits < limit) {
    if (ticksAt(seconds, candidate * timescale)) {
      fits = candidate;
    } else {
      limit = candidate - 1;
    }
    candidate = fits + (limit - fits + 1) / 2;
  }
  return fits * timescale;
}

CMTime multiplyNumeric(const CMTime& time, double multiplier) {
  if (time.value == 0 || multiplier == 0.0) {
    return {0, time.timescale, numericFlags(time.flags), time.epoch};
  }
  const auto product = exactProduct(time, multiplier);
  if (!product) return infinityOfSign((time.value < 0) != (multiplier < 0));

  CMTimeScale timescale = time.timescale;
  if (product->shift > 0) {
    const bool hasExactTimescale =
        product->shift < 31 && timescale <= (kCMTimeMaxTimescale >> product->shift);
    if (hasExactTimescale) {
      const CMTimeScale exactTimescale = timescale << product->shift;
      if (const auto ticks = ticksAt(*product, exactTimescale)) {
        return numericTime(*ticks, exactTimescale, time.flags, time.epoch);
      }
    }
    timescale = std::max(timescale, finestMultiple(*product, timescale));
  }
  return fittedTime(*product, timescale, time.flags, time.epoch);
}

}  // namespace

CMTime CMTimeMake(CMTimeValue value, CMTimeScale timescale) {
  if (timescale <= 0) return kCMTimeInvalid;
  return {value, timescale, kCMTimeFlags_Valid, 0};
}

CMTime CMTimeMakeWithSeconds(double seconds, CMTimeScale preferredTimescale) {
  if (std::isnan(seconds) || preferredTimescale <= 0) return kCMTimeInvalid;
  constexpr double kLimit = 9223372036854775808.0;  // 2^63
  for (CMTimeScale timescale = preferredTimescale; timescale > 0; timescale /= 2) {
    const double product = seconds * timescale;
    if (!(product >= -kLimit && product < kLimit)) continue;
    const double ticks = std::round(product);
    return {static_cast<CMTimeValue>(ticks), timescale, numericFlags(0, ticks == product), 0};
  }
  return infinityOfSign(seconds < 0);
}

double CMTimeGetSeconds(CMTime time) {
  switch (kindOf(time)) {
    case Kind::numeric:
      return numericSeconds(time);
    case Kind::positiveInfinity:
      return std::numeric_limits<double>::infinity();
    case Kind::negativeInfinity:
      return -std::numeric_limits<double>::infinity();
    case Kind::indefinite:
    case Kind::invalid:
      break;
  }
  return std::numeric_limits<double>::quiet_NaN();
}

CMTime CMTimeAdd(CMTime addend1, CMTime addend2) {
  CMTimeValue sum = 0;
  if (shareTicks(addend1, addend2) && !__builtin_add_overflow(addend1.value, addend2.value, &sum)) {
    return {sum, addend1.timescale, numericFlags(addend1.flags | addend2.flags), 0};
  }
  const Kind kind1 = kindOf(addend1);
  const Kind kind2 = kindOf(addend2);
  if (kind1 != Kind::numeric || kind2 != Kind::numeric) return combineKinds(kind1, kind2);
  if (addend1.epoch != addend2.epoch && addend1.epoch != 0 && addend2.epoch != 0) return kCMTimeInvalid;
  return combineNumeric(addend1, addend2, 1, addend1.epoch != 0 ? addend1.epoch : addend2.epoch);
}

CMTime CMTimeSubtract(CMTime minuend, CMTime subtrahend) {
  CMTimeValue difference = 0;
  if (shareTicks(minuend, subtrahend) &&
      !__builtin_sub_overflow(minuend.value, subtrahend.value, &difference)) {
    return {difference, minuend.timescale, numericFlags(minuend.flags | subtrahend.flags), 0};
  }
  const Kind kind1 = kindOf(minuend);
  const Kind kind2 = kindOf(subtrahend);
  if (kind1 != Kind::numeric || kind2 != Kind::numeric) return combineKinds(kind1, negated(kind2));
  if (minuend.epoch == subtrahend.epoch) return combineNumeric(minuend, subtrahend, -1, 0);
  if (minuend.epoch != 0 && subtrahend.epoch != 0) return kCMTimeInvalid;
  return combineNumeric(minuend, subtrahend, -1, minuend.epoch != 0 ? minuend.epoch : subtrahend.epoch);
}

int CMTimeCompare(CMTime time1, CMTime time2) {
  const auto order = [](auto a, auto b) { return a < b ? -1 : a > b ? 1 : 0; };
  if (shareTicks(time1, time2)) return order(time1.value, time2.value);
  const Kind kind1 = kindOf(time1);
  const Kind kind2 = kindOf(time2);
  if (kind1 != kind2) return order(kind1, kind2);
  if (kind1 != Kind::numeric) return 0;
  if (time1.epoch != time2.epoch) return order(time1.epoch, time2.epoch);
  return order(static_cast<Int128>(time1.value) * time2.timescale,
               static_cast<Int128>(time2.value) * time1.timescale);
}

CMTime CMTimeMultiplyByFloat64(CMTime time, double multiplier) {
  const Kind kind = kindOf(time);
  if (kind == Kind::invalid || std::isnan(multiplier)) return kCMTimeInvalid;
  if (kind == Kind::indefinite) return kCMTimeIndefinite;
  if (kind == Kind::numeric && std::isfinite(multiplier)) return multiplyNumeric(time, multiplier);

  const bool zeroTimesInfinity = multiplier == 0.0 || (kind == Kind::numeric && time.value == 0);
  if (zeroTimesInfinity) return kCMTimeInvalid;
  const bool timeIsNegative = kind == Kind::negativeInfinity || (kind == Kind::numeric && time.value < 0);
  return infinityOfSign(timeIsNegative != (multiplier < 0));
}

CMTimeRange CMTimeRangeMake(CMTime start, CMTime duration) {
  return {start, duration};
}

CMTime CMTimeRangeGetEnd(CMTimeRange range) {
  return CMTimeAdd(range.start, range.duration);
}

std::string CMTimeCopyDescription(CMTime time) {
  switch (kindOf(time)) {
    case Kind::positiveInfinity:
      return "{+INFINITY}";
    case Kind::negativeInfinity:
      return "{-INFINITY}";
    case Kind::indefinite:
      return "{INDEFINITE}";
    case Kind::invalid:
      return "{INVALID}";
    case Kind::numeric:
      break;
  }
  auto text = fmt::format("{{{}/{} = {:.3f}", time.value, time.timescale, CMTimeGetSeconds(time));
  if (CMTIME_HAS_BEEN_ROUNDED(time)) text += ", rounded";
  if (time.epoch != 0) text += fmt::format(", epoch = {}", time.epoch);
  return text + "}";
}
