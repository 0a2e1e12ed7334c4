#pragma once

#include <memory>

#include "Host/TarnPlaybackSessionLifecycleEvent.h"
#include "Reactive/Tarn_RACSignal.h"

namespace tarn {

[[nodiscard]] inline bool isTermination(
    const std::shared_ptr<const TarnPlaybackSessionLifecycleEvent>& event) {
  return event && event->is(kTarnPlaybackSessionLifecycleEventTerminate);
}

/// Makes Terminate the last event that a session sends: all its signals go through one gate, which the
/// session closes before it sends Terminate.
///
/// One of several subscribers may terminate the session while it receives a value. The subscribers after it
/// do not receive that value; like the others they receive Terminate, once, and nothing after it. Main
/// thread; copies are the same gate.
class TerminationGate {
 public:
  [[nodiscard]] bool isOpen() const { return *open_; }
  void close() const { *open_ = false; }

  /// The values of `signal` while the gate is open, and Terminate always.
  template <typename T>
  [[nodiscard]] Tarn_RACSignal<T> through(const Tarn_RACSignal<T>& signal) const {
    return signal.filter([open = open_](const T& value) { return *open || passesAlways(value); });
  }

 private:
  static bool passesAlways(const std::shared_ptr<const TarnPlaybackSessionLifecycleEvent>& event) {
    return isTermination(event);
  }
  template <typename T>
  static bool passesAlways(const T& /*value*/) {
    return false;
  }

  std::shared_ptr<bool> open_ = std::make_shared<bool>(true);
};

}  // namespace tarn
