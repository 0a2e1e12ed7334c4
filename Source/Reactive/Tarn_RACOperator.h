#pragma once

#include <memory>
#include <utility>

#include "Reactive/Tarn_RACReceiver.h"

template <typename T>
class Tarn_RACSignal;

/// The functions that operators are written with.
namespace tarn::rac {

/// A signal that runs `subscribe(receiver)`, as const, for each subscription.
template <typename T, typename Subscribe>
[[nodiscard]] Tarn_RACSignal<T> makeSignal(Subscribe subscribe) {
  return Tarn_RACSignal<T>(std::make_shared<FunctionSource<T, Subscribe>>(std::move(subscribe)));
}

/// Adds one stage to `source`: `step(value, downstream)`. Each subscription has its own copy of `step`.
template <typename U, typename T, typename Step>
[[nodiscard]] Tarn_RACSignal<U> addStage(const Tarn_RACSignal<T>& source, Step step) {
  return makeSignal<U>([source, step = std::move(step)](const ReceiverPtr<U>& downstream) {
    source.subscribeReceiver(std::make_shared<Stage<T, U, Step>>(downstream, step));
  });
}

/// Subscribes as a part of `whole`: the subscription can end alone, and ends with `whole`.
template <typename T, typename Next, typename Failed, typename Completed>
void subscribeWithin(const Tarn_RACDisposable& whole, const Tarn_RACSignal<T>& signal, Next next,
                     Failed failed, Completed completed) {
  const Tarn_RACDisposable part;
  whole.add(part);
  signal.subscribeReceiver(std::make_shared<CallbackReceiver<T, Next, Failed, Completed>>(
      part, std::move(next), std::move(failed), std::move(completed)));
}

template <typename T>
[[nodiscard]] auto errorTo(const ReceiverPtr<T>& receiver) {
  return [receiver](const Error& error) { receiver->sendError(error); };
}

template <typename T>
[[nodiscard]] auto completionTo(const ReceiverPtr<T>& receiver) {
  return [receiver] { receiver->sendCompleted(); };
}

}  // namespace tarn::rac
