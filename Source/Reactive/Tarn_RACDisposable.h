#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "Platform/Observable.h"

/// A handle that ends a subscription, an observation, or a group of them.
///
/// Copies are the same disposable. It is disposed of at most once, on the disposing thread: first its own
/// action runs, then its parts are disposed of in the order in which they were added. Destroying the last
/// handle ends nothing: an owner that ends subscriptions when it is destroyed has a
/// `Tarn_RACDeallocDisposable`. Any thread.
class Tarn_RACDisposable {
 public:
  /// A group without an action.
  Tarn_RACDisposable();
  explicit Tarn_RACDisposable(std::function<void()> action);
  explicit Tarn_RACDisposable(tarn::Token token);
  Tarn_RACDisposable(const Tarn_RACDisposable&) = default;
  Tarn_RACDisposable& operator=(const Tarn_RACDisposable&) = default;
  ~Tarn_RACDisposable() = default;

  /// A second call does nothing, even from inside the first.
  void dispose() const;

  [[nodiscard]] bool isDisposed() const { return state_->disposed.load(std::memory_order_acquire); }

  /// Disposes of `part` together with this one, or at once if this one has been disposed of. Parts that ended
  /// on their own are removed from time to time, so that a long-lived group does not grow without limit.
  void add(const Tarn_RACDisposable& part) const;

 private:
  struct State {
    std::atomic<bool> disposed = false;
    std::mutex mutex;
    std::function<void()> action;
    std::vector<Tarn_RACDisposable> parts;
    std::size_t pruneAt = 8;
  };
  std::shared_ptr<State> state_;
};

/// Disposes of its parts when it is destroyed. Make it the last member of an object that subscribes, so that
/// the subscriptions end before the members that their callbacks use.
class Tarn_RACDeallocDisposable {
 public:
  Tarn_RACDeallocDisposable() = default;
  Tarn_RACDeallocDisposable(const Tarn_RACDeallocDisposable&) = delete;
  Tarn_RACDeallocDisposable& operator=(const Tarn_RACDeallocDisposable&) = delete;
  ~Tarn_RACDeallocDisposable() { disposable_.dispose(); }

  void add(const Tarn_RACDisposable& part) const { disposable_.add(part); }
  /// Disposes of all parts, and from now on of each part as it is added.
  void dispose() const { disposable_.dispose(); }

 private:
  Tarn_RACDisposable disposable_;
};
