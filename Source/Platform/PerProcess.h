#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

namespace tarn {

/// How many forks there are between the process that loaded this library and this one. Any thread.
[[nodiscard]] unsigned forkGeneration();

/// An object that each process makes at its first use.
///
/// A child made by `fork` has none of its parent's threads, so a lock that one of them held is never released
/// there, and a thread there can never be joined. The child therefore never touches its parent's
/// object, not even to destroy it, and makes a new one. Any thread; when several threads use it first at
/// the same time, one of the objects made is kept and the others are destroyed.
template <typename T>
class PerProcess {
 public:
  using Make = std::function<std::unique_ptr<T>()>;
  explicit PerProcess(Make make = [] { return std::make_unique<T>(); }) : make_(std::move(make)) {}
  PerProcess(const PerProcess&) = delete;
  PerProcess& operator=(const PerProcess&) = delete;
  ~PerProcess() {
    if (!existing()) return;
    const std::unique_ptr<Made> own(newest_);
  }

  T& get() {
    if (T* const own = existing()) return *own;
    Made* before = newest_;
    std::unique_ptr<Made> made(new Made{forkGeneration(), make_(), before});
    if (!newest_.compare_exchange_strong(before, made.get())) return *before->object;
    return *made.release()->object;
  }
  T* operator->() { return &get(); }

  /// Null until this process has made its object.
  [[nodiscard]] T* existing() const {
    const Made* const made = newest_;
    return made && made->generation == forkGeneration() ? made->object.get() : nullptr;
  }

 private:
  struct Made {
    const unsigned generation;
    const std::unique_ptr<T> object;
    const Made* const ofParent;  // kept reachable for leak checkers
  };

  const Make make_;
  std::atomic<Made*> newest_ = nullptr;
};

}  // namespace tarn
