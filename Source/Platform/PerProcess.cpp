#include "Platform/PerProcess.h"

#include <pthread.h>

namespace tarn {
namespace {

std::atomic<unsigned> generation{0};

/// Before `main`, so that no fork is missed.
[[maybe_unused]] const int registered = pthread_atfork(nullptr, nullptr, [] { ++generation; });

}  // namespace

unsigned forkGeneration() {
  return generation;
}

}  // namespace tarn
