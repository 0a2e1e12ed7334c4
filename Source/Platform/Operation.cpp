#include "Platform/Operation.h"

#include <algorithm>
#include <utility>

#include "Platform/Internal/ThreadPool.h"

namespace tarn {

void Operation::setCompletionBlock(std::function<void()> block) {
  const std::lock_guard lock(mutex_);
  completionBlock_ = std::move(block);
}

void Operation::observeExecuting(StateObserver observer) {
  const std::lock_guard lock(mutex_);
  executingObservers_.push_back(std::move(observer));
}

void Operation::observeFinished(StateObserver observer) {
  const std::lock_guard lock(mutex_);
  finishedObservers_.push_back(std::move(observer));
}

void Operation::announceExecuting() {
  const auto observers = [this] {
    const std::lock_guard lock(mutex_);
    return executingObservers_;
  }();
  for (const auto& observer : observers) observer(*this);
}

void Operation::announceFinished() {
  const auto self = weak_from_this().lock();  // a queue that holds the operation releases it now
  const auto observers = [this] {
    const std::lock_guard lock(mutex_);
    return finishedObservers_;
  }();
  for (const auto& observer : observers) observer(*this);

  const auto block = [this] {
    const std::lock_guard lock(mutex_);
    return std::exchange(completionBlock_, nullptr);
  }();
  if (block) block();
}

struct OperationQueue::State {
  std::mutex mutex;
  std::vector<std::shared_ptr<Operation>> unfinished;

  void hold(std::shared_ptr<Operation> operation) {
    const std::lock_guard lock(mutex);
    unfinished.push_back(std::move(operation));
  }

  void release(const Operation& finished) {
    std::shared_ptr<Operation> released;  // destroyed outside the lock
    const std::lock_guard lock(mutex);
    const auto found = std::find_if(unfinished.begin(), unfinished.end(),
                                    [&](const auto& operation) { return operation.get() == &finished; });
    if (found == unfinished.end()) return;
    released = std::move(*found);
    unfinished.erase(found);
  }
};

OperationQueue::OperationQueue(std::string name)
    : name_(std::move(name)), state_(std::make_shared<PerProcess<State>>()) {}

OperationQueue::~OperationQueue() = default;

void OperationQueue::addOperation(std::shared_ptr<Operation> operation) {
  state_->get().hold(operation);
  // The observer owns the state: it holds the operation even if this queue is destroyed first.
  operation->observeFinished([state = state_](const Operation& finished) { state->get().release(finished); });
  runOnPool([state = state_, operation = std::move(operation)] {
    operation->start();
    if (operation->isFinished()) state->get().release(*operation);
  });
}

void OperationQueue::async(Task task) {
  runOnPool(std::move(task));
}

void OperationQueue::cancelAllOperations() {
  State& state = state_->get();
  const std::lock_guard lock(state.mutex);
  for (const auto& operation : state.unfinished) operation->cancel();
}

}  // namespace tarn
