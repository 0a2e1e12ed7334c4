#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <tuple>
#include <type_traits>
#include <utility>

#include "Reactive/Tarn_RACDescription.h"
#include "Reactive/Tarn_RACSignal.h"

namespace tarn::rac {

template <typename T>
struct OptionalValue {
  static constexpr bool exists = false;
};
template <typename T>
struct OptionalValue<std::optional<T>> {
  static constexpr bool exists = true;
  using Type = T;
};

}  // namespace tarn::rac

template <typename T>
template <typename Function>
auto Tarn_RACSignal<T>::map(Function function) const {
  static_assert(std::is_invocable_v<Function&, const T&>, "map: the function takes a value of the signal");
  using U = std::decay_t<std::invoke_result_t<Function&, const T&>>;
  static_assert(!std::is_void_v<U>, "map: the function returns the new value (doNext is for effects)");
  return tarn::rac::link<U>(
      *this, [function = std::move(function)](const T& value, tarn::rac::Receiver<U>& downstream) mutable {
        downstream.sendNext(std::invoke(function, value));
      });
}

template <typename T>
template <typename Function>
auto Tarn_RACSignal<T>::reduceEach(Function function) const {
  return map(
      [function = std::move(function)](const T& tuple) mutable { return std::apply(function, tuple); });
}

template <typename T>
template <typename Predicate>
Tarn_RACSignal<T> Tarn_RACSignal<T>::filter(Predicate predicate) const {
  static_assert(std::is_invocable_r_v<bool, Predicate&, const T&>,
                "filter: the predicate takes a value of the signal and answers yes or no");
  return tarn::rac::link<T>(
      *this, [predicate = std::move(predicate)](const T& value, tarn::rac::Receiver<T>& downstream) mutable {
        if (std::invoke(predicate, value)) downstream.sendNext(value);
      });
}

template <typename T>
auto Tarn_RACSignal<T>::ignoreNil() const {
  using Optional = tarn::rac::OptionalValue<T>;
  if constexpr (Optional::exists) {
    using U = typename Optional::Type;
    return tarn::rac::link<U>(*this, [](const T& value, tarn::rac::Receiver<U>& downstream) {
      if (value) downstream.sendNext(*value);
    });
  } else {
    static_assert(std::is_constructible_v<bool, const T&>, "ignoreNil: values of this type are never absent");
    return filter([](const T& value) { return static_cast<bool>(value); });
  }
}

template <typename T>
template <typename Function>
Tarn_RACSignal<T> Tarn_RACSignal<T>::doNext(Function function) const {
  static_assert(std::is_invocable_v<Function&, const T&>, "doNext: the function takes a value of the signal");
  return tarn::rac::link<T>(
      *this, [function = std::move(function)](const T& value, tarn::rac::Receiver<T>& downstream) mutable {
        std::invoke(function, value);
        downstream.sendNext(value);
      });
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::distinctUntilChanged() const {
  return distinctUntilChanged([](const T& a, const T& b) { return a == b; });
}

template <typename T>
template <typename Equal>
Tarn_RACSignal<T> Tarn_RACSignal<T>::distinctUntilChanged(Equal equal) const {
  static_assert(std::is_invocable_r_v<bool, Equal&, const T&, const T&>,
                "distinctUntilChanged: the function compares two values of the signal");
  return tarn::rac::link<T>(*this, [equal = std::move(equal), last = std::optional<T>()](
                                       const T& value, tarn::rac::Receiver<T>& downstream) mutable {
    if (last && std::invoke(equal, *last, value)) return;
    last = value;
    downstream.sendNext(value);
  });
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::startWith(T value) const {
  return tarn::rac::describe<T>(
      [source = *this, value = std::move(value)](const tarn::rac::ReceiverPtr<T>& receiver) {
        receiver->sendNext(value);
        source.subscribeReceiver(receiver);
      });
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::take(std::size_t count) const {
  if (count == 0) return empty();
  return tarn::rac::link<T>(*this,
                            [left = count](const T& value, tarn::rac::Receiver<T>& downstream) mutable {
                              if (left == 0)
                                return;  // sent by a callback that is still being told of the last one
                              const bool last = --left == 0;
                              downstream.sendNext(value);
                              if (last) downstream.sendCompleted();
                            });
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::skip(std::size_t count) const {
  return tarn::rac::link<T>(*this,
                            [left = count](const T& value, tarn::rac::Receiver<T>& downstream) mutable {
                              if (left > 0) {
                                --left;
                              } else {
                                downstream.sendNext(value);
                              }
                            });
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::deliverOn(Tarn_RACScheduler scheduler) const {
  return tarn::rac::describe<T>([source = *this, scheduler](const tarn::rac::ReceiverPtr<T>& downstream) {
    tarn::rac::subscribeWithin(
        downstream->disposable(), source,
        [scheduler, downstream](const T& value) {
          scheduler.schedule([downstream, value] { downstream->sendNext(value); });
        },
        [scheduler, downstream](const tarn::Error& error) {
          scheduler.schedule([downstream, error] { downstream->sendError(error); });
        },
        [scheduler, downstream] { scheduler.schedule([downstream] { downstream->sendCompleted(); }); });
  });
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::deliverOnMainThread() const {
  return deliverOn(Tarn_RACScheduler::mainThreadScheduler());
}
