#pragma once

#include <array>
#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <tuple>
#include <utility>

#include "Reactive/Tarn_RACOperator.h"
#include "Reactive/Tarn_RACTuple.h"

/// The operators that bring the values of several signals together.
namespace tarn::rac {

template <typename... T>
struct ZipState {
  explicit ZipState(const ReceiverPtr<Tarn_RACTuple<T...>>& receiver) : downstream(receiver) {}

  template <std::size_t I, typename Value>
  void next(const Value& value) {
    std::get<I>(queues).push_back(value);
    const bool ready = std::apply([](const auto&... queue) { return (!queue.empty() && ...); }, queues);
    if (!ready) return;
    const Tarn_RACTuple<T...> together =
        std::apply([](auto&... queue) { return Tarn_RACTuple<T...>(takeFront(queue)...); }, queues);
    downstream->sendNext(together);
    completeIfDone(std::index_sequence_for<T...>());
  }

  template <std::size_t I>
  void completed() {
    ended[I] = true;
    completeIfDone(std::index_sequence_for<T...>());
  }

  ReceiverPtr<Tarn_RACTuple<T...>> downstream;

 private:
  template <typename Value>
  static Value takeFront(std::deque<Value>& queue) {
    Value front = std::move(queue.front());
    queue.pop_front();
    return front;
  }

  template <std::size_t... I>
  void completeIfDone(std::index_sequence<I...>) {
    if (((ended[I] && std::get<I>(queues).empty()) || ...)) downstream->sendCompleted();
  }

  std::tuple<std::deque<T>...> queues;
  std::array<bool, sizeof...(T)> ended{};
};

template <typename... T>
struct CombineState {
  explicit CombineState(const ReceiverPtr<Tarn_RACTuple<T...>>& receiver) : downstream(receiver) {}

  template <std::size_t I, typename Value>
  void next(const Value& value) {
    std::get<I>(latest) = value;
    const bool ready = std::apply([](const auto&... each) { return (each.has_value() && ...); }, latest);
    if (!ready) return;
    const Tarn_RACTuple<T...> together =
        std::apply([](const auto&... each) { return Tarn_RACTuple<T...>(*each...); }, latest);
    downstream->sendNext(together);
  }

  template <std::size_t I>
  void completed() {
    if (--running == 0) downstream->sendCompleted();
  }

  ReceiverPtr<Tarn_RACTuple<T...>> downstream;

 private:
  std::tuple<std::optional<T>...> latest;
  std::size_t running = sizeof...(T);
};

template <std::size_t I, typename State, typename T>
void feed(const std::shared_ptr<State>& state, const Tarn_RACSignal<T>& signal) {
  subscribeWithin(
      state->downstream->disposable(), signal, [state](const T& value) { state->template next<I>(value); },
      errorTo(state->downstream), [state] { state->template completed<I>(); });
}

template <typename State, typename... T, std::size_t... I>
[[nodiscard]] Tarn_RACSignal<Tarn_RACTuple<T...>> combineWith(std::index_sequence<I...>,
                                                              const Tarn_RACSignal<T>&... signals) {
  return makeSignal<Tarn_RACTuple<T...>>([signals...](const ReceiverPtr<Tarn_RACTuple<T...>>& downstream) {
    const auto state = std::make_shared<State>(downstream);
    (feed<I>(state, signals), ...);
  });
}

template <typename T>
struct SampleState {
  ReceiverPtr<T> downstream;
  std::optional<T> latest;

  void sample() const {
    if (!latest) return;
    const T value = *latest;  // a callback may replace it
    downstream->sendNext(value);
  }
};

template <typename T, typename U>
[[nodiscard]] Tarn_RACSignal<T> sample(const Tarn_RACSignal<T>& source, const Tarn_RACSignal<U>& sampler) {
  return makeSignal<T>([source, sampler](const ReceiverPtr<T>& downstream) {
    const auto state = std::make_shared<SampleState<T>>(downstream);
    subscribeWithin(
        downstream->disposable(), source, [state](const T& value) { state->latest = value; },
        errorTo(downstream), completionTo(downstream));
    subscribeWithin(
        downstream->disposable(), sampler, [state](const U&) { state->sample(); }, errorTo(downstream),
        completionTo(downstream));
  });
}

}  // namespace tarn::rac
