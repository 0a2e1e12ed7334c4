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

/// Runs `queue` up to what is enqueued now.
void settle(Queue& queue) {
  std::promise<void> reached;
  queue.async([&reached] { reached.set_value(); });
  reached.get_future().wait();
}

class MainQueueTest : public Test {
 protected:
  void TearDown() override { queue.drain(); }
  MainQueue& queue = MainQueue::shared();
  std::vector<int> ran;
};

}  // namespace

TEST(SerialQueueTest, RunsTasksOneAtATimeInTheOrderOfEachEnqueueingThread) {
  constexpr int kEach = 1'000;
  SerialQueue queue("threads");
  std::array<int, 4> ran{};
  int all = 0;  // without a lock: tsan watches that tasks exclude one another
  {
    std::vector<std::jthread> threads;
    for (auto& own : ran) {
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
  settle(queue);
  EXPECT_EQ(all, 4 * kEach);
}

TEST(SerialQueueTest, NeverRunsATaskInsideTheCallThatEnqueuesIt) {
  SerialQueue queue("nested");
  std::vector<int> ran;
  queue.async([&] {
    queue.async([&] { ran.push_back(2); });
    ran.push_back(1);
  });
  for (int i = 0; i < 2; ++i) settle(queue);
  EXPECT_THAT(ran, ElementsAre(1, 2));
}

TEST(SerialQueueTest, RunsWaitingTasksAfterItsDestruction) {
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

TEST(SerialQueueTest, ATaskMayDestroyItsOwnQueueWhileOthersEnqueue) {
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

TEST(SerialQueueTest, ABlockedQueueHoldsUpNoOther) {
  std::promise<void> open;
  const auto gate = open.get_future().share();
  for (int i = 0; i < 3; ++i) SerialQueue("blocked").async([gate] { gate.wait(); });
  SerialQueue free("free");
  settle(free);
  open.set_value();
}

TEST(SerialQueueExitTest, TheProcessExitsAlthoughTasksKeepComing) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        static auto& queue = *new SerialQueue("endless");  // outlives the pool's threads, as the task needs
        static const Task& again = *new Task([] { queue.async(again); });
        queue.async(again);
        settle(queue);
        std::exit(0);
      },
      ExitedWithCode(0), "");
}

TEST_F(MainQueueTest, DrainRunsWhatWaitsInOrderAndLeavesWhatItEnqueues) {
  for (int i = 0; i < 3; ++i) {
    queue.async([this, i] {
      ran.push_back(i);
      queue.async([this, i] { ran.push_back(10 + i); });
    });
  }
  EXPECT_EQ(queue.drain(), 3U);
  EXPECT_THAT(ran, SizeIs(3));
  EXPECT_EQ(queue.drain(), 3U);
  EXPECT_THAT(ran, ElementsAre(0, 1, 2, 10, 11, 12));
  EXPECT_EQ(queue.drain(), 0U);
}

TEST_F(MainQueueTest, ANestedDrainKeepsTheOrderAndTheOuterOneRunsNothingNew) {
  queue.async([this] {
    ran.push_back(0);
    queue.async([this] { ran.push_back(2); });
    EXPECT_EQ(queue.drain(), 2U);
    queue.async([this] { ran.push_back(3); });
  });
  queue.async([this] { ran.push_back(1); });
  EXPECT_EQ(queue.drain(), 1U);
  EXPECT_THAT(ran, ElementsAre(0, 1, 2));
}

TEST_F(MainQueueTest, RunUntilTakesTasksOfOtherThreadsAndGivesUpInTime) {
  std::jthread other([this] {
    for (int i = 0; i < 100; ++i) queue.async([this, i] { ran.push_back(i); });
  });
  EXPECT_TRUE(queue.runUntil([this] { return ran.size() == 100; }, 20s));
  EXPECT_TRUE(std::ranges::is_sorted(ran));
  EXPECT_FALSE(queue.runUntil([] { return false; }, 1ms));
  EXPECT_TRUE(queue.runUntil([] { return true; }, 0ms));
  std::atomic<bool> flag = false;
  std::jthread without([&flag] { flag = true; });
  EXPECT_TRUE(queue.runUntil([&flag] { return flag.load(); }, 20s)) << "no task brings it about";
}

TEST_F(MainQueueTest, WakesTheNewestEventLoopAndOnlyWhileItsTokenLives) {
  std::vector<char> woken;
  auto outer = queue.installEventLoop([&] { woken.push_back('o'); });
  queue.async([] {});
  {
    const auto inner = queue.installEventLoop([&] { woken.push_back('i'); });
    EXPECT_THAT(woken, ElementsAre('o', 'i')) << "a task was waiting already";
    queue.async([] {});
    EXPECT_THAT(woken, ElementsAre('o', 'i', 'i'));
  }
  EXPECT_THAT(woken, ElementsAre('o', 'i', 'i', 'o')) << "the outer loop takes over what waits";
  outer.reset();
  queue.async([] {});
  EXPECT_EQ(woken.size(), 4U);
}

TEST_F(MainQueueTest, NoEventLoopIsWokenAfterItsEnd) {
  std::atomic<bool> stop = false;
  std::jthread other([&] {
    while (!stop) queue.async([] {});
  });
  for (int round = 0; round < 200; ++round) {
    auto alive = std::make_unique<std::atomic<int>>(0);  // asan and tsan watch its end
    auto token = queue.installEventLoop([counter = alive.get()] { ++*counter; });
    queue.drain();
    token.reset();
    alive.reset();
  }
  stop = true;
}
