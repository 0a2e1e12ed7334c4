#include "Platform/Queue.h"

#include <algorithm>
#include <asio/post.hpp>
#include <asio/strand.hpp>
#include <asio/thread_pool.hpp>
#include <memory>
#include <thread>
#include <utility>

#include "Platform/Internal/ThreadPool.h"
#include "Platform/WithoutSignals.h"

namespace tarn {
namespace {

/// A blocked task occupies a thread; with four, other tasks still run on a machine with one core.
constexpr unsigned kMinimumThreads = 4;

std::unique_ptr<asio::thread_pool> makePool() {
  const WithoutSignals withoutSignals;
  return std::make_unique<asio::thread_pool>(std::max(kMinimumThreads, std::thread::hardware_concurrency()));
}

/// Never destroyed, since a static object's destructor may still enqueue; but its threads end before the
/// process does, so that no task runs while the objects it uses are being destroyed.
asio::thread_pool& pool() {
  static auto& pools = *new PerProcess<asio::thread_pool>(makePool);
  static const struct AtExit {
    ~AtExit() {
      asio::thread_pool* const own = pools.existing();
      if (!own) return;
      own->stop();
      own->join();
    }
  } atExit{};
  return pools.get();
}

}  // namespace

void runOnPool(Task task) {
  asio::post(pool(), std::move(task));
}

struct SerialQueue::State {
  asio::strand<asio::thread_pool::executor_type> strand{pool().get_executor()};
};

SerialQueue::SerialQueue(std::string label) : label_(std::move(label)) {}

SerialQueue::~SerialQueue() = default;

void SerialQueue::async(Task task) {
  const auto strand = state_->strand;  // the task may destroy this queue before the call has returned
  asio::post(strand, std::move(task));
}

}  // namespace tarn
