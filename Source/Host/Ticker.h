#pragma once

#include <chrono>
#include <functional>

#include "Platform/PerProcess.h"
#include "Platform/Queue.h"

namespace tarn {

/// Calls back on a queue at a steady interval while it runs, the first time at once.
///
/// A slow queue is not flooded: the next call is enqueued only when the one before it has
/// run. Owned and driven on the queue's thread; nothing is called after it was destroyed or stopped there.
class Ticker {
 public:
  Ticker(Queue& queue, std::chrono::milliseconds interval, std::function<void()> onTick);
  Ticker(const Ticker&) = delete;
  Ticker& operator=(const Ticker&) = delete;
  ~Ticker();

  void setRunning(bool running);

 private:
  class Worker;
  PerProcess<Worker> worker_;
};

}  // namespace tarn
