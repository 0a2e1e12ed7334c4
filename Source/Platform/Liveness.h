#pragma once

#include <memory>
#include <utility>

namespace tarn {

/// Notices that its owner has been destroyed: a member of a class whose callbacks may destroy the object that
/// calls them, and whose tasks may wait on a queue for longer than it exists.
class Liveness {
 public:
  /// May outlive the owner, and be copied and destroyed on any thread; asked on the owner's thread.
  class Watch {
   public:
    [[nodiscard]] bool isAlive() const { return !alive_.expired(); }

   private:
    friend class Liveness;
    explicit Watch(std::weak_ptr<const char> alive) : alive_(std::move(alive)) {}
    std::weak_ptr<const char> alive_;
  };

  Liveness() = default;
  Liveness(const Liveness&) = delete;
  Liveness& operator=(const Liveness&) = delete;

  [[nodiscard]] Watch watch() const { return Watch(alive_); }

  /// Calls `function` as long as the owner exists, and does nothing afterwards. `function` returns nothing.
  template <typename Function>
  [[nodiscard]] auto guard(Function function) const {
    return [watch = watch(), function = std::move(function)](auto&&... arguments) {
      if (watch.isAlive()) function(std::forward<decltype(arguments)>(arguments)...);
    };
  }

 private:
  const std::shared_ptr<const char> alive_ = std::make_shared<const char>('\0');
};

}  // namespace tarn
