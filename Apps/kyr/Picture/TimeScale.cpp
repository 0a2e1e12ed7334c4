#include "Picture/TimeScale.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <cstdint>

namespace tarn::cli {
namespace {

constexpr double kPixelsPerTick = 110;
/// Beyond this, clock times are harder to read than powers of ten.
constexpr double kClockLimit = 1000.0 * 3600.0;

/// The smallest of 1, 2 and 5 times a power of ten that is not less than `least`.
double decimalStep(double least) {
  const double power = std::pow(10.0, std::floor(std::log10(least)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * power >= least) return factor * power;
  }
  return 10.0 * power;
}

double tickStep(double least) {
  constexpr std::array kClockSteps{1.0,   2.0,   5.0,    10.0,   15.0,   30.0,    60.0,    120.0,  300.0,
                                   600.0, 900.0, 1800.0, 3600.0, 7200.0, 10800.0, 21600.0, 43200.0};
  if (least < 1.0 || least > kClockSteps.back()) {
    return least < 1.0 ? decimalStep(least) : 3600.0 * decimalStep(least / 3600.0);
  }
  for (const double step : kClockSteps) {
    if (step >= least) return step;
  }
  return kClockSteps.back();
}

std::string tickLabel(double seconds, double step) {
  if (std::abs(seconds) >= kClockLimit) return fmt::format("{:.3g} h", seconds / 3600.0);
  if (step < 1.0) return fmt::format("{:g} s", seconds);
  const auto whole = static_cast<std::int64_t>(std::llround(std::abs(seconds)));
  return fmt::format("{}{}:{:02}:{:02}", seconds < 0 ? "-" : "", whole / 3600, whole / 60 % 60, whole % 60);
}

}  // namespace

std::vector<TimeScale::Tick> TimeScale::ticks() const {
  const double step = tickStep(span_.length() * kPixelsPerTick / width_);
  std::vector<Tick> result;
  const double first = std::ceil(span_.begin / step);
  const auto count = static_cast<int>(std::floor(span_.end / step) - first);
  for (int i = 0; i <= count; ++i) {
    const double seconds = (first + i) * step;
    result.push_back({x(seconds), tickLabel(seconds, step)});
  }
  return result;
}

}  // namespace tarn::cli
