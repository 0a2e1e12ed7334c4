#include "Host/Ticker.h"
#include "Platform/MainQueue.h"

#include <gtest/gtest.h>

#include <chrono>

namespace tarn::test {
namespace {

using namespace std::chrono_literals;

TEST(TickerTest, TicksWhileItRunsAndNeverFloodsASlowQueue) {
  int ticks = 0;
  Ticker ticker(MainQueue::shared(), 1ms, [&] { ++ticks; });
  auto& queue = MainQueue::shared();
  EXPECT_FALSE(queue.runUntil([&] { return ticks > 0; }, 20ms)) << "not started";
  ticker.setRunning(true);
  EXPECT_TRUE(queue.runUntil([&] { return ticks >= 5; }, 10s));

  // Whatever waits now was enqueued once.
  const int before = ticks;
  queue.runUntil([] { return false; }, 0ms);
  std::size_t waiting = queue.drain();
  EXPECT_LE(waiting, 1U);
  EXPECT_LE(ticks, before + 2);

  ticker.setRunning(false);
  const int stopped = ticks;
  EXPECT_FALSE(queue.runUntil([&] { return ticks > stopped; }, 20ms));
}

}  // namespace
}  // namespace tarn::test
