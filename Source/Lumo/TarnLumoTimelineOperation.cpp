#include "Lumo/TarnLumoTimelineOperation.h"

#include <utility>

#include "Lumo/TarnLumoTimeline.h"
#include "Platform/MainQueue.h"

TarnLumoTimelineOperation::TarnLumoTimelineOperation(std::optional<tarn::URL> lumoUXURL)
    : lumoUXURL_(std::move(lumoUXURL)), isolationQueue_("TarnLumoTimelineOperation.isolation") {}

TarnLumoTimelineOperation::~TarnLumoTimelineOperation() = default;

std::shared_ptr<const TarnLumoTimeline> TarnLumoTimelineOperation::resultTimeline() const {
  const std::lock_guard lock(lockObject_);
  return resultTimeline_;
}

std::optional<tarn::Error> TarnLumoTimelineOperation::error() const {
  const std::lock_guard lock(lockObject_);
  return error_;
}

std::vector<TarnLumoWarning> TarnLumoTimelineOperation::warnings() const {
  const std::lock_guard lock(lockObject_);
  return warnings_;
}

bool TarnLumoTimelineOperation::isExecuting() const {
  const std::lock_guard lock(lockObject_);
  return executing_;
}

bool TarnLumoTimelineOperation::isFinished() const {
  const std::lock_guard lock(lockObject_);
  return finished_;
}

void TarnLumoTimelineOperation::start() {
  isolationQueue_.async([self = shared_from_this(), this] { begin(); });
}

void TarnLumoTimelineOperation::begin() {
  if (isCancelled() || !lumoUXURL_) return finish();
  {
    const std::lock_guard lock(lockObject_);
    if (executing_ || finished_) return;
    executing_ = true;
  }
  const auto document = std::make_shared<TarnLumoDocument>(*lumoUXURL_);
  document->setFetch(fetch_);
  document->retrieveOnQueue(tarn::MainQueue::shared(), httpHeaders_,
                            [self = shared_from_this(), this](const auto& retrieved, const auto& error) {
                              conclude(retrieved.get(), error);
                            });
  document_ = document;
  announceExecuting();
}

void TarnLumoTimelineOperation::abortRetrieval() {
  isolationQueue_.async([self = shared_from_this(), this] {
    if (const auto document = document_.lock()) document->abortRetrieval();
  });
}

void TarnLumoTimelineOperation::conclude(const TarnLumoDocument* document,
                                         const std::optional<tarn::Error>& error) {
  {
    const std::lock_guard lock(lockObject_);
    if (document != nullptr) {
      resultTimeline_ = document->timeline();
      warnings_ = document->warnings();
    }
    if (!resultTimeline_) error_ = error;
  }
  finish();
}

void TarnLumoTimelineOperation::finish() {
  {
    const std::lock_guard lock(lockObject_);
    executing_ = false;
    finished_ = true;
  }
  announceExecuting();
  announceFinished();
}
