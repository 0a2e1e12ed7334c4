#pragma once

#include <csignal>

#include "Platform/Queue.h"

namespace tarn {

/// Runs `task` on one of the library's pool threads. Any thread; also while the process exits, when the task
/// may be dropped.
void runOnPool(Task task);

/// Threads started while this lives take no signals: an application's handlers run on its own threads.
class WithoutSignals {
 public:
  WithoutSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~WithoutSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  WithoutSignals(const WithoutSignals&) = delete;
  WithoutSignals& operator=(const WithoutSignals&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace tarn
