#include "Platform/MainQueue.h"
#include "Platform/Queue.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <future>
#include <thread>

using namespace std::chrono_literals;
using namespace tarn;
using namespace testing;

namespace {

/// Runs all tasks that are in `queue` now.
void runAll(Queue& queue) {
  std::promise<void> reached;
  queue.async([&reached] { reached.set_value(); });
  reached.get_future().wait();
}

class QueueTest : public Test {
 protected:
  void TearDown() override { mainQueue.drain(); }
  MainQueue& mainQueue = MainQueue::shared();
  std::vector<int> ran;
};

}  // namespace

TEST_F(QueueTest, RunsTasksOneAtATimeInTheOrderOfEachEnqueueingThread) {
  constexpr int kEach = 1'000;
  SerialQueue queue("threads");
  std::array<int, 4> executed{};
  int all = 0;  // without a lock: the thread sanitizer checks that tasks never overlap
  {
    std::vector<std::jthread> threads;
    for (auto& own : executed) {
      threads.emplace_back([&] {
        for (int i = 0; i < kEach; ++i) {
          queue.async([&own, &all, i] {
            EXPECT_EQ(own++, i);
            ++all;
          });
        }
      });
    }
  }
  runAll(queue);
  EXPECT_EQ(all, 4 * kEach);
}

TEST_F(QueueTest, NeverRunsATaskInsideTheCallThatEnqueuesIt) {
  SerialQueue queue("nested");
  std::vector<int> executed;
  queue.async([&] {
    queue.async([&] { executed.push_back(2); });
    executed.push_back(1);
  });
  for (int i = 0; i < 2; ++i) runAll(queue);
  EXPECT_THAT(executed, ElementsAre(1, 2));
}

TEST_F(QueueTest, RunsWaitingTasksAfterItsDestruction) {
  std::promise<void> open;
  std::promise<int> last;
  {
    SerialQueue queue("gone");
    queue.async([gate = open.get_future().share()] { gate.wait(); });
    queue.async([&last] { last.set_value(7); });
  }
  open.set_value();
  EXPECT_EQ(last.get_future().get(), 7);
}

TEST_F(QueueTest, CanBeDestroyedByItsTaskWhileOtherThreadsEnqueue) {
  for (int round = 0; round < 200; ++round) {
    auto* queue = new SerialQueue("self");
    std::promise<void> destroyed;
    queue->async([queue, &destroyed] {
      delete queue;
      destroyed.set_value();
    });
    destroyed.get_future().wait();
  }
}

TEST_F(QueueTest, DoesNotDelayOtherQueuesWhenATaskBlocks) {
  std::promise<void> open;
  const auto gate = open.get_future().share();
  for (int i = 0; i < 3; ++i) SerialQueue("blocked").async([gate] { gate.wait(); });
  SerialQueue free("free");
  runAll(free);
  open.set_value();
}

TEST_F(QueueTest, LetsTheProcessExitWhileTasksAreEnqueued) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        static auto& queue = *new SerialQueue("endless");  // outlives the pool's threads, as the task needs
        static const Task& again = *new Task([] { queue.async(again); });
        queue.async(again);
        runAll(queue);
        std::exit(0);
      },
      ExitedWithCode(0), "");
}

TEST_F(QueueTest, DrainRunsWaitingTasksInOrderButNotThoseThatTheyEnqueue) {
  for (int i = 0; i < 3; ++i) {
    mainQueue.async([this, i] {
      ran.push_back(i);
      mainQueue.async([this, i] { ran.push_back(10 + i); });
    });
  }
  EXPECT_EQ(mainQueue.drain(), 3U);
  EXPECT_THAT(ran, SizeIs(3));
  EXPECT_EQ(mainQueue.drain(), 3U);
  EXPECT_THAT(ran, ElementsAre(0, 1, 2, 10, 11, 12));
  EXPECT_EQ(mainQueue.drain(), 0U);
}

TEST_F(QueueTest, ANestedDrainKeepsTheOrderAndTheOuterOneRunsNoNewTasks) {
  mainQueue.async([this] {
    ran.push_back(0);
    mainQueue.async([this] { ran.push_back(2); });
    EXPECT_EQ(mainQueue.drain(), 2U);
    mainQueue.async([this] { ran.push_back(3); });
  });
  mainQueue.async([this] { ran.push_back(1); });
  EXPECT_EQ(mainQueue.drain(), 1U);
  EXPECT_THAT(ran, ElementsAre(0, 1, 2));
}

TEST_F(QueueTest, RunUntilRunsTasksOfOtherThreadsAndReturnsAtTheTimeout) {
  std::jthread other([this] {
    for (int i = 0; i < 100; ++i) mainQueue.async([this, i] { ran.push_back(i); });
  });
  EXPECT_TRUE(mainQueue.runUntil([this] { return ran.size() == 100; }, 20s));
  EXPECT_TRUE(std::ranges::is_sorted(ran));
  EXPECT_FALSE(mainQueue.runUntil([] { return false; }, 1ms));
  EXPECT_TRUE(mainQueue.runUntil([] { return true; }, 0ms));
  std::atomic<bool> flag = false;
  std::jthread without([&flag] { flag = true; });
  EXPECT_TRUE(mainQueue.runUntil([&flag] { return flag.load(); }, 20s))
      << "no task announces the change of the condition";
}

TEST_F(QueueTest, WakesOnlyTheNewestInstalledEventLoop) {
  std::vector<char> woken;
  auto outer = mainQueue.installEventLoop([&] { woken.push_back('o'); });
  mainQueue.async([] {});
  {
    const auto inner = mainQueue.installEventLoop([&] { woken.push_back('i'); });
    EXPECT_THAT(woken, ElementsAre('o', 'i')) << "a task was waiting already";
    mainQueue.async([] {});
    EXPECT_THAT(woken, ElementsAre('o', 'i', 'i'));
  }
  EXPECT_THAT(woken, ElementsAre('o', 'i', 'i', 'o')) << "the outer loop must be woken for the waiting tasks";
  outer.reset();
  mainQueue.async([] {});
  EXPECT_EQ(woken.size(), 4U);
}

TEST_F(QueueTest, WakesNoEventLoopAfterItsTokenIsDestroyed) {
  std::atomic<bool> stop = false;
  std::jthread other([&] {
    while (!stop) mainQueue.async([] {});
  });
  for (int round = 0; round < 200; ++round) {
    auto alive = std::make_unique<std::atomic<int>>(0);  // the sanitizers detect a use after its end
    auto token = mainQueue.installEventLoop([counter = alive.get()] { ++*counter; });
    mainQueue.drain();
    token.reset();
    alive.reset();
  }
  stop = true;
}
