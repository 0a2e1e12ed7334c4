#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "Reactive/Tarn_RACDescription.h"
#include "Reactive/Tarn_RACSignal.h"

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
  std::size_t running = 1;  // the signal of signals is one of them

  void oneCompleted() {
    if (--running == 0) downstream->sendCompleted();
  }
};

template <typename T>
[[nodiscard]] Tarn_RACSignal<T> flatten(const Tarn_RACSignal<Tarn_RACSignal<T>>& signals) {
  return describe<T>([signals](const ReceiverPtr<T>& downstream) {
    const auto state = std::make_shared<FlattenState<T>>(downstream);
    subscribeWithin(
        downstream->disposable(), signals,
        [state](const Tarn_RACSignal<T>& signal) {
          ++state->running;
          subscribeWithin(
              state->downstream->disposable(), signal,
              [state](const T& value) { state->downstream->sendNext(value); }, errorTo(state->downstream),
              [state] { state->oneCompleted(); });
        },
        errorTo(downstream), [state] { state->oneCompleted(); });
  });
}

template <typename T>
struct SwitchState {
  ReceiverPtr<T> downstream;
  Tarn_RACDisposable latest;
  bool latestRunning = false;
  bool outerRunning = true;

  void completeIfOver() {
    if (!latestRunning && !outerRunning) downstream->sendCompleted();
  }
};

/// Takes its place before it ends the one before: ending may run foreign code that brings a newer one.
template <typename T>
void switchTo(const std::shared_ptr<SwitchState<T>>& state, const Tarn_RACSignal<T>& signal) {
  const Tarn_RACDisposable own;
  state->downstream->disposable().add(own);
  const auto before = std::exchange(state->latest, own);
  state->latestRunning = true;
  before.dispose();
  subscribeWithin(
      own, signal, [state](const T& value) { state->downstream->sendNext(value); },
      errorTo(state->downstream),
      [state] {
        state->latestRunning = false;
        state->completeIfOver();
      });
}

template <typename T>
[[nodiscard]] Tarn_RACSignal<T> switchToLatest(const Tarn_RACSignal<Tarn_RACSignal<T>>& signals) {
  return describe<T>([signals](const ReceiverPtr<T>& downstream) {
    const auto state = std::make_shared<SwitchState<T>>(downstream);
    subscribeWithin(
        downstream->disposable(), signals,
        [state](const Tarn_RACSignal<T>& signal) { switchTo(state, signal); }, errorTo(downstream),
        [state] {
          state->outerRunning = false;
          state->completeIfOver();
        });
  });
}

/// Holds the signals still to come only: one that runs must not be held by its own subscription.
template <typename T>
struct ConcatState {
  ReceiverPtr<T> downstream;
  std::vector<Tarn_RACSignal<T>> toCome;  // the next one is the last
  bool advancing = false;
  bool completed = true;  // whether the one before the next has
};

/// A loop, so that a long row of signals that complete at once does not nest.
template <typename T>
void advance(const std::shared_ptr<ConcatState<T>>& state) {
  if (state->advancing) return;
  state->advancing = true;
  while (state->completed && !state->toCome.empty()) {
    state->completed = false;
    const auto signal = state->toCome.back();
    state->toCome.pop_back();
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
  return describe<T>([signals = std::move(signals)](const ReceiverPtr<T>& downstream) {
    advance(std::make_shared<ConcatState<T>>(downstream, signals));
  });
}

}  // namespace tarn::rac

template <typename T>
auto Tarn_RACSignal<T>::flatten() const {
  static_assert(tarn::rac::SignalValue<T>::exists, "flatten: the values of this signal are not signals");
  return tarn::rac::flatten(*this);
}

template <typename T>
template <typename Function>
auto Tarn_RACSignal<T>::flattenMap(Function function) const {
  const auto signals = map(std::move(function));
  static_assert(tarn::rac::SignalValue<typename decltype(signals)::Value>::exists,
                "flattenMap: the function returns a Tarn_RACSignal");
  return signals.flatten();
}

template <typename T>
auto Tarn_RACSignal<T>::switchToLatest() const {
  static_assert(tarn::rac::SignalValue<T>::exists,
                "switchToLatest: the values of this signal are not signals");
  return tarn::rac::switchToLatest(*this);
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::concat(const Tarn_RACSignal& next) const {
  return tarn::rac::concat<T>({*this, next});
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::merge(const Tarn_RACSignal& other) const {
  return tarn::merge(*this, other);
}

template <typename T, typename... Signals>
Tarn_RACSignal<T> tarn::merge(const Tarn_RACSignal<T>& first, const Signals&... others) {
  return Tarn_RACSignal<Tarn_RACSignal<T>>::values({first, others...}).flatten();
}

template <typename T, typename... Signals>
Tarn_RACSignal<T> tarn::concat(const Tarn_RACSignal<T>& first, const Signals&... others) {
  return rac::concat<T>({first, others...});
}
