#include "Platform/MainQueue.h"

#include <pthread.h>

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <utility>
#include <vector>

#include "Platform/PerProcess.h"

namespace tarn {
namespace {

/// The longest sleep of `runUntil` before it checks its condition again, which may change without a task.
constexpr std::chrono::milliseconds kMaxSleep{1000};

/// Keeps an unlimited wait from overflowing the clock.
constexpr std::chrono::hours kMaxRunTime{24 * 365};

struct EventLoop {
  std::uint64_t id = 0;
  std::function<void()> wake;
};

}  // namespace

struct MainQueue::State {
  static const int keptWhole;

  std::mutex mutex;  // guards the members up to the blank line; never held while a task runs
  std::deque<Task> tasks;
  std::uint64_t enqueued = 0;
  std::vector<EventLoop> loops;
  std::uint64_t installed = 0;

  PerProcess<std::condition_variable> arrived;
  // Held while an event loop is woken, so that none is woken after its token is destroyed. Recursive, because
  // waking may enqueue.
  PerProcess<std::recursive_mutex> waking;

  /// The oldest waiting task among the first `end` ever enqueued; empty if none of them is waiting.
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

  std::function<void()> newestWake() {
    const std::lock_guard lock(mutex);
    return loops.empty() ? nullptr : loops.back().wake;
  }

  void wakeNewestLoop() {
    const std::lock_guard lock(waking.get());
    if (const auto wake = newestWake()) wake();  // a copy: waking may install or end event loops
  }

  std::uint64_t addLoop(std::function<void()> wake) {
    const std::lock_guard lock(mutex);
    loops.push_back({++installed, std::move(wake)});
    return installed;
  }

  void removeLoop(std::uint64_t id) {
    EventLoop removed;  // destroyed outside the lock
    {
      const std::scoped_lock lock(waking.get(), mutex);
      const auto found =
          std::find_if(loops.begin(), loops.end(), [id](const EventLoop& loop) { return loop.id == id; });
      removed = std::move(*found);
      loops.erase(found);
    }
    if (!isEmpty()) wakeNewestLoop();
  }
};

/// A fork waits until no thread changes the state that the child copies. Registered before `main`, so that
/// the application's own fork handlers may use the queue.
const int MainQueue::State::keptWhole =
    pthread_atfork([] { shared().state_->mutex.lock(); }, [] { shared().state_->mutex.unlock(); },
                   [] { shared().state_->mutex.unlock(); });

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
  state_->arrived->notify_one();
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
  const std::uint64_t id = state_->addLoop(std::move(wake));
  if (!state_->isEmpty()) state_->wakeNewestLoop();
  return Token([this, id] { state_->removeLoop(id); });
}

bool MainQueue::runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
  const auto deadline =
      std::chrono::steady_clock::now() + std::min<std::chrono::milliseconds>(limit, kMaxRunTime);
  while (true) {
    drain();
    if (done()) return true;
    const auto now = std::chrono::steady_clock::now();
    if (now >= deadline) return false;
    std::unique_lock lock(state_->mutex);
    state_->arrived->wait_until(lock, std::min(deadline, now + kMaxSleep),
                                [this] { return !state_->tasks.empty(); });
  }
}

}  // namespace tarn
