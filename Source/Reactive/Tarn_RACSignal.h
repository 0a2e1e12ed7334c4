#pragma once

#include <concepts>
#include <cstddef>
#include <memory>
#include <vector>

#include "Reactive/Tarn_RACReceiver.h"
#include "Reactive/Tarn_RACScheduler.h"
#include "Reactive/Tarn_RACSubscriber.h"
#include "Reactive/Tarn_RACTuple.h"

/// A stream of values that ends at most once, with an error or with its completion.
///
/// The handle is cheap to copy and describes only; each subscription sets the described work going anew. The
/// rules, which all signals and operators keep:
///
/// Order. Values are delivered synchronously, inside the sender's call, to the subscribers in the order in
/// which they subscribed. What a callback sends goes out in full, to every subscriber, before the outer send
/// goes on (depth first); a later subscriber therefore sees the inner value before the outer one. Each
/// operator brings its own state up to date before it sends, so pairs and samples are formed in the order in
/// which the values arrived. A subscription made inside a callback sees only what is sent later.
///
/// Ends. Nothing follows an error or a completion. The subscription is over (`isDisposed`, cleaned up) when
/// the callback that reports the end is called. An error that nobody asked for is dropped.
///
/// Disposal. It takes effect at once, also inside a callback and inside `subscribeNext`: no function of the
/// subscription, at no stage, is called any more. Other subscribers still get the value being sent.
///
/// Ownership. A source holds its subscriptions, and through them the callbacks, until they end or are
/// disposed of; the disposable that a created signal returns, and all that it holds, lives as long. Nothing
/// else is kept: a subscription does not hold the subject or the property it listens to (only `concat` holds
/// the signals still to come), and a disposable holds no callback. A source that is let go frees its
/// subscriptions without a word.
///
/// Threads. A subscription belongs to one thread at a time, the one that sends; all sources of a combining
/// operator send on the same one. Only `deliverOn` and `deliverOnMainThread` change threads. Subscribing to a
/// subject and disposing may be done on any thread; a callback that is running on another one is not awaited.
///
/// Functions given to an operator are copied into each subscription and may keep state of their own.
/// Delivery allocates nothing beyond what copying `T` does, except in operators that wait (zip, delivery on a
/// scheduler) or subscribe (the flattening ones). `T` is copyable.
template <typename T>
class Tarn_RACSignal {
 public:
  using Value = T;

  // Making signals.

  /// `subscribe` is called, as const, for each subscription with a `Tarn_RACSubscriber<T>` to send to, and
  /// returns nothing or the `Tarn_RACDisposable` that cleans up: disposed of when the subscription ends.
  template <typename Subscribe>
  [[nodiscard]] static Tarn_RACSignal create(Subscribe subscribe);
  /// Sends the value and completes.
  [[nodiscard]] static Tarn_RACSignal returnValue(T value);
  /// Sends the values in order and completes.
  [[nodiscard]] static Tarn_RACSignal values(std::vector<T> values);
  [[nodiscard]] static Tarn_RACSignal empty();
  [[nodiscard]] static Tarn_RACSignal never();
  [[nodiscard]] static Tarn_RACSignal error(tarn::Error error);

  // Subscribing. The subscription goes on when the disposable is dropped.

  /// Calls `next(const T&)`, then at most one of `failed(const tarn::Error&)` and `completed()`.
  template <typename Next, typename Failed = tarn::rac::Ignore, typename Completed = tarn::rac::Ignore>
  requires(!std::derived_from<Next, Tarn_RACSubscriber<T>>) Tarn_RACDisposable
      subscribeNext(Next next, Failed failed = {}, Completed completed = {})
  const;
  /// Sends the values, not the end, to `subscriber`, which lives as long as the subscription.
  Tarn_RACDisposable subscribeNext(const Tarn_RACSubscriber<T>& subscriber) const;
  template <typename Failed>
  Tarn_RACDisposable subscribeError(Failed failed) const;
  template <typename Completed>
  Tarn_RACDisposable subscribeCompleted(Completed completed) const;
  /// Sends the values and the end to `subscriber`, which lives as long as the subscription.
  Tarn_RACDisposable subscribe(const Tarn_RACSubscriber<T>& subscriber) const;

