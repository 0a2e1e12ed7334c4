#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "Reactive/Tarn_RACCombining.h"
#include "Reactive/Tarn_RACFlattening.h"
#include "Reactive/Tarn_RACOperator.h"
#include "Reactive/Tarn_RACScheduler.h"
#include "Reactive/Tarn_RACStages.h"
#include "Reactive/Tarn_RACSubscriber.h"
#include "Reactive/Tarn_RACTuple.h"

/// A stream of values that ends at most once, with an error or with its completion.
///
/// The handle is cheap to copy; it describes work and does none: each subscription starts the work once more.
/// All signals and operators follow these rules:
///
/// Order. Values are delivered synchronously, inside the sender's call, to the subscribers in the order in
/// which they subscribed. A value that a callback sends reaches every subscriber before the outer send
/// continues (depth first); a later subscriber therefore receives the inner value before the outer one. Each
/// operator updates its own state before it sends, so pairs and samples are formed in the order in which the
/// values arrived. A subscription made inside a callback receives only values sent later.
///
/// Ends. Nothing follows an error or a completion. The subscription is over (`isDisposed`, cleaned up) when
/// the callback that reports the end is called. An error without a callback for it is dropped.
///
/// Disposal. It takes effect at once, also inside a callback and inside `subscribeNext`: afterwards no
/// function of the subscription is called, at any stage. Other subscribers still receive the value being
/// sent.
///
/// Ownership. A source holds its subscriptions, and through them the callbacks, until they end or are
/// disposed of; the disposable that a created signal returns, and all that it holds, lives as long. A
/// subscription does not hold the subject or the property that it subscribes to (only `concat` holds the
/// signals not yet started), and a disposable holds no callback. A source that is destroyed releases its
/// subscriptions and sends nothing.
///
/// Threads. A subscription belongs to one thread at a time, the one that sends; all sources of a combining
/// operator send on the same one. Only `deliverOn` and `deliverOnMainThread` change threads. Subscribing to a
/// subject and disposing may be done on any thread; disposing does not wait for a callback that is running on
/// another one.
///
/// Functions given to an operator are copied into each subscription and may keep state of their own.
/// Delivery allocates nothing beyond what copying `T` does, except in operators that wait (zip, delivery on a
/// scheduler) or subscribe (the flattening ones). `T` is copyable.
template <typename T>
class Tarn_RACSignal {
 public:
  using Value = T;

  // Making signals.

  /// Calls `subscribe`, as const, for each subscription with a `Tarn_RACSubscriber<T>` to send to. It returns
  /// nothing, or the `Tarn_RACDisposable` to dispose of when the subscription ends.
  template <typename Subscribe>
  [[nodiscard]] static Tarn_RACSignal create(Subscribe subscribe);
  /// Sends the value and completes.
  [[nodiscard]] static Tarn_RACSignal returnValue(T value);
  /// Sends the values in order and completes.
  [[nodiscard]] static Tarn_RACSignal values(std::vector<T> values);
  [[nodiscard]] static Tarn_RACSignal empty();
  [[nodiscard]] static Tarn_RACSignal never();
  [[nodiscard]] static Tarn_RACSignal error(tarn::Error error);

  // Subscribing. The subscription continues when the disposable is dropped.

  /// Calls `next(const T&)`, then at most one of `failed(const tarn::Error&)` and `completed()`.
  template <typename Next, typename Failed = tarn::rac::Ignore, typename Completed = tarn::rac::Ignore>
  requires(!std::derived_from<Next, Tarn_RACSubscriber<T>>) Tarn_RACDisposable
      subscribeNext(Next next, Failed failed = {}, Completed completed = {})
  const;
  /// Sends the values, not the end, to `subscriber`, which lives as long as the subscription.
  Tarn_RACDisposable subscribeNext(const Tarn_RACSubscriber<T>& subscriber) const;

  // One value at a time.

  /// Each value as `function(value)`.
  template <typename Function>
  [[nodiscard]] auto map(Function function) const;
  /// For tuples: each as `function(first, second, …)`.
  template <typename Function>
  [[nodiscard]] auto reduceEach(Function function) const;
  template <typename Predicate>
  [[nodiscard]] Tarn_RACSignal filter(Predicate predicate) const;
  /// Drops absent values: `std::optional<U>` becomes `U`; null pointers are dropped.
  [[nodiscard]] auto ignoreNil() const { return tarn::rac::ignoreNil(*this); }
  /// Drops a value equal to the previous one.
  [[nodiscard]] Tarn_RACSignal distinctUntilChanged() const;

