#include "Platform/MediaTime.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>

#include "Support/TimePrinter.h"

namespace {

using namespace tarn::test;

constexpr CMTimeValue kMost = std::numeric_limits<CMTimeValue>::max();
constexpr CMTimeValue kLeast = std::numeric_limits<CMTimeValue>::min();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

constexpr CMTime at(CMTimeValue value, CMTimeScale timescale, CMTimeEpoch epoch = 0) {
  return {value, timescale, kCMTimeFlags_Valid, epoch};
}
constexpr CMTime rounded(CMTimeValue value, CMTimeScale timescale, CMTimeEpoch epoch = 0) {
  return {value, timescale, kCMTimeFlags_Valid | kCMTimeFlags_HasBeenRounded, epoch};
}

// The kinds of time in their order, one letter each: - infinity, numeric, ? indefinite, + infinity, x
// invalid.
constexpr std::string_view kKinds = "-ni+x";

std::vector<CMTime> timesOfKind(char kind) {
  switch (kind) {
    case '-':
      return {kCMTimeNegativeInfinity};
    case 'n':
      return {at(18000, 600)};
    case 'i':
      return {kCMTimeIndefinite};
    case '+':
      return {kCMTimePositiveInfinity};
    default:  // the last three are possible only in a struct filled by hand
      return {
          kCMTimeInvalid, {5, 600, 0, 0}, at(5, 0), at(5, -600), {0, 0, kCMTimeFlags_PositiveInfinity, 0}};
  }
}

char kindOf(const CMTime& time) {
  if (CMTIME_IS_INVALID(time)) return 'x';
  if (CMTIME_IS_NEGATIVE_INFINITY(time)) return '-';
  if (CMTIME_IS_POSITIVE_INFINITY(time)) return '+';
  return CMTIME_IS_INDEFINITE(time) ? 'i' : 'n';
}

/// Rows are the first operand's kind and columns the second's, both in the order of `kKinds`.
void expectKinds(const std::array<std::string_view, 5>& table,
                 const std::function<char(const CMTime&, const CMTime&)>& kindOfResult) {
  for (std::size_t row = 0; row < kKinds.size(); ++row) {
    for (std::size_t column = 0; column < kKinds.size(); ++column) {
      for (const CMTime& a : timesOfKind(kKinds[row])) {
        for (const CMTime& b : timesOfKind(kKinds[column])) {
          EXPECT_EQ(kindOfResult(a, b), table[row][column]) << kKinds[row] << " with " << kKinds[column];
        }
      }
    }
  }
}

TEST(MediaTimeTest, AddsSubtractsAndOrdersEveryKindWithEveryKind) {
  //           -infinity numeric indefinite +infinity invalid
  expectKinds({"---xx", "-ni+x", "-ii+x", "x+++x", "xxxxx"},
              [](auto& a, auto& b) { return kindOf(CMTimeAdd(a, b)); });
  expectKinds({"x---x", "+ni-x", "+ii-x", "+++xx", "xxxxx"},
              [](auto& a, auto& b) { return kindOf(CMTimeSubtract(a, b)); });
  expectKinds({"=<<<<", ">=<<<", ">>=<<", ">>>=<", ">>>>="},
              [](auto& a, auto& b) { return "<=>"[CMTimeCompare(a, b) + 1]; });
}

TEST(MediaTimeTest, AddsAndSubtracts) {
  constexpr CMTimeScale kPrime = kCMTimeMaxTimescale;
  // The two times, their sum and their difference.
  const std::tuple<const char*, CMTime, CMTime, CMTime, CMTime> table[] = {
      {"ZeroKeepsTheOthersTimescale", at(18000, 600), kCMTimeZero, at(18000, 600), at(18000, 600)},
      {"HalfRoundsAwayFromZero",  // 1/2 s is half a tick at the largest timescale
       at(1, 2), at(0, kPrime), rounded(1073741824, kPrime), rounded(1073741824, kPrime)},
      {"NegativeHalfRoundsAwayFromZero", at(-1, 2), at(0, kPrime), rounded(-1073741824, kPrime),
       rounded(-1073741824, kPrime)},
      {"OverflowHalvesTheTimescale", at(kMost, 600), at(2, 600), rounded((CMTimeValue{1} << 62) + 1, 300),
       at(kMost - 2, 600)},
      {"NegativeOverflowAtOneIsInfinite", at(kLeast, 1), at(kLeast, 1), kCMTimeNegativeInfinity, at(0, 1)},
      {"LeastValueFits", at(kLeast + 1, 1), at(-1, 1), at(kLeast, 1), at(kLeast + 2, 1)},
      {"RoundedIsInheritedAcrossTimescales", at(1, 300), rounded(2, 600), rounded(4, 600), rounded(0, 600)},
      {"EpochZeroTakesOnTheOther", at(5, 600, 7), at(2, 600), at(7, 600, 7), at(3, 600, 7)},
      {"SameEpochSubtractsToADuration", at(5, 600, 7), at(2, 600, 7), at(7, 600, 7), at(3, 600)},
      {"DifferentEpochsDoNotMix", at(5, 600, 7), at(2, 600, 8), kCMTimeInvalid, kCMTimeInvalid}};
  for (const auto& [name, a, b, sum, difference] : table) {
    SCOPED_TRACE(name);
    for (const CMTime& actual : {CMTimeAdd(a, b), CMTimeAdd(b, a), CMTimeRangeGetEnd(CMTimeRangeMake(a, b))})
      EXPECT_THAT(actual, IdenticalTo(sum));
    EXPECT_THAT(CMTimeSubtract(a, b), IdenticalTo(difference));
  }
}

TEST(MediaTimeTest, ComparesExactValuesWithinAnEpoch) {
  EXPECT_EQ(CMTimeCompare(at(1, 2), at(2, 4)), 0);
  EXPECT_EQ(CMTimeCompare(at(1, 600), rounded(1, 600)), 0);
  constexpr CMTimeScale kPrime = kCMTimeMaxTimescale;
  constexpr CMTimeScale kOtherPrime = 2147483629;
  // A double could not distinguish these.
  EXPECT_EQ(CMTimeCompare(at(kMost, kPrime), at(kMost, kOtherPrime)), -1);
  EXPECT_EQ(CMTimeCompare(at(kLeast, 1), at(kMost, kPrime)), -1);
  EXPECT_EQ(CMTimeCompare(at(9, 600, 1), at(1, 600, 2)), -1);
  EXPECT_EQ(CMTimeCompare(at(1, 600, 0), at(9, 600, -1)), 1);
}

TEST(MediaTimeTest, MakesTimesFromTicksAndSecondsAtPositiveTimescales) {
  EXPECT_THAT(CMTimeMake(1, 0), IsInvalidTime());
  EXPECT_THAT(CMTimeMake(1, -600), IsInvalidTime());
  const double huge = std::ldexp(1.0, 60);
  for (const auto& [seconds, timescale, time] : std::vector<std::tuple<double, CMTimeScale, CMTime>>{
           {65.5, 600, at(39300, 600)},
           {0.1, 600, at(60, 600)},  // the product of the doubles is whole
           {-0.0, 600, at(0, 600)},
           {1.0 / 1024, 600, rounded(1, 600)},
           {0.5, 1, rounded(1, 1)},
           {-0.5, 1, rounded(-1, 1)},
           {0.49999999999999994, 1, rounded(0, 1)},
           {huge, 600, at(CMTimeValue{1} << 62, 4)},
           {-8 * huge, 600, at(kLeast, 1)},
           {8 * huge, 600, kCMTimePositiveInfinity},
           {-1e300, 1, kCMTimeNegativeInfinity},
           {kInfinity, 600, kCMTimePositiveInfinity},
           {-kInfinity, 600, kCMTimeNegativeInfinity},
           {kNaN, 600, kCMTimeInvalid},
           {1.0, 0, kCMTimeInvalid},
       }) {
    EXPECT_THAT(CMTimeMakeWithSeconds(seconds, timescale), IdenticalTo(time))
        << seconds << " at " << timescale;
  }
}

TEST(MediaTimeTest, ReadsBackSeconds) {
  EXPECT_EQ(CMTimeGetSeconds(at(39300, 600)), 65.5);
  EXPECT_EQ(CMTimeGetSeconds(at(kLeast, 1)), -std::ldexp(1.0, 63));
  constexpr CMTimeValue kNoDouble = (CMTimeValue{1} << 53) + 1;
  EXPECT_EQ(CMTimeGetSeconds(at(kNoDouble, 1)), CMTimeGetSeconds(at(3 * kNoDouble, 3)));
  EXPECT_EQ(CMTimeGetSeconds(kCMTimePositiveInfinity), kInfinity);
  EXPECT_EQ(CMTimeGetSeconds(kCMTimeNegativeInfinity), -kInfinity);
  for (const CMTime& time : {kCMTimeInvalid, kCMTimeIndefinite, at(1, 0), at(1, -1)}) {
    EXPECT_TRUE(std::isnan(CMTimeGetSeconds(time))) << CMTimeCopyDescription(time);
  }
}

TEST(MediaTimeTest, MultipliesByADouble) {
  const auto maxMultipleOf600 = kCMTimeMaxTimescale / 600 * 600;
  for (const auto& [time, multiplier, product] : std::vector<std::tuple<CMTime, double, CMTime>>{
           {at(18000, 600), 0.5, at(9000, 600)},
           {at(18000, 600), 0.0, at(0, 600)},
           {at(0, 600), 1e308, at(0, 600)},
           {at(1, 600), 0.5, at(1, 1200)},  // no longer whole: the timescale doubles
           {at(-3, 600), 0.125, at(-3, 4800)},
           // Not exact in any timescale: 0.1 is not a tenth.
           {at(18000, 600), 0.1, rounded(CMTimeValue{3} * maxMultipleOf600, maxMultipleOf600)},
           {at(1, 600), std::numeric_limits<double>::denorm_min(), rounded(0, maxMultipleOf600)},
           {at(1, 1 << 30), 0.5, rounded(1, 1 << 30)},  // the tie leaves zero
           {at(-1, 1 << 30), 0.5, rounded(-1, 1 << 30)},
           {at(kLeast, 1), 1.0, at(kLeast, 1)},
           {at(kLeast, 1), -1.0, kCMTimePositiveInfinity},
           {rounded(600, 600), 2.0, rounded(1200, 600)},
           {at(600, 600, 3), 2.0, at(1200, 600, 3)},
           {at(-1, 600), kInfinity, kCMTimeNegativeInfinity},
           {at(0, 600), kInfinity, kCMTimeInvalid},
           {at(1, 600), kNaN, kCMTimeInvalid},
           {kCMTimePositiveInfinity, -2.0, kCMTimeNegativeInfinity},
           {kCMTimeNegativeInfinity, -kInfinity, kCMTimePositiveInfinity},
           {kCMTimePositiveInfinity, 0.0, kCMTimeInvalid},
           {kCMTimePositiveInfinity, kNaN, kCMTimeInvalid},
           {kCMTimeIndefinite, 2.0, kCMTimeIndefinite},
           {kCMTimeIndefinite, kNaN, kCMTimeInvalid},
           {kCMTimeInvalid, 2.0, kCMTimeInvalid},
           {at(1, 0), 2.0, kCMTimeInvalid},
       }) {
    EXPECT_THAT(CMTimeMultiplyByFloat64(time, multiplier), IdenticalTo(product))
        << CMTimeCopyDescription(time) << " * " << multiplier;
  }
}

TEST(MediaTimeTest, DescribesTimesAsText) {
  std::string all;
  for (const CMTime& time : {at(18000, 600), rounded(-1, 3, -4), at(1, 0), kCMTimePositiveInfinity,
                             kCMTimeNegativeInfinity, kCMTimeIndefinite})
    all += CMTimeCopyDescription(time);
  EXPECT_EQ(all,
            "{18000/600 = 30.000}{-1/3 = -0.333, rounded, epoch = -4}{INVALID}{+INFINITY}{-INFINITY}"
            "{INDEFINITE}");
}

}  // namespace
