#pragma once

#include <QObject>
#include <atomic>

#include "Platform/Queue.h"

namespace tarn {

/// Has Qt's event loop run the tasks of `MainQueue`, as long as it lives. Made on the thread of the
/// `QCoreApplication`, which is the main thread then, and destroyed there.
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
  std::atomic<bool> woken_ = false;  // one posted event runs all tasks that wait
  Token installation_;               // ends first
};

}  // namespace tarn
