#include "HostSimulated/VirtualClock.h"

#include <utility>

#include "Platform/MainQueue.h"

namespace tarn {
namespace {

void finishTurns() {
  while (MainQueue::shared().drain() > 0) {
  }
}

}  // namespace

Token VirtualClock::at(CMTime time, Task task) {
  const Due due{time, calls_++};
  schedule_->emplace(due, std::move(task));
  return Token([weak = std::weak_ptr<Schedule>(schedule_), due] {
    if (const auto schedule = weak.lock()) schedule->erase(due);
  });
}

void VirtualClock::advance(CMTime duration) {
  finishTurns();
  advance(duration, finishTurns);
}

void VirtualClock::advanceAlone(CMTime duration) {
  advance(duration, [] {});
}

void VirtualClock::advance(CMTime duration, const Task& afterEach) {
  const CMTime end = CMTimeAdd(now_, duration);
  while (!schedule_->empty() && schedule_->begin()->first.time <= end) {
    const auto next = schedule_->extract(schedule_->begin());
    if (next.key().time > now_) now_ = next.key().time;
    next.mapped()();
    afterEach();
  }
  now_ = end;
}

}  // namespace tarn
