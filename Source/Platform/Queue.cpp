#include "Platform/Queue.h"

#include <algorithm>
#include <asio/post.hpp>
#include <asio/strand.hpp>
#include <asio/thread_pool.hpp>
#include <thread>
#include <utility>

#include "Platform/Internal/ThreadPool.h"

namespace tarn {
namespace {

/// A task that blocks takes a thread away; four leave room for the others on a machine with one core.
constexpr unsigned kMinimumThreads = 4;

asio::thread_pool* makePool() {
  const WithoutSignals withoutSignals;
  return new asio::thread_pool(std::max(kMinimumThreads, std::thread::hardware_concurrency()));
}

/// Never destroyed, since a static object's destructor may still enqueue; but its threads end before the
/// process does, so that no task runs while what it uses is being taken down.
asio::thread_pool& pool() {
  static asio::thread_pool* const instance = makePool();
  static const struct AtExit {
    ~AtExit() {
      instance->stop();
      instance->join();
    }
  } atExit{};
  return *instance;
}

}  // namespace

void runOnPool(Task task) {
  asio::post(pool(), std::move(task));
}

struct SerialQueue::State {
  asio::strand<asio::thread_pool::executor_type> strand{pool().get_executor()};
};

SerialQueue::SerialQueue(std::string label) : label_(std::move(label)), state_(std::make_shared<State>()) {}

SerialQueue::~SerialQueue() = default;

void SerialQueue::async(Task task) {
  const auto state = state_;  // the task may destroy this queue before the call has returned
  asio::post(state->strand, std::move(task));
}

}  // namespace tarn
