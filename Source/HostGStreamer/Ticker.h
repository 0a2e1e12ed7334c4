#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "Platform/Queue.h"

namespace tarn {

/// Calls back on a queue at a steady interval while it runs, the first time at once.
///
/// A queue that is slow to answer is not flooded: the next call is enqueued only when the one before it has
/// run. Owned and driven on the queue's thread; nothing is called after it was destroyed or stopped there.
class Ticker {
 public:
  Ticker(Queue& queue, std::chrono::milliseconds interval, std::function<void()> onTick);
  Ticker(const Ticker&) = delete;
  Ticker& operator=(const Ticker&) = delete;
  ~Ticker();

  void setRunning(bool running);

 private:
  struct State;
  static void run(const std::shared_ptr<State>& state, Queue& queue, std::chrono::milliseconds interval);
  static void deliver(const std::weak_ptr<State>& weak);

  std::shared_ptr<State> state_;
  std::thread thread_;
};

}  // namespace tarn
