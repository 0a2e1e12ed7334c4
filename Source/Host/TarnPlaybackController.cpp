#include "Host/TarnPlaybackController.h"

#include <utility>

#include "Platform/MainQueue.h"

TarnPlaybackController::TarnPlaybackController(std::shared_ptr<TarnSessionProvider> sessionProvider,
                                               std::shared_ptr<TarnViewStrategy> viewStrategy)
    : provider_(std::move(sessionProvider)), viewStrategy_(std::move(viewStrategy)) {}

TarnPlaybackController::~TarnPlaybackController() {
  terminate();
}

void TarnPlaybackController::addSessionConsumer(std::weak_ptr<TarnSessionConsumer> consumer) {
  consumers_.push_back(std::move(consumer));
}

void TarnPlaybackController::addVideo(std::shared_ptr<const TarnVideo> video) {
  if (phase_ == Phase::over) return;
  waitingVideos_.push_back(std::move(video));
  advanceLater();
}

void TarnPlaybackController::begin() {
  if (phase_ != Phase::waiting) return;
  const auto keepAlive = shared_from_this();
  phase_ = Phase::running;
  provider_->setSessionCommonProperties(commonProperties_);
  sessionsSubscription_ = provider_->playbackSessionsForVideos(videos_).subscribeNext(
      [weak = weak_from_this()](const Session& session) {
        if (const auto self = weak.lock()) self->receive(session);
      });
  advance();
}

void TarnPlaybackController::terminate() {
  phase_ = Phase::over;
  sessionsSubscription_.dispose();
  waitingVideos_.clear();
  for (const auto& session : std::exchange(waitingSessions_, {})) session->terminate();
  dropCurrent();
}

/// Continues with the next video if there is no current session or it has ended.
void TarnPlaybackController::advance() {
  if (phase_ != Phase::running) return;
  if (current_ && currentState_ == CurrentState::playing) return;
  const bool anyWaiting = !waitingVideos_.empty() || !waitingSessions_.empty();
  if (currentState_ == CurrentState::ended && !anyWaiting) return;
  dropCurrent();
  if (phase_ != Phase::running) return;
  if (waitingSessions_.empty()) return requestNextSession();
  const Session next = waitingSessions_.front();
  waitingSessions_.pop_front();
  play(next);
}

/// On a later turn, so that all observers have received the event that ends the current session, and a list
/// of videos that fail at once does not recurse.
void TarnPlaybackController::advanceLater() {
  tarn::MainQueue::shared().async([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->advance();
  });
}

void TarnPlaybackController::requestNextSession() {
  if (awaitsSession_ || waitingVideos_.empty()) return;
  const auto video = waitingVideos_.front();
  waitingVideos_.pop_front();
  awaitsSession_ = true;
  videos_.sendNext(video);
}

void TarnPlaybackController::receive(const Session& session) {
  if (!session) return;
  awaitsSession_ = false;
  waitingSessions_.push_back(session);
  advance();
}

void TarnPlaybackController::play(const Session& session) {
  current_ = session;
  currentState_ = CurrentState::playing;
  lifecycleSubscription_ = session->lifecycle().subscribeNext(
      [weak = weak_from_this()](const TarnPlaybackSession::LifecycleEvent& event) {
        if (const auto self = weak.lock()) self->notice(event);
      });
  notifyConsumers(session);
  if (current_ == session) session->begin();
  if (current_ == session && autoPlay_) session->avPlayerPlay();
}

void TarnPlaybackController::notifyConsumers(const Session& session) {
  std::erase_if(consumers_, [](const auto& weak) { return weak.expired(); });
  const auto consumers = consumers_;
  for (const auto& weak : consumers) {
    if (const auto consumer = weak.lock()) consumer->didAdvanceToPlaybackSession(session);
  }
}

void TarnPlaybackController::notice(const TarnPlaybackSession::LifecycleEvent& event) {
  if (!event) return;
  if (event->is(kTarnPlaybackSessionLifecycleEventPlay)) {
    currentState_ = CurrentState::playing;
  } else if (event->is(kTarnPlaybackSessionLifecycleEventEnd)) {
    currentState_ = CurrentState::ended;
    advanceLater();
  } else if (event->is(kTarnPlaybackSessionLifecycleEventTerminate)) {
    currentState_ = CurrentState::terminated;
    advanceLater();
  }
}

void TarnPlaybackController::dropCurrent() {
  lifecycleSubscription_.dispose();
  currentState_ = CurrentState::playing;
  if (const auto session = std::exchange(current_, nullptr)) session->terminate();
}
