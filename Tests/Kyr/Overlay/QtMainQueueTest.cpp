#include "Overlay/QtMainQueue.h"
#include "Platform/MainQueue.h"

#include <gmock/gmock.h>

#include <QTest>
#include <thread>

namespace tarn::test {
namespace {

TEST(QtMainQueueTest, RunsTasksInOrderFromQtsLoopOnTheMainThread) {
  std::vector<int> order;
  const auto main = std::this_thread::get_id();
  const auto note = [&](int number) {
    return [&order, number, main] {
      EXPECT_EQ(std::this_thread::get_id(), main);
      order.push_back(number);
    };
  };
  MainQueue::shared().async(note(0));
  const auto queue = std::make_unique<QtMainQueue>();
  MainQueue::shared().async([&] {
    note(1)();
    MainQueue::shared().async(note(3));
  });
  std::thread([&] { MainQueue::shared().async(note(2)); }).join();
  EXPECT_TRUE(order.empty()) << "a task must not run inside the call";
  EXPECT_TRUE(QTest::qWaitFor([&] { return order.size() == 4; }));
  EXPECT_THAT(order, ::testing::ElementsAre(0, 1, 2, 3));
}

TEST(QtMainQueueTest, LeavesWaitingTasksToTheNextLoopWhenDestroyed) {
  bool ran = false;
  auto queue = std::make_unique<QtMainQueue>();
  MainQueue::shared().async([&] { ran = true; });
  queue.reset();
  QCoreApplication::processEvents();
  EXPECT_FALSE(ran);
  queue = std::make_unique<QtMainQueue>();
  EXPECT_TRUE(QTest::qWaitFor([&] { return ran; }));
}

}  // namespace
}  // namespace tarn::test
