#pragma once

namespace tarn {

/// Marks its thread as inside libcurl and its TLS library; a fork waits until it is destroyed. Otherwise the
/// child would copy locks and memory in an inconsistent state. Any thread; they nest.
class ForkDelay {
 public:
  ForkDelay();
  ForkDelay(const ForkDelay&) = delete;
  ForkDelay& operator=(const ForkDelay&) = delete;
  ~ForkDelay();

  /// Allows a fork during its lifetime, inside exactly one delay.
  class Pause {
   public:
    Pause();
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;
    ~Pause();
  };
};

}  // namespace tarn
