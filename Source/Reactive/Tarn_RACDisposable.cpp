#include "Reactive/Tarn_RACDisposable.h"

#include <algorithm>
#include <utility>

Tarn_RACDisposable::Tarn_RACDisposable() : state_(std::make_shared<State>()) {}

Tarn_RACDisposable::Tarn_RACDisposable(std::function<void()> action) : Tarn_RACDisposable() {
  state_->action = std::move(action);
}

Tarn_RACDisposable::Tarn_RACDisposable(tarn::Token token)
    : Tarn_RACDisposable([shared = std::make_shared<tarn::Token>(std::move(token))] { shared->reset(); }) {}

void Tarn_RACDisposable::dispose() const {
  const auto state = state_;  // the action may destroy this handle
  if (state->disposed.exchange(true)) return;
  std::function<void()> action;
  std::vector<Tarn_RACDisposable> parts;
  {
    const std::lock_guard lock(state->mutex);
    action.swap(state->action);
    parts.swap(state->parts);
  }
  if (action) action();
  for (const auto& part : parts) part.dispose();
}

void Tarn_RACDisposable::add(const Tarn_RACDisposable& part) const {
  if (part.state_ == state_) return;
  std::unique_lock lock(state_->mutex);
  if (isDisposed()) {
    lock.unlock();
    part.dispose();
    return;
  }
  auto& parts = state_->parts;
  if (parts.size() >= state_->pruneAt) {
    std::erase_if(parts, [](const auto& each) { return each.isDisposed(); });
    state_->pruneAt = std::max<std::size_t>(8, 2 * parts.size());
  }
  parts.push_back(part);
}
