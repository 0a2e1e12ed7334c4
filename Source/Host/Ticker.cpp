#include "Host/Ticker.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "Platform/WithoutSignals.h"

namespace tarn {

class Ticker::Worker {
 public:
  Worker(Queue& queue, std::chrono::milliseconds interval, const std::function<void()>& onTick)
      : state_(std::make_shared<State>(onTick)) {
    const WithoutSignals withoutSignals;
    thread_ = std::thread([state = state_, &queue, interval] { run(state, queue, interval); });
  }
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;
  ~Worker() {
    {
      const std::lock_guard lock(state_->mutex);
      state_->ended = true;
    }
    state_->changed.notify_all();
    thread_.join();
  }

  void setRunning(bool running) {
    const std::lock_guard lock(state_->mutex);
    state_->running = running;
    state_->changed.notify_all();
  }

 private:
  struct State {
    explicit State(std::function<void()> callback) : onTick(std::move(callback)) {}

    const std::function<void()> onTick;
    const unsigned generation = forkGeneration();
    std::mutex mutex;  // guards the members below
    std::condition_variable changed;
    bool running = false;
    bool pending = false;
    bool ended = false;
  };

  static void run(const std::shared_ptr<State>& state, Queue& queue, std::chrono::milliseconds interval);
  static void deliver(const std::weak_ptr<State>& weak);

  const std::shared_ptr<State> state_;
  std::thread thread_;
};

/// A task of the main queue may be the copy made by a fork: then the tick belongs to another process.
void Ticker::Worker::deliver(const std::weak_ptr<State>& weak) {
  const auto state = weak.lock();
  if (!state || state->generation != forkGeneration()) return;
  {
    const std::lock_guard lock(state->mutex);
    state->pending = false;
    if (!state->running || state->ended) return;
  }
  state->onTick();
}

void Ticker::Worker::run(const std::shared_ptr<State>& state, Queue& queue,
                         std::chrono::milliseconds interval) {
  std::unique_lock lock(state->mutex);
  while (!state->ended) {
    state->changed.wait(lock, [&] { return state->ended || state->running; });
    if (state->ended) return;
    if (!std::exchange(state->pending, true))
      queue.async([weak = std::weak_ptr<State>(state)] { deliver(weak); });
    state->changed.wait_for(lock, interval, [&] { return state->ended; });
  }
}

Ticker::Ticker(Queue& queue, std::chrono::milliseconds interval, std::function<void()> onTick)
    : worker_([&queue, interval, onTick = std::move(onTick)] {
        return std::make_unique<Worker>(queue, interval, onTick);
      }) {}

Ticker::~Ticker() = default;

void Ticker::setRunning(bool running) {
  worker_->setRunning(running);
}

}  // namespace tarn