  // One value at a time.

  /// Each value as `function(value)`.
  template <typename Function>
  [[nodiscard]] auto map(Function function) const;
  /// For tuples: each as `function(first, second, …)`.
  template <typename Function>
  [[nodiscard]] auto reduceEach(Function function) const;
  template <typename Predicate>
  [[nodiscard]] Tarn_RACSignal filter(Predicate predicate) const;
  /// Drops absent values: `std::optional<U>` becomes `U`; null pointers are left out.
  [[nodiscard]] auto ignoreNil() const;
  /// Calls `function(value)` before the value goes on.
  template <typename Function>
  [[nodiscard]] Tarn_RACSignal doNext(Function function) const;
  /// Drops a value equal to the one before it, by `==` or by `equal(a, b)`.
  [[nodiscard]] Tarn_RACSignal distinctUntilChanged() const;
  template <typename Equal>
  [[nodiscard]] Tarn_RACSignal distinctUntilChanged(Equal equal) const;

  // Beginnings and ends.

  /// Sends `value` first, inside the subscribing call.
  [[nodiscard]] Tarn_RACSignal startWith(T value) const;
  /// Completes with the last of the first `count` values; at once, without subscribing, if `count` is 0.
  [[nodiscard]] Tarn_RACSignal take(std::size_t count) const;
  [[nodiscard]] Tarn_RACSignal skip(std::size_t count) const;
  /// Completes when `trigger` sends a value or completes; an error of the trigger changes nothing. The
  /// trigger is subscribed to first.
  template <typename U>
  [[nodiscard]] Tarn_RACSignal takeUntil(const Tarn_RACSignal<U>& trigger) const;
  /// Subscribes to `next`, which the subscription holds until then, when this one has completed.
  [[nodiscard]] Tarn_RACSignal concat(const Tarn_RACSignal& next) const;

  // Several signals. An error of any ends the result; it is subscribed to in the order of mention.

  /// The values of both as they come; completes when both have.
  [[nodiscard]] Tarn_RACSignal merge(const Tarn_RACSignal& other) const;
  /// For signals of signals: the values of all of them as they come; completes when all have.
  [[nodiscard]] auto flatten() const;
  /// `map`, then `flatten`.
  template <typename Function>
  [[nodiscard]] auto flattenMap(Function function) const;
  /// For signals of signals: the values of the newest one; completes when it and this one have.
  [[nodiscard]] auto switchToLatest() const;
  /// The newest value of this one whenever `sampler` sends, from this one's first value on. Completes when
  /// either does.
  template <typename U>
  [[nodiscard]] Tarn_RACSignal sample(const Tarn_RACSignal<U>& sampler) const;

  // Threads.

  /// Everything further down happens on the scheduler, in order, in a task of its own for each value and for
  /// the end, never inside the sender's call. Disposing there drops what is still on its way.
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

/// The first values together, then the second values, and so on. Values wait, without limit, for their
/// counterparts. Completes when a signal that has completed has no value left. The signals are subscribed to
/// in order.
template <typename... T>
[[nodiscard]] Tarn_RACSignal<Tarn_RACTuple<T...>> zip(const Tarn_RACSignal<T>&... signals);

/// The newest values of all, whenever one sends, from the moment when all have sent. Completes when all have.
/// The signals are subscribed to in order.
template <typename... T>
[[nodiscard]] Tarn_RACSignal<Tarn_RACTuple<T...>> combineLatest(const Tarn_RACSignal<T>&... signals);

/// The values of all as they come; completes when all have. The signals are subscribed to in order.
template <typename T, typename... Signals>
[[nodiscard]] Tarn_RACSignal<T> merge(const Tarn_RACSignal<T>& first, const Signals&... others);

/// The signals one after the other; the subscription holds those still to come.
template <typename T, typename... Signals>
[[nodiscard]] Tarn_RACSignal<T> concat(const Tarn_RACSignal<T>& first, const Signals&... others);

}  // namespace tarn

#include "Reactive/Tarn_RACCombining.h"
#include "Reactive/Tarn_RACFlattening.h"
#include "Reactive/Tarn_RACMaking.h"
#include "Reactive/Tarn_RACStages.h"
