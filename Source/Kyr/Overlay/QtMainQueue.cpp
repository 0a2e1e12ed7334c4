#include "Overlay/QtMainQueue.h"

#include <QMetaObject>

namespace tarn {

QtMainQueue::QtMainQueue() : installation_(MainQueue::shared().installEventLoop([this] { wake(); })) {}

void QtMainQueue::wake() {
  if (woken_.exchange(true)) return;
  QMetaObject::invokeMethod(
      &receiver_, [this] { drain(); }, Qt::QueuedConnection);
}

void QtMainQueue::drain() {
  woken_ = false;
  MainQueue::shared().drain();
}

}  // namespace tarn
