#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

#include "Platform/Observable.h"
#include "Platform/Queue.h"

namespace tarn {

/// The queue of the application's main thread: tasks run one at a time, in order, from the event loop that
/// drives it.
///
/// Without an event loop tasks wait for a call of `drain`; tests control time this way. A
/// child made by `fork` has a copy of the waiting tasks and of the event loops.
class MainQueue final : public Queue {
 public:
  /// The one main queue of the process.
  static MainQueue& shared();

  void async(Task task) override;

  /// Runs the tasks waiting at the time of the call (not those that they enqueue); returns how many ran.
  /// Main thread only.
  std::size_t drain();

  /// Installs an event loop: `wake` is called, on any thread and possibly more often than needed, when tasks
  /// wait; the loop then calls `drain` on the main thread. Ends with the token, whose destructor waits for a
  /// call of `wake` in progress: `wake` should only post. Only the newest installation is woken.
  [[nodiscard]] Token installEventLoop(std::function<void()> wake);

  /// A plain event loop: drains until `done` returns true (checked after every turn, and at least once a
  /// second) or the time is over. Main thread only. Returns whether `done` returned true.
  bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit);

 private:
  MainQueue();
  ~MainQueue() override;
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tarn
