#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "Reactive/Tarn_RACOperator.h"

/// The operators that subscribe to signals one after another: those in a signal of signals, or in a list.
namespace tarn::rac {

template <typename S>
struct SignalValue {
  static constexpr bool exists = false;
};
template <typename T>
struct SignalValue<Tarn_RACSignal<T>> {
  static constexpr bool exists = true;
  using Type = T;
};

template <typename T>
struct FlattenState {
  ReceiverPtr<T> downstream;
  std::size_t running = 1;  // the signal of signals counts too

  void signalCompleted() {
    if (--running == 0) downstream->sendCompleted();
  }
};

template <typename T>
[[nodiscard]] Tarn_RACSignal<T> flatten(const Tarn_RACSignal<Tarn_RACSignal<T>>& signals) {
  return makeSignal<T>([signals](const ReceiverPtr<T>& downstream) {
    const auto state = std::make_shared<FlattenState<T>>(downstream);
    subscribeWithin(
        downstream->disposable(), signals,
        [state](const Tarn_RACSignal<T>& signal) {
          ++state->running;
          subscribeWithin(
              state->downstream->disposable(), signal,
              [state](const T& value) { state->downstream->sendNext(value); }, errorTo(state->downstream),
              [state] { state->signalCompleted(); });
        },
        errorTo(downstream), [state] { state->signalCompleted(); });
  });
}

template <typename T>
struct SwitchState {
  ReceiverPtr<T> downstream;
  Tarn_RACDisposable latest;
  bool latestRunning = false;
  bool outerRunning = true;

  void completeIfDone() {
    if (!latestRunning && !outerRunning) downstream->sendCompleted();
  }
};

/// Stores the new signal before it ends the previous one: ending that may run application code that sends yet
/// another signal.
template <typename T>
void switchTo(const std::shared_ptr<SwitchState<T>>& state, const Tarn_RACSignal<T>& signal) {
  const Tarn_RACDisposable own;
  state->downstream->disposable().add(own);
  const auto previous = std::exchange(state->latest, own);
  state->latestRunning = true;
  previous.dispose();
  subscribeWithin(
      own, signal, [state](const T& value) { state->downstream->sendNext(value); },
      errorTo(state->downstream),
      [state] {
        state->latestRunning = false;
        state->completeIfDone();
      });
}

template <typename T>
[[nodiscard]] Tarn_RACSignal<T> switchToLatest(const Tarn_RACSignal<Tarn_RACSignal<T>>& signals) {
  return makeSignal<T>([signals](const ReceiverPtr<T>& downstream) {
    const auto state = std::make_shared<SwitchState<T>>(downstream);
    subscribeWithin(
        downstream->disposable(), signals,
        [state](const Tarn_RACSignal<T>& signal) { switchTo(state, signal); }, errorTo(downstream),
        [state] {
          state->outerRunning = false;
          state->completeIfDone();
        });
  });
}

/// Holds only the signals not yet subscribed to: a subscription must not hold the signal that it subscribes
/// to.
template <typename T>
struct ConcatState {
  ReceiverPtr<T> downstream;
  std::vector<Tarn_RACSignal<T>> remaining;  // in reverse: the next one is at the back
  bool advancing = false;
  bool completed = true;  // whether the previous signal has completed
};

/// A loop instead of recursion: a long list of signals that complete at once must not exhaust the stack.
template <typename T>
void advance(const std::shared_ptr<ConcatState<T>>& state) {
  if (state->advancing) return;
  state->advancing = true;
  while (state->completed && !state->remaining.empty()) {
    state->completed = false;
    const auto signal = state->remaining.back();
    state->remaining.pop_back();
    subscribeWithin(
        state->downstream->disposable(), signal,
        [state](const T& value) { state->downstream->sendNext(value); }, errorTo(state->downstream),
        [state] {
          state->completed = true;
          advance(state);
        });
  }
  state->advancing = false;
  if (state->completed) state->downstream->sendCompleted();
}

template <typename T>
[[nodiscard]] Tarn_RACSignal<T> concat(std::vector<Tarn_RACSignal<T>> signals) {
  std::reverse(signals.begin(), signals.end());
  return makeSignal<T>([signals = std::move(signals)](const ReceiverPtr<T>& downstream) {
    advance(std::make_shared<ConcatState<T>>(downstream, signals));
  });
}

}  // namespace tarn::rac
