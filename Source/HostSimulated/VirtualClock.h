#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "Platform/MediaTime.h"
#include "Platform/Observable.h"
#include "Platform/Queue.h"

namespace tarn {

/// Time that passes only in `advance`. Begins at zero. Main thread.
class VirtualClock {
 public:
  [[nodiscard]] CMTime now() const { return now_; }

  /// `task` runs from `advance` when the clock reaches `time`, never inside this call, and not at all once
  /// the token has been destroyed. Tasks of the same time run in the order of the calls.
  [[nodiscard]] Token at(CMTime time, Task task);

  /// Moves the clock on by a duration that is not negative. Runs the tasks that are due until then, the end
  /// included, each at its time; runs the main queue until it is empty before and after each of them.
  void advance(CMTime duration);
  /// The same without the main queue, for a program that runs it itself.
  void advanceAlone(CMTime duration);

 private:
  struct Due {
    CMTime time;
    std::uint64_t order;
    friend bool operator<(const Due& a, const Due& b) {
      return a.time != b.time ? a.time < b.time : a.order < b.order;
    }
  };
  using Schedule = std::map<Due, Task>;

  void advance(CMTime duration, const Task& afterEach);

  CMTime now_ = kCMTimeZero;
  std::uint64_t calls_ = 0;
  std::shared_ptr<Schedule> schedule_ = std::make_shared<Schedule>();  // tokens may outlive the clock
};

}  // namespace tarn
