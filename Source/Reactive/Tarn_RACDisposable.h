#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "Platform/Observable.h"

/// A handle on something that can be ended: a subscription, an observation, or a group of them.
///
/// Copies are the same disposable. It is disposed of at most once; what it ends runs on the disposing thread,
/// first its own action, then what was added to it, in the order of adding. Letting go of the last handle
/// ends nothing: an owner that ends things when it dies has a `Tarn_RACDeallocDisposable`. Any thread.
class Tarn_RACDisposable {
 public:
  /// Ends nothing by itself; a group to add to.
  Tarn_RACDisposable();
  explicit Tarn_RACDisposable(std::function<void()> action);
  explicit Tarn_RACDisposable(tarn::Token token);
  Tarn_RACDisposable(const Tarn_RACDisposable&) = default;
  Tarn_RACDisposable& operator=(const Tarn_RACDisposable&) = default;
  ~Tarn_RACDisposable() = default;

  /// A second call, also one from inside the first, does nothing.
  void dispose() const;

  [[nodiscard]] bool isDisposed() const { return state_->disposed.load(std::memory_order_acquire); }

  /// Disposes of `part` together with this one, or at once if this one has been disposed of. Parts that have
  /// ended for themselves are forgotten, so a long-lived group does not grow with what passed through it.
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

/// Ends with its owner: the last member of an object that subscribes, so that the subscriptions end before
/// anything that their callbacks use.
class Tarn_RACDeallocDisposable {
 public:
  Tarn_RACDeallocDisposable() = default;
  Tarn_RACDeallocDisposable(const Tarn_RACDeallocDisposable&) = delete;
  Tarn_RACDeallocDisposable& operator=(const Tarn_RACDeallocDisposable&) = delete;
  ~Tarn_RACDeallocDisposable() { disposable_.dispose(); }

  void add(const Tarn_RACDisposable& part) const { disposable_.add(part); }
  /// Ends everything added so far and everything added later.
  void dispose() const { disposable_.dispose(); }

 private:
  Tarn_RACDisposable disposable_;
};
