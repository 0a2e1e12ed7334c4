#include "Platform/Operation.h"

#include <gmock/gmock.h>

#include <future>
#include <latch>

using namespace tarn;
using testing::ElementsAre;

namespace {

/// Runs until `end` is called, on any thread; with `work`, runs that and ends inside `start`.
class ManualOperation final : public Operation {
 public:
  explicit ManualOperation(std::function<void()> work = {}) : work_(std::move(work)) {}
  ~ManualOperation() override {
    if (onDestruction) onDestruction();
  }

  void start() override {
    if (isCancelled()) return end();
    executing_ = true;
    announceExecuting();
    if (work_) {
      work_();
      end();
    }
    started.set_value();
  }
  bool isConcurrent() const override { return !work_; }
  bool isExecuting() const override { return executing_; }
  bool isFinished() const override { return finished_; }

  void end() {
    executing_ = false;
    finished_ = true;
    announceExecuting();
    announceFinished();
  }

  std::promise<void> started;
  std::function<void()> onDestruction;

 private:
  std::function<void()> work_;
  std::atomic<bool> executing_ = false;
  std::atomic<bool> finished_ = false;
};

}  // namespace

TEST(OperationTest, CallsObserversAfterEachChangeAndThenTheCompletionBlock) {
  auto operation = std::make_shared<ManualOperation>();
  std::vector<std::string> calls;
  operation->observeExecuting(
      [&](const Operation& o) { calls.push_back(o.isExecuting() ? "executing" : "not executing"); });
  operation->observeFinished([&](const Operation& o) { calls.push_back(o.isFinished() ? "finished" : "?"); });
  operation->observeFinished([&](const Operation&) { calls.push_back("second observer"); });
  operation->setCompletionBlock([&] { calls.push_back("block"); });
  operation->start();
  operation->end();
  EXPECT_THAT(calls, ElementsAre("executing", "not executing", "finished", "second observer", "block"));
  operation->end();
  EXPECT_THAT(calls, testing::Contains("block").Times(1));
}

TEST(OperationTest, AllowsObserversToAddObserversAndTheBlockToReleaseTheOperation) {
  auto owner = std::make_shared<ManualOperation>();
  auto& operation = *owner;
  operation.observeFinished([&](const Operation&) {
    operation.observeFinished([](const Operation&) { ADD_FAILURE() << "added too late"; });
  });
  bool destroyed = false;
  operation.onDestruction = [&] { destroyed = true; };
  operation.setCompletionBlock([owner = std::move(owner)]() mutable { owner.reset(); });
  operation.end();
  EXPECT_TRUE(destroyed);
}

TEST(OperationTest, IsHeldByItsQueueUntilItHasFinishedEvenIfTheQueueIsDestroyed) {
  std::promise<void> destroyed;
  auto operation = std::make_shared<ManualOperation>();
  operation->onDestruction = [&] { destroyed.set_value(); };
  auto started = operation->started.get_future();
  const std::weak_ptr<ManualOperation> weak = operation;
  OperationQueue("gone").addOperation(std::move(operation));
  started.wait();
  operation = weak.lock();
  ASSERT_NE(operation, nullptr);
  EXPECT_TRUE(operation->isExecuting());
  operation->end();
  operation.reset();
  destroyed.get_future().wait();
}

TEST(OperationTest, RunsConcurrentlyWithOthersAndIsReleasedByItsQueue) {
  OperationQueue queue("beside");
  std::latch bothRun(2);  // reached only when both are in progress at once
  std::latch completed(2);
  std::latch destroyed(3);
  for (int i = 0; i < 3; ++i) {
    auto operation = std::make_shared<ManualOperation>([&] { bothRun.arrive_and_wait(); });
    operation->onDestruction = [&] { destroyed.count_down(); };
    if (i == 2) operation->cancel();
    if (i != 2) operation->setCompletionBlock([&] { completed.count_down(); });
    queue.addOperation(std::move(operation));
  }
  completed.wait();
  destroyed.wait();
}

TEST(OperationTest, IsCancelledByItsQueueUnlessItHasFinished) {
  OperationQueue queue("cancel");
  const auto finished = std::make_shared<ManualOperation>();
  const auto running = std::make_shared<ManualOperation>();
  for (const auto& operation : {finished, running}) {
    queue.addOperation(operation);
    operation->started.get_future().wait();
  }
  finished->end();
  queue.cancelAllOperations();
  EXPECT_FALSE(finished->isCancelled());
  EXPECT_TRUE(running->isCancelled());
  running->end();
}
