#pragma once

#include <optional>
#include <type_traits>
#include <utility>

#include "Reactive/Tarn_RACDescription.h"
#include "Reactive/Tarn_RACSignal.h"

template <typename T>
template <typename Subscribe>
Tarn_RACSignal<T> Tarn_RACSignal<T>::create(Subscribe subscribe) {
  using Subscriber = Tarn_RACSubscriber<T>;
  static_assert(
      std::is_invocable_v<const Subscribe&, const Subscriber&>,
      "create: the function takes a Tarn_RACSubscriber of the signal's type, and is callable as const");
  return tarn::rac::describe<T>(
      [subscribe = std::move(subscribe)](const tarn::rac::ReceiverPtr<T>& receiver) {
        const auto broadcast = std::make_shared<tarn::rac::Broadcast<T>>();
        broadcast->subscribe(receiver);
        if constexpr (std::is_void_v<std::invoke_result_t<const Subscribe&, const Subscriber&>>) {
          subscribe(Subscriber(broadcast));
        } else {
          receiver->disposable().add(subscribe(Subscriber(broadcast)));
        }
      });
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::returnValue(T value) {
  return tarn::rac::describe<T>([value = std::move(value)](const tarn::rac::ReceiverPtr<T>& receiver) {
    receiver->sendNext(value);
    receiver->sendCompleted();
  });
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::values(std::vector<T> values) {
  return tarn::rac::describe<T>([values = std::move(values)](const tarn::rac::ReceiverPtr<T>& receiver) {
    for (const auto& value : values) {
      if (receiver->isDisposed()) return;
      receiver->sendNext(value);
    }
    receiver->sendCompleted();
  });
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::empty() {
  return tarn::rac::describe<T>([](const tarn::rac::ReceiverPtr<T>& receiver) { receiver->sendCompleted(); });
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::never() {
  return tarn::rac::describe<T>([](const tarn::rac::ReceiverPtr<T>&) {});
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::error(tarn::Error error) {
  return tarn::rac::describe<T>(
      [error = std::move(error)](const tarn::rac::ReceiverPtr<T>& receiver) { receiver->sendError(error); });
}

template <typename T>
void Tarn_RACSignal<T>::subscribeReceiver(const tarn::rac::ReceiverPtr<T>& receiver) const {
  if (receiver->isDisposed()) return;
  const auto source = source_;  // a callback may destroy this handle
  source->subscribe(receiver);
}

template <typename T>
template <typename Next, typename Failed, typename Completed>
requires(!std::derived_from<Next, Tarn_RACSubscriber<T>>)
    Tarn_RACDisposable Tarn_RACSignal<T>::subscribeNext(Next next, Failed failed, Completed completed)
const {
  static_assert(std::is_invocable_v<Next&, const T&>, "subscribeNext: the first function takes a value");
  static_assert(std::is_invocable_v<Failed&, const tarn::Error&>,
                "subscribeNext: the second function takes a tarn::Error");
  static_assert(std::is_invocable_v<Completed&>, "subscribeNext: the third function takes nothing");
  const Tarn_RACDisposable disposable;
  subscribeReceiver(std::make_shared<tarn::rac::End<T, Next, Failed, Completed>>(
      disposable, std::move(next), std::move(failed), std::move(completed)));
  return disposable;
}

template <typename T>
Tarn_RACDisposable Tarn_RACSignal<T>::subscribeNext(const Tarn_RACSubscriber<T>& subscriber) const {
  return subscribeNext([to = subscriber.broadcast_](const T& value) { to->sendNext(value); });
}

template <typename T>
template <typename Failed>
Tarn_RACDisposable Tarn_RACSignal<T>::subscribeError(Failed failed) const {
  return subscribeNext(tarn::rac::Ignore(), std::move(failed));
}

template <typename T>
template <typename Completed>
Tarn_RACDisposable Tarn_RACSignal<T>::subscribeCompleted(Completed completed) const {
  return subscribeNext(tarn::rac::Ignore(), tarn::rac::Ignore(), std::move(completed));
}

template <typename T>
Tarn_RACDisposable Tarn_RACSignal<T>::subscribe(const Tarn_RACSubscriber<T>& subscriber) const {
  const auto to = subscriber.broadcast_;
  return subscribeNext([to](const T& value) { to->sendNext(value); },
                       [to](const tarn::Error& error) { to->sendEnd(error); },
                       [to] { to->sendEnd(std::nullopt); });
}
