#pragma once

#include <chrono>
#include <functional>

#include "Platform/MainQueue.h"

namespace tarn::cli {

/// An event loop that runs the tasks of the main queue: until `done`, checked after every turn, returns true
/// or the time is over. Returns whether `done` returned true. Main thread.
using RunUntil = std::function<bool(const std::function<bool()>& done, std::chrono::milliseconds limit)>;

/// The loop of a program without another event loop.
inline bool runMainQueueUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
  return MainQueue::shared().runUntil(done, limit);
}

}  // namespace tarn::cli
