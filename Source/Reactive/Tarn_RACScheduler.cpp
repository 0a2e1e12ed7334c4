#include "Reactive/Tarn_RACScheduler.h"

#include <utility>

#include "Platform/MainQueue.h"

Tarn_RACScheduler Tarn_RACScheduler::mainThreadScheduler() {
  return Tarn_RACScheduler(tarn::MainQueue::shared());
}

void Tarn_RACScheduler::schedule(tarn::Task task) const {
  queue_->async(std::move(task));
}
