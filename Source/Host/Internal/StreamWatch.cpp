#include "Host/Internal/StreamWatch.h"

#include <utility>

#include "Platform/MainQueue.h"
#include "Platform/PerProcess.h"

namespace tarn {

StreamWatch::StreamWatch(StreamEngine engine, std::function<void()> onTick)
    : engine_(std::move(engine)),
      generation_(forkGeneration()),
      ticker_(MainQueue::shared(), engine_.reportInterval, std::move(onTick)) {}

void StreamWatch::beginItem() {
  generation_ = forkGeneration();
  expectProgress();
}

void StreamWatch::expectProgress() {
  lastAdvance_ = Clock::now();
  ticker_.setRunning(true);
}

bool StreamWatch::hasPassed(std::chrono::milliseconds limit) const {
  return Clock::now() - lastAdvance_ > limit;
}

bool StreamWatch::isItemOfParent() const {
  return generation_ != forkGeneration();
}

}  // namespace tarn
