#pragma once

#include <cstddef>
#include <optional>
#include <type_traits>
#include <utility>

#include "Reactive/Tarn_RACOperator.h"
#include "Reactive/Tarn_RACScheduler.h"

/// The operators of one signal that keep state or choose by the value's type.
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

template <typename T>
[[nodiscard]] auto ignoreNil(const Tarn_RACSignal<T>& source) {
  using Optional = OptionalValue<T>;
  if constexpr (Optional::exists) {
    using U = typename Optional::Type;
    return addStage<U>(source, [](const T& value, Receiver<U>& downstream) {
      if (value) downstream.sendNext(*value);
    });
  } else {
    static_assert(std::is_constructible_v<bool, const T&>, "ignoreNil: values of this type are never absent");
    return addStage<T>(source, [](const T& value, Receiver<T>& downstream) {
      if (static_cast<bool>(value)) downstream.sendNext(value);
    });
  }
}

template <typename T>
[[nodiscard]] Tarn_RACSignal<T> distinctUntilChanged(const Tarn_RACSignal<T>& source) {
  return addStage<T>(source, [last = std::optional<T>()](const T& value, Receiver<T>& downstream) mutable {
    if (last && *last == value) return;
    last = value;
    downstream.sendNext(value);
  });
}

template <typename T>
[[nodiscard]] Tarn_RACSignal<T> take(const Tarn_RACSignal<T>& source, std::size_t count) {
  return addStage<T>(source, [left = count](const T& value, Receiver<T>& downstream) mutable {
    if (left == 0) return;  // a callback that receives the last value has sent another one
    const bool last = --left == 0;
    downstream.sendNext(value);
    if (last) downstream.sendCompleted();
  });
}

template <typename T>
[[nodiscard]] Tarn_RACSignal<T> skip(const Tarn_RACSignal<T>& source, std::size_t count) {
  return addStage<T>(source, [left = count](const T& value, Receiver<T>& downstream) mutable {
    if (left > 0) {
      --left;
    } else {
      downstream.sendNext(value);
    }
  });
}

template <typename T>
[[nodiscard]] Tarn_RACSignal<T> deliverOn(const Tarn_RACSignal<T>& source, Tarn_RACScheduler scheduler) {
  return makeSignal<T>([source, scheduler](const ReceiverPtr<T>& downstream) {
    subscribeWithin(
        downstream->disposable(), source,
        [scheduler, downstream](const T& value) {
          scheduler.schedule([downstream, value] { downstream->sendNext(value); });
        },
        [scheduler, downstream](const Error& error) {
          scheduler.schedule([downstream, error] { downstream->sendError(error); });
        },
        [scheduler, downstream] { scheduler.schedule([downstream] { downstream->sendCompleted(); }); });
  });
}

}  // namespace tarn::rac
