#pragma once

#include <memory>
#include <utility>

#include "Reactive/Tarn_RACReceiver.h"

template <typename T>
class Tarn_RACSignal;

/// What operators are written with.
namespace tarn::rac {

/// A signal that is described by what `subscribe(receiver)` does, which is called as const.
template <typename T, typename Subscribe>
[[nodiscard]] Tarn_RACSignal<T> describe(Subscribe subscribe) {
  return Tarn_RACSignal<T>(std::make_shared<FunctionSource<T, Subscribe>>(std::move(subscribe)));
}

/// Puts one stage on `source`: `step(value, receiverBelow)`, of which each subscription has a copy.
template <typename U, typename T, typename Step>
[[nodiscard]] Tarn_RACSignal<U> link(const Tarn_RACSignal<T>& source, Step step) {
  return describe<U>([source, step = std::move(step)](const ReceiverPtr<U>& downstream) {
    source.subscribeReceiver(std::make_shared<Link<T, U, Step>>(downstream, step));
  });
}

/// Subscribes with a life of its own, which also ends with that of `whole`.
template <typename T, typename Next, typename Failed, typename Completed>
void subscribeWithin(const Tarn_RACDisposable& whole, const Tarn_RACSignal<T>& signal, Next next,
                     Failed failed, Completed completed) {
  const Tarn_RACDisposable part;
  whole.add(part);
  signal.subscribeReceiver(std::make_shared<End<T, Next, Failed, Completed>>(
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
