#include "Platform/Internal/ForkDelay.h"

#include <pthread.h>

#include <condition_variable>
#include <mutex>

#include "Platform/PerProcess.h"

namespace tarn {
namespace {

struct Gate {
  std::mutex mutex;  // guards the members below
  std::condition_variable changed;
  int inside = 0;
  int forks = 0;
};

PerProcess<Gate>& gates() {
  static auto& instance = *new PerProcess<Gate>;
  return instance;
}

thread_local int depth = 0;

/// A forking thread that is inside does not wait for itself.
void beforeFork() {
  Gate& gate = gates().get();
  std::unique_lock lock(gate.mutex);
  ++gate.forks;
  gate.changed.wait(lock, [&gate] { return gate.inside == (depth > 0 ? 1 : 0); });
}

void afterFork() {
  Gate& gate = gates().get();
  const std::lock_guard lock(gate.mutex);
  --gate.forks;
  gate.changed.notify_all();
}

/// Registered late: fork handlers run in reverse order, so these run before those that lock what the threads
/// inside may need.
void enter() {
  [[maybe_unused]] static const int registered = pthread_atfork(beforeFork, afterFork, nullptr);
  if (depth++ > 0) return;
  Gate& gate = gates().get();
  std::unique_lock lock(gate.mutex);
  gate.changed.wait(lock, [&gate] { return gate.forks == 0; });
  ++gate.inside;
}

void leave() {
  if (--depth > 0) return;
  Gate* const gate = gates().existing();
  if (!gate) return;  // this child was forked inside a delay
  const std::lock_guard lock(gate->mutex);
  --gate->inside;
  if (gate->forks > 0) gate->changed.notify_all();
}

}  // namespace

ForkDelay::ForkDelay() {
  enter();
}

ForkDelay::~ForkDelay() {
  leave();
}

ForkDelay::Pause::Pause() {
  leave();
}

ForkDelay::Pause::~Pause() {
  enter();
}

}  // namespace tarn
