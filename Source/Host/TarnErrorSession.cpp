#include "Host/TarnErrorSession.h"

#include <utility>

TarnErrorSession::TarnErrorSession(std::shared_ptr<TarnPlaybackSession> playbackSession,
                                   LifecycleEvent errorEvent)
    : playbackSession_(std::move(playbackSession)), errorEvent_(std::move(errorEvent)) {}

void TarnErrorSession::begin() {
  if (phase_ != Phase::waiting) return;
  const auto keepAlive = shared_from_this();
  phase_ = Phase::running;
  lifecycle_.sendNext(
      std::make_shared<const TarnPlaybackSessionLifecycleEvent>(kTarnPlaybackSessionLifecycleEventBegin));
  if (phase_ == Phase::running) lifecycle_.sendNext(errorEvent_);
  terminate();
}

void TarnErrorSession::terminate() {
  if (phase_ == Phase::over) return;
  const auto keepAlive = shared_from_this();
  phase_ = Phase::over;
  playbackSession_->terminate();
  gate_.close();
  lifecycle_.sendNext(
      std::make_shared<const TarnPlaybackSessionLifecycleEvent>(kTarnPlaybackSessionLifecycleEventTerminate));
}
