#pragma once

#include <QObject>
#include <atomic>

#include "Platform/MainQueue.h"

namespace tarn {

/// Runs the tasks of `MainQueue` from Qt's event loop during its lifetime. Made and destroyed on the thread
/// of the `QCoreApplication`, which is then the main thread.
class QtMainQueue final {
 public:
  QtMainQueue();
  QtMainQueue(const QtMainQueue&) = delete;
  QtMainQueue& operator=(const QtMainQueue&) = delete;
  ~QtMainQueue() = default;

 private:
  void wake();
  void drain();

  QObject receiver_;
  std::atomic<bool> woken_ = false;  // one posted event runs all waiting tasks
  Token installation_;               // ends first
};

}  // namespace tarn
