#pragma once

#include <functional>
#include <string>

#include "Platform/PerProcess.h"

namespace tarn {

using Task = std::function<void()>;

/// Runs tasks.
class Queue {
 public:
  Queue() = default;
  Queue(const Queue&) = delete;
  Queue& operator=(const Queue&) = delete;
  virtual ~Queue() = default;

  /// Enqueues and returns; never runs the task inside the call. Any thread. A task must not throw.
  virtual void async(Task task) = 0;
};

/// Runs its tasks one at a time, in the order in which they were enqueued, on the library's thread pool.
///
/// Tasks that are waiting when the queue is destroyed still run; destroying it does not wait for them. Tasks
/// still waiting when the process exits are dropped. Tasks waiting at a `fork` run in the parent only.
class SerialQueue final : public Queue {
 public:
  explicit SerialQueue(std::string label);
  ~SerialQueue() override;
  void async(Task task) override;
  [[nodiscard]] const std::string& label() const { return label_; }

 private:
  struct State;
  std::string label_;
  PerProcess<State> state_;
};

}  // namespace tarn
