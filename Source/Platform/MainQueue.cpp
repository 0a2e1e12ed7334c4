#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <utility>
#include <vector>

#include "Platform/Queue.h"

namespace tarn {
namespace {

/// How long `runUntil` sleeps at most before it asks again: its condition may change without a task.
constexpr std::chrono::milliseconds kLongestTurn{1000};

/// Keeps "for ever" from overflowing the clock.
constexpr std::chrono::hours kLongestRun{24 * 365};

struct EventLoop {
  std::uint64_t id = 0;
  std::function<void()> wake;
};

}  // namespace

struct MainQueue::State {
  std::mutex mutex;  // guards `tasks` and `enqueued`
  std::condition_variable arrived;
  std::deque<Task> tasks;
  std::uint64_t enqueued = 0;

  // Held while an event loop is woken, so that none is woken after its token's end. Recursive, because waking
  // may enqueue.
  std::recursive_mutex loopsMutex;
  std::vector<EventLoop> loops;
  std::uint64_t installed = 0;

  /// The oldest waiting task among the first `end` ever enqueued; an empty one if none of them waits.
  Task takeBefore(std::uint64_t end) {
    const std::lock_guard lock(mutex);
    if (tasks.empty() || enqueued - tasks.size() >= end) return {};
    Task task = std::move(tasks.front());
    tasks.pop_front();
    return task;
  }

  bool isEmpty() {
    const std::lock_guard lock(mutex);
    return tasks.empty();
  }

  void wakeNewestLoop() {
    const std::lock_guard lock(loopsMutex);
    if (loops.empty()) return;
    const auto wake = loops.back().wake;  // a copy: waking may install or end event loops
    wake();
  }

  void removeLoop(std::uint64_t id) {
    {
      const std::lock_guard lock(loopsMutex);
      std::erase_if(loops, [id](const EventLoop& loop) { return loop.id == id; });
    }
    if (!isEmpty()) wakeNewestLoop();
  }
};

MainQueue::MainQueue() : state_(std::make_unique<State>()) {}

MainQueue::~MainQueue() = default;

MainQueue& MainQueue::shared() {
  static MainQueue* const instance =
      new MainQueue;  // never destroyed: tasks may arrive while the process exits
  return *instance;
}

void MainQueue::async(Task task) {
  {
    const std::lock_guard lock(state_->mutex);
    state_->tasks.push_back(std::move(task));
    ++state_->enqueued;
  }
  state_->arrived.notify_one();
  state_->wakeNewestLoop();
}

std::size_t MainQueue::drain() {
  const auto end = [this] {
    const std::lock_guard lock(state_->mutex);
    return state_->enqueued;
  }();
  std::size_t count = 0;
  while (const Task task = state_->takeBefore(end)) {
    task();
    ++count;
  }
  return count;
}

Token MainQueue::installEventLoop(std::function<void()> wake) {
  const std::lock_guard lock(state_->loopsMutex);
  const std::uint64_t id = ++state_->installed;
  state_->loops.push_back({id, std::move(wake)});
  if (!state_->isEmpty()) state_->wakeNewestLoop();
  return Token([this, id] { state_->removeLoop(id); });
}

bool MainQueue::runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
  const auto deadline =
      std::chrono::steady_clock::now() + std::min<std::chrono::milliseconds>(limit, kLongestRun);
  while (true) {
    drain();
    if (done()) return true;
    const auto now = std::chrono::steady_clock::now();
    if (now >= deadline) return false;
    std::unique_lock lock(state_->mutex);
    state_->arrived.wait_until(lock, std::min(deadline, now + kLongestTurn),
                               [this] { return !state_->tasks.empty(); });
  }
}

}  // namespace tarn
