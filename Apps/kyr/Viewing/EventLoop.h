#pragma once

#include <chrono>
#include <functional>

#include "Platform/Queue.h"

namespace tarn::cli {

/// An event loop that runs the tasks of the main queue: until `done`, asked after every turn, answers true or
/// the time is up. Answers whether `done` was reached. Main thread.
using RunUntil = std::function<bool(const std::function<bool()>& done, std::chrono::milliseconds limit)>;

/// The loop of a program that has no other.
inline bool runMainQueueUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
  return MainQueue::shared().runUntil(done, limit);
}

}  // namespace tarn::cli
