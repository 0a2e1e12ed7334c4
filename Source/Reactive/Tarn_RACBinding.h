#pragma once

#include <functional>
#include <type_traits>
#include <utility>

#include "Platform/Error.h"
#include "Platform/Log.h"
#include "Reactive/Tarn_RACSignal.h"

namespace tarn {

/// Calls `setter` with each value of the signal, on the thread that sends it.
///
/// The binding ends with the signal, or with its disposable: add that to the `Tarn_RACDeallocDisposable` of
/// the object that `setter` writes to. An error keeps the last value and writes a log line.
template <typename T, typename Setter>
Tarn_RACDisposable bindSignal(const Tarn_RACSignal<T>& signal, Setter setter) {
  static_assert(std::is_invocable_v<Setter&, const T&>, "bindSignal: the setter takes a value of the signal");
  return signal.subscribeNext(std::move(setter), [](const Error& error) {
    writeLogLine("A binding ended with an error: " + chainDescription(error));
  });
}

/// The same for values that may be absent (`std::optional`, a pointer): `setter` receives `nilValue` for an
/// absent one.
template <typename T, typename Setter, typename Value>
Tarn_RACDisposable bindSignal(const Tarn_RACSignal<T>& signal, Setter setter, Value nilValue) {
  return bindSignal(signal,
                    [setter = std::move(setter), nilValue = std::move(nilValue)](const T& value) mutable {
                      if (!value) {
                        std::invoke(setter, nilValue);
                      } else if constexpr (rac::OptionalValue<T>::exists) {
                        std::invoke(setter, *value);
                      } else {
                        std::invoke(setter, value);
                      }
                    });
}

}  // namespace tarn
