#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Platform/MediaTime.h"

namespace tarn {

/// Times that are searched often and never change once closed.
///
/// Bisection needs times that ascend; the owner of a list in which they do not walks it instead. Lists whose
/// times are whole ticks of one timescale, which real documents give, are searched as plain integers.
class TimeList {
 public:
  void reserve(std::size_t count) { times_.reserve(count); }
  void add(CMTime time) { times_.push_back(time); }
  /// To be called once, when all have been added.
  void close();

  [[nodiscard]] std::size_t size() const { return times_.size(); }
  [[nodiscard]] const CMTime& operator[](std::size_t i) const { return times_[i]; }
  [[nodiscard]] const CMTime& back() const { return times_.back(); }
  [[nodiscard]] bool ascends() const { return ascends_; }

  /// The first place in [`from`, `to`) whose time is not earlier than `time`; `to` when there is none. Only
  /// for a list that ascends.
  [[nodiscard]] std::size_t firstNotEarlier(CMTime time, std::size_t from, std::size_t to) const;
  /// Likewise the first place whose time is later than `time`.
  [[nodiscard]] std::size_t firstLater(CMTime time, std::size_t from, std::size_t to) const;

 private:
  void makeTicks();

  std::vector<CMTime> times_;
  std::vector<std::int64_t> ticks_;  // empty when the times are not all whole ticks of `timescale_`
  CMTimeScale timescale_ = 0;
  bool ascends_ = false;
};

}  // namespace tarn
