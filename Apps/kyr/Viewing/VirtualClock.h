#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "Platform/MediaTime.h"
#include "Platform/Observable.h"
#include "Platform/Queue.h"

namespace tarn::cli {

/// Time that passes only when it is told to. Begins at zero. Main thread.
class VirtualClock {
 public:
  [[nodiscard]] CMTime now() const { return now_; }

  /// `task` runs when the time has come, from `advance`, never inside this call; not when the token has died
  /// before. What is due at one time runs in the order of the calls.
  [[nodiscard]] Token at(CMTime time, Task task);

  /// Lets a time, not negative, pass: runs what is due until then, the end included, each at its time and
  /// with everything on the main queue done before and after it.
  void advance(CMTime duration);

 private:
  struct Due {
    CMTime time;
    std::uint64_t order;
    friend bool operator<(const Due& a, const Due& b) {
      return a.time != b.time ? a.time < b.time : a.order < b.order;
    }
  };
  using Schedule = std::map<Due, Task>;

  CMTime now_ = kCMTimeZero;
  std::uint64_t calls_ = 0;
  std::shared_ptr<Schedule> schedule_ = std::make_shared<Schedule>();  // tokens may outlive the clock
};

}  // namespace tarn::cli
