#include "Platform/PerProcess.h"

#include <pthread.h>

namespace tarn {
namespace {

std::atomic<unsigned> generation{0};

/// Registered before `main`, so that every fork is counted.
[[maybe_unused]] const int registered = pthread_atfork(nullptr, nullptr, [] { ++generation; });

}  // namespace

unsigned forkGeneration() {
  return generation;
}

}  // namespace tarn
