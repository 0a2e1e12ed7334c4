#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Platform/PerProcess.h"
#include "Platform/Queue.h"

namespace tarn {

/// A unit of asynchronous work that reports when it runs and when it has ended.
///
/// Used once: given to an `OperationQueue`, or started by a call of `start`. All members may be called on any
/// thread. A subclass implements `start`, and calls `announceExecuting` and `announceFinished` when its own
/// state changes.
class Operation : public std::enable_shared_from_this<Operation> {
 public:
  Operation() = default;
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;
  virtual ~Operation() = default;

  /// Begins the work and returns.
  virtual void start() = 0;
  [[nodiscard]] virtual bool isConcurrent() const = 0;
  [[nodiscard]] virtual bool isExecuting() const = 0;
  [[nodiscard]] virtual bool isFinished() const = 0;

  /// Requests that the operation does not begin; one that has begun runs to its end.
  void cancel() { cancelled_ = true; }
  [[nodiscard]] bool isCancelled() const { return cancelled_; }

  /// Called once, on the thread that ends the operation, when `isFinished` has become true and all results
  /// can be read. Set before the operation starts.
  void setCompletionBlock(std::function<void()> block);

  /// Called after each announced change of "isExecuting" and "isFinished", on the changing thread.
  using StateObserver = std::function<void(const Operation&)>;
  void observeExecuting(StateObserver observer);
  void observeFinished(StateObserver observer);

 protected:
  void announceExecuting();
  /// Calls the observers of "isFinished", then the completion block, the block only the first time.
  void announceFinished();

 private:
  std::atomic<bool> cancelled_ = false;
  std::mutex mutex_;
  std::vector<StateObserver> executingObservers_;
  std::vector<StateObserver> finishedObservers_;
  std::function<void()> completionBlock_;
};

/// Runs operations on the library's thread pool, as many at a time as the pool has threads.
///
/// Holds each operation until it has finished. Destroying the queue does not cancel or wait. Plain tasks may
/// be enqueued too; they run concurrently, in any order. Operations and tasks enqueued before a `fork` run in
/// the parent only.
class OperationQueue final : public Queue {
 public:
  explicit OperationQueue(std::string name);
  ~OperationQueue() override;
  void addOperation(std::shared_ptr<Operation> operation);
  void async(Task task) override;
  /// Cancels every operation that has not finished.
  void cancelAllOperations();
  [[nodiscard]] const std::string& name() const { return name_; }

 private:
  struct State;
  std::string name_;
  std::shared_ptr<PerProcess<State>> state_;
};

}  // namespace tarn
