#pragma once

namespace tarn {

/// While one lives, its thread is inside libcurl and the TLS library beneath it, and a fork waits: the child
/// would get their locks and memory half changed. Any thread; they nest.
class ForkDelay {
 public:
  ForkDelay();
  ForkDelay(const ForkDelay&) = delete;
  ForkDelay& operator=(const ForkDelay&) = delete;
  ~ForkDelay();

  /// Lets a fork through while it lives, inside exactly one delay.
  class Pause {
   public:
    Pause();
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;
    ~Pause();
  };
};

}  // namespace tarn
