#include "Lumo/Internal/TimeList.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace tarn {
namespace {

__extension__ typedef __int128 Int128;

bool isEarlier(const CMTime& a, const CMTime& b) {
  return a < b;
}

/// Comparable by value and timescale alone.
bool isPlain(const CMTime& time) {
  return CMTIME_IS_NUMERIC(time) && time.timescale > 0 && time.epoch == 0;
}

std::int64_t clamp(Int128 value) {
  constexpr Int128 kMin = std::numeric_limits<std::int64_t>::min();
  constexpr Int128 kMax = std::numeric_limits<std::int64_t>::max();
  return static_cast<std::int64_t>(std::clamp(value, kMin, kMax));
}

/// The greatest whole number of ticks that is not later than `time`.
Int128 floorTicks(const CMTime& time, CMTimeScale timescale) {
  if (time.timescale == timescale) return time.value;
  const Int128 product = static_cast<Int128>(time.value) * timescale;
  const Int128 quotient = product / time.timescale;
  return quotient * time.timescale > product ? quotient - 1 : quotient;
}

/// The smallest whole number of ticks that is not earlier than `time`.
Int128 ceilTicks(const CMTime& time, CMTimeScale timescale) {
  const Int128 floor = floorTicks(time, timescale);
  const bool whole = floor * time.timescale == static_cast<Int128>(time.value) * timescale;
  return whole ? floor : floor + 1;
}

template <typename T>
auto at(const std::vector<T>& list, std::size_t place) {
  return list.begin() + static_cast<std::ptrdiff_t>(place);
}

}  // namespace

void TimeList::close() {
  ascends_ = std::is_sorted(times_.begin(), times_.end(), isEarlier);
  if (ascends_) makeTicks();
}

void TimeList::makeTicks() {
  if (!std::all_of(times_.begin(), times_.end(), isPlain)) return;
  for (const auto& time : times_) timescale_ = std::max(timescale_, time.timescale);
  std::vector<std::int64_t> ticks;
  ticks.reserve(times_.size());
  for (const auto& time : times_) {
    const Int128 whole = static_cast<Int128>(time.value) * (timescale_ / time.timescale);
    if (timescale_ % time.timescale != 0 || whole != clamp(whole)) return;
    ticks.push_back(static_cast<std::int64_t>(whole));
  }
  ticks_ = std::move(ticks);
}

std::size_t TimeList::firstNotEarlier(CMTime time, std::size_t from, std::size_t to) const {
  if (ticks_.empty() || !isPlain(time)) {
    return static_cast<std::size_t>(std::lower_bound(at(times_, from), at(times_, to), time, isEarlier) -
                                    times_.begin());
  }
  const Int128 ticks = ceilTicks(time, timescale_);
  if (ticks > std::numeric_limits<std::int64_t>::max()) return to;
  return static_cast<std::size_t>(std::lower_bound(at(ticks_, from), at(ticks_, to), clamp(ticks)) -
                                  ticks_.begin());
}

std::size_t TimeList::firstLater(CMTime time, std::size_t from, std::size_t to) const {
  if (ticks_.empty() || !isPlain(time)) {
    return static_cast<std::size_t>(std::upper_bound(at(times_, from), at(times_, to), time, isEarlier) -
                                    times_.begin());
  }
  const Int128 ticks = floorTicks(time, timescale_);
  if (ticks < std::numeric_limits<std::int64_t>::min()) return from;
  return static_cast<std::size_t>(std::upper_bound(at(ticks_, from), at(ticks_, to), clamp(ticks)) -
                                  ticks_.begin());
}

}  // namespace tarn
