#pragma once

#include "Platform/Queue.h"

/// Runs tasks outside the caller's call, on a queue that outlives the scheduler.
class Tarn_RACScheduler {
 public:
  explicit Tarn_RACScheduler(tarn::Queue& queue) : queue_(&queue) {}

  static Tarn_RACScheduler mainThreadScheduler();

  /// Never runs `task` inside the call; tasks keep their order if the queue is serial. Any thread.
  void schedule(tarn::Task task) const;

 private:
  tarn::Queue* queue_;
};
