// Compares media time with exact rational arithmetic for many random operands, also extreme ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <boost/multiprecision/cpp_int.hpp>
#include <cmath>
#include <numeric>
#include <random>

#include "Platform/MediaTime.h"
#include "Support/TimePrinter.h"

namespace {

using Integer = boost::multiprecision::int1024_t;

struct Rational {
  Integer numerator;
  Integer denominator;
};

Rational exactly(const CMTime& time) {
  return {time.value, time.timescale};
}

Rational exactly(double number) {
  int exponent = 0;
  const auto mantissa = static_cast<std::int64_t>(std::ldexp(std::frexp(number, &exponent), 53));
  exponent -= 53;
  Rational result{mantissa, 1};
  (exponent < 0 ? result.denominator : result.numerator) <<= std::abs(exponent);
  return result;
}

class Operands {
 public:
  CMTime time() { return CMTimeMake(value(), timescale()); }

  /// Nonzero; the exponents are large and small enough to make any product infinite or zero.
  double multiplier() {
    const double unit = std::uniform_real_distribution<double>(0.5, 1.0)(engine_);
    const int bits = below(3) == 0 ? 53 : static_cast<int>(below(8));
    const double shortened = std::ldexp(std::ceil(std::ldexp(unit, bits)), -bits);
    return std::ldexp(below(2) == 0 ? shortened : -shortened, static_cast<int>(below(320)) - 160);
  }

  std::uint64_t below(std::uint64_t limit) { return engine_() % limit; }

 private:
  CMTimeValue value() {
    static constexpr CMTimeValue kExtremes[] = {INT64_MIN, INT64_MAX, 0, 1, -1, CMTimeValue{1} << 62};
    if (below(8) == 0) return kExtremes[below(std::size(kExtremes))];
    return static_cast<CMTimeValue>(engine_()) >> below(64);
  }

  CMTimeScale timescale() {
    static constexpr std::array kUsual{1, 600, 1000, 24000, 30000, 44100, 90000, 2147483647, 2147483646};
    if (below(2) == 0) return kUsual[below(kUsual.size())];
    return static_cast<CMTimeScale>(1 + (below(0x7fffffff) >> below(31)));
  }

  std::mt19937_64 engine_{20240229};
};

/// `time` is the rounding of `exact` at one of `first`, `first` / 2, …: the first that can represent it.
void expectRounding(const CMTime& time, const Rational& exact, CMTimeScale first) {
  const Integer most = std::numeric_limits<CMTimeValue>::max();
  const auto isBeyond = [&](CMTimeScale timescale) {
    return abs(exact.numerator) * timescale >= most * exact.denominator;
  };
  if (!CMTIME_IS_NUMERIC(time)) {
    EXPECT_THAT(time, tarn::test::IdenticalTo(exact.numerator < 0 ? kCMTimeNegativeInfinity
                                                                  : kCMTimePositiveInfinity));
    EXPECT_TRUE(isBeyond(1));
    return;
  }
  for (; first > time.timescale; first /= 2)
    EXPECT_TRUE(isBeyond(first)) << "must not be halved at " << first;
  EXPECT_EQ(time.timescale, first);
  const Integer error = abs(exact.denominator * time.value - exact.numerator * time.timescale);
  EXPECT_LE(2 * error, exact.denominator);
  EXPECT_EQ(CMTIME_HAS_BEEN_ROUNDED(time), error != 0);
}

TEST(MediaTimePropertyTest, AddsSubtractsAndComparesAsRationalsDo) {
  Operands operands;
  for (int i = 0; i < 100'000 && !testing::Test::HasFailure(); ++i) {
    const CMTime a = operands.time();
    const CMTime b = operands.time();
    SCOPED_TRACE(CMTimeCopyDescription(a) + " with " + CMTimeCopyDescription(b));
    const Integer left = Integer(a.value) * b.timescale;
    const Integer right = Integer(b.value) * a.timescale;
    const Integer denominator = Integer(a.timescale) * b.timescale;
    const auto common = static_cast<CMTimeScale>(std::min(
        std::lcm<std::int64_t, std::int64_t>(a.timescale, b.timescale), std::int64_t{kCMTimeMaxTimescale}));
    expectRounding(CMTimeAdd(a, b), {left + right, denominator}, common);
    expectRounding(CMTimeSubtract(a, b), {left - right, denominator}, common);
    EXPECT_EQ(CMTimeCompare(a, b), left < right ? -1 : left > right ? 1 : 0);
  }
}

TEST(MediaTimePropertyTest, MultipliesAsRationalsDo) {
  Operands operands;
  for (int i = 0; i < 30'000 && !testing::Test::HasFailure(); ++i) {
    const CMTime time = operands.time();
    const double multiplier = operands.multiplier();
    SCOPED_TRACE(CMTimeCopyDescription(time) + " * " + std::to_string(multiplier));
    const auto [n1, d1] = exactly(time);
    const auto [n2, d2] = exactly(multiplier);
    const CMTime product = CMTimeMultiplyByFloat64(time, multiplier);
    const bool isMultiple = CMTIME_IS_NUMERIC(product) && product.timescale >= time.timescale;
    expectRounding(product, {n1 * n2, d1 * d2}, isMultiple ? product.timescale : time.timescale);
    EXPECT_TRUE(!isMultiple || product.timescale % time.timescale == 0);
  }
}

}  // namespace