  // Beginnings and ends.

  /// Sends `value` first, inside the subscribing call.
  [[nodiscard]] Tarn_RACSignal startWith(T value) const;
  /// Completes with the last of the first `count` values; at once, without subscribing, if `count` is 0.
  [[nodiscard]] Tarn_RACSignal take(std::size_t count) const;
  [[nodiscard]] Tarn_RACSignal skip(std::size_t count) const;
  /// Subscribes to `next` when this one has completed. The subscription holds `next` until then.
  [[nodiscard]] Tarn_RACSignal concat(const Tarn_RACSignal& next) const;

  // Several signals, subscribed to in the order in which they are named. An error of any ends the result.

  /// The values of both as they arrive; completes when both have.
  [[nodiscard]] Tarn_RACSignal merge(const Tarn_RACSignal& other) const;
  /// Each value becomes the signal `function(value)`: the values of all of these as they arrive; completes
  /// when this one and all of these have.
  template <typename Function>
  [[nodiscard]] auto flattenMap(Function function) const;
  /// For signals of signals: the values of the newest one; completes when it and this one have.
  [[nodiscard]] auto switchToLatest() const;
  /// The newest value of this one each time `sampler` sends, from this one's first value on. Completes when
  /// either does.
  template <typename U>
  [[nodiscard]] Tarn_RACSignal sample(const Tarn_RACSignal<U>& sampler) const;

  // Threads.

  /// Delivers each value and the end in its own task on the scheduler, in order, never inside the sender's
  /// call. Disposing there drops the values not yet delivered.
  [[nodiscard]] Tarn_RACSignal deliverOn(Tarn_RACScheduler scheduler) const;
  [[nodiscard]] Tarn_RACSignal deliverOnMainThread() const;

  // For operators.

  explicit Tarn_RACSignal(std::shared_ptr<tarn::rac::Source<T>> source) : source_(std::move(source)) {}
  Tarn_RACSignal(const Tarn_RACSignal&) = default;
  Tarn_RACSignal& operator=(const Tarn_RACSignal&) = default;
  ~Tarn_RACSignal() = default;
  void subscribeReceiver(const tarn::rac::ReceiverPtr<T>& receiver) const;

 private:
  std::shared_ptr<tarn::rac::Source<T>> source_;
};

namespace tarn {

/// The first values as a tuple, then the second values, and so on. Values are queued, without limit, until
/// there is one from each signal. Completes when a signal that has completed has no value left. The signals
/// are subscribed to in order.
template <typename... T>
[[nodiscard]] Tarn_RACSignal<Tarn_RACTuple<T...>> zip(const Tarn_RACSignal<T>&... signals);

/// The newest values of all each time one sends, once all have sent. Completes when all have.
/// The signals are subscribed to in order.
template <typename... T>
[[nodiscard]] Tarn_RACSignal<Tarn_RACTuple<T...>> combineLatest(const Tarn_RACSignal<T>&... signals);

/// The values of all as they arrive; completes when all have. The signals are subscribed to in order.
template <typename T, typename... Signals>
[[nodiscard]] Tarn_RACSignal<T> merge(const Tarn_RACSignal<T>& first, const Signals&... others);

}  // namespace tarn

