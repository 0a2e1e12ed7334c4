#include "HostGStreamer/Ticker.h"

#include <utility>

namespace tarn {

struct Ticker::State {
  explicit State(std::function<void()> callback) : onTick(std::move(callback)) {}

  const std::function<void()> onTick;
  std::mutex mutex;  // guards what follows
  std::condition_variable changed;
  bool running = false;
  bool pending = false;
  bool ended = false;
};

void Ticker::deliver(const std::weak_ptr<State>& weak) {
  const auto state = weak.lock();
  if (!state) return;
  {
    const std::lock_guard lock(state->mutex);
    state->pending = false;
    if (!state->running || state->ended) return;
  }
  state->onTick();
}

void Ticker::run(const std::shared_ptr<State>& state, Queue& queue, std::chrono::milliseconds interval) {
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
    : state_(std::make_shared<State>(std::move(onTick))),
      thread_([state = state_, &queue, interval] { run(state, queue, interval); }) {}

Ticker::~Ticker() {
  {
    const std::lock_guard lock(state_->mutex);
    state_->ended = true;
  }
  state_->changed.notify_all();
  thread_.join();
}

void Ticker::setRunning(bool running) {
  const std::lock_guard lock(state_->mutex);
  state_->running = running;
  state_->changed.notify_all();
}

}  // namespace tarn
