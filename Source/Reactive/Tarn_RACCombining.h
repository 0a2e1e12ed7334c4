#pragma once

#include <array>
#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <tuple>
#include <utility>

#include "Reactive/Tarn_RACDescription.h"
#include "Reactive/Tarn_RACSignal.h"

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
    completeIfOver(std::index_sequence_for<T...>());
  }

  template <std::size_t I>
  void completed() {
    ended[I] = true;
    completeIfOver(std::index_sequence_for<T...>());
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
  void completeIfOver(std::index_sequence<I...>) {
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
[[nodiscard]] Tarn_RACSignal<Tarn_RACTuple<T...>> combineIn(std::index_sequence<I...>,
                                                            const Tarn_RACSignal<T>&... signals) {
  return describe<Tarn_RACTuple<T...>>([signals...](const ReceiverPtr<Tarn_RACTuple<T...>>& downstream) {
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
    const T value = *latest;  // a callback may bring a newer one
    downstream->sendNext(value);
  }
};

}  // namespace tarn::rac

template <typename... T>
Tarn_RACSignal<Tarn_RACTuple<T...>> tarn::zip(const Tarn_RACSignal<T>&... signals) {
  return rac::combineIn<rac::ZipState<T...>>(std::index_sequence_for<T...>(), signals...);
}

template <typename... T>
Tarn_RACSignal<Tarn_RACTuple<T...>> tarn::combineLatest(const Tarn_RACSignal<T>&... signals) {
  return rac::combineIn<rac::CombineState<T...>>(std::index_sequence_for<T...>(), signals...);
}

template <typename T>
template <typename U>
Tarn_RACSignal<T> Tarn_RACSignal<T>::sample(const Tarn_RACSignal<U>& sampler) const {
  return tarn::rac::describe<T>([source = *this, sampler](const tarn::rac::ReceiverPtr<T>& downstream) {
    const auto state = std::make_shared<tarn::rac::SampleState<T>>(downstream);
    tarn::rac::subscribeWithin(
        downstream->disposable(), source, [state](const T& value) { state->latest = value; },
        tarn::rac::errorTo(downstream), tarn::rac::completionTo(downstream));
    tarn::rac::subscribeWithin(
        downstream->disposable(), sampler, [state](const U&) { state->sample(); },
        tarn::rac::errorTo(downstream), tarn::rac::completionTo(downstream));
  });
}

template <typename T>
template <typename U>
Tarn_RACSignal<T> Tarn_RACSignal<T>::takeUntil(const Tarn_RACSignal<U>& trigger) const {
  return tarn::rac::describe<T>([source = *this, trigger](const tarn::rac::ReceiverPtr<T>& downstream) {
    tarn::rac::subscribeWithin(
        downstream->disposable(), trigger, [downstream](const U&) { downstream->sendCompleted(); },
        tarn::rac::Ignore(), tarn::rac::completionTo(downstream));
    source.subscribeReceiver(downstream);
  });
}