template <typename T>
template <typename Subscribe>
Tarn_RACSignal<T> Tarn_RACSignal<T>::create(Subscribe subscribe) {
  using Subscriber = Tarn_RACSubscriber<T>;
  static_assert(
      std::is_invocable_v<const Subscribe&, const Subscriber&>,
      "create: the function takes a Tarn_RACSubscriber of the signal's type, and is callable as const");
  return tarn::rac::makeSignal<T>(
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
  return tarn::rac::makeSignal<T>([value = std::move(value)](const tarn::rac::ReceiverPtr<T>& receiver) {
    receiver->sendNext(value);
    receiver->sendCompleted();
  });
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::values(std::vector<T> values) {
  return tarn::rac::makeSignal<T>([values = std::move(values)](const tarn::rac::ReceiverPtr<T>& receiver) {
    for (const auto& value : values) {
      if (receiver->isDisposed()) return;
      receiver->sendNext(value);
    }
    receiver->sendCompleted();
  });
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::empty() {
  return values({});
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::never() {
  return tarn::rac::makeSignal<T>([](const tarn::rac::ReceiverPtr<T>&) {});
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::error(tarn::Error error) {
  return tarn::rac::makeSignal<T>(
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
  subscribeReceiver(std::make_shared<tarn::rac::CallbackReceiver<T, Next, Failed, Completed>>(
      disposable, std::move(next), std::move(failed), std::move(completed)));
  return disposable;
}

template <typename T>
Tarn_RACDisposable Tarn_RACSignal<T>::subscribeNext(const Tarn_RACSubscriber<T>& subscriber) const {
  return subscribeNext([to = subscriber.broadcast_](const T& value) { to->sendNext(value); });
}

template <typename T>
template <typename Function>
auto Tarn_RACSignal<T>::map(Function function) const {
  static_assert(std::is_invocable_v<Function&, const T&>, "map: the function takes a value of the signal");
  using U = std::decay_t<std::invoke_result_t<Function&, const T&>>;
  static_assert(!std::is_void_v<U>, "map: the function returns the new value");
  return tarn::rac::addStage<U>(
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
                "filter: the predicate takes a value of the signal and returns a bool");
  return tarn::rac::addStage<T>(
      *this, [predicate = std::move(predicate)](const T& value, tarn::rac::Receiver<T>& downstream) mutable {
        if (std::invoke(predicate, value)) downstream.sendNext(value);
      });
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::distinctUntilChanged() const {
  return tarn::rac::distinctUntilChanged(*this);
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::startWith(T value) const {
  return tarn::rac::makeSignal<T>(
      [source = *this, value = std::move(value)](const tarn::rac::ReceiverPtr<T>& receiver) {
        receiver->sendNext(value);
        source.subscribeReceiver(receiver);
      });
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::take(std::size_t count) const {
  return count == 0 ? empty() : tarn::rac::take(*this, count);
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::skip(std::size_t count) const {
  return tarn::rac::skip(*this, count);
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::concat(const Tarn_RACSignal& next) const {
  return tarn::rac::concat<T>({*this, next});
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::merge(const Tarn_RACSignal& other) const {
  return tarn::merge(*this, other);
}

template <typename T>
template <typename Function>
auto Tarn_RACSignal<T>::flattenMap(Function function) const {
  const auto signals = map(std::move(function));
  static_assert(tarn::rac::SignalValue<typename decltype(signals)::Value>::exists,
                "flattenMap: the function returns a Tarn_RACSignal");
  return tarn::rac::flatten(signals);
}

template <typename T>
auto Tarn_RACSignal<T>::switchToLatest() const {
  static_assert(tarn::rac::SignalValue<T>::exists,
                "switchToLatest: the values of this signal are not signals");
  return tarn::rac::switchToLatest(*this);
}

template <typename T>
template <typename U>
Tarn_RACSignal<T> Tarn_RACSignal<T>::sample(const Tarn_RACSignal<U>& sampler) const {
  return tarn::rac::sample(*this, sampler);
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::deliverOn(Tarn_RACScheduler scheduler) const {
  return tarn::rac::deliverOn(*this, scheduler);
}

template <typename T>
Tarn_RACSignal<T> Tarn_RACSignal<T>::deliverOnMainThread() const {
  return deliverOn(Tarn_RACScheduler::mainThreadScheduler());
}

template <typename... T>
Tarn_RACSignal<Tarn_RACTuple<T...>> tarn::zip(const Tarn_RACSignal<T>&... signals) {
  return rac::combineWith<rac::ZipState<T...>>(std::index_sequence_for<T...>(), signals...);
}

template <typename... T>
Tarn_RACSignal<Tarn_RACTuple<T...>> tarn::combineLatest(const Tarn_RACSignal<T>&... signals) {
  return rac::combineWith<rac::CombineState<T...>>(std::index_sequence_for<T...>(), signals...);
}

template <typename T, typename... Signals>
Tarn_RACSignal<T> tarn::merge(const Tarn_RACSignal<T>& first, const Signals&... others) {
  return rac::flatten(Tarn_RACSignal<Tarn_RACSignal<T>>::values({first, others...}));
}
