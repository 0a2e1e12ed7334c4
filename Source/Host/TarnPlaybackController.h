#pragma once

#include <deque>
#include <memory>
#include <vector>

#include "Host/TarnPlaybackSession.h"
#include "Host/TarnSessionCommonProperties.h"
#include "Host/TarnSessionConsumer.h"
#include "Host/TarnSessionProvider.h"
#include "Host/TarnVideo.h"
#include "Host/TarnViewStrategy.h"
#include "Platform/Observable.h"
#include "Reactive/Tarn_RACSubject.h"

/// Plays videos one after another.
///
/// It requests the session of a video from its provider only when that video is next, so that at most one
/// stream is open. It continues with the next video, on a later turn of the main queue, when a session has
/// terminated, or has reached its end while another video waits; the last session stays current after its
/// end, so that the viewer can seek back. Main thread; owned by a `std::shared_ptr`; made by
/// `TarnPlayerSDKManager`.
class TarnPlaybackController : public std::enable_shared_from_this<TarnPlaybackController> {
 public:
  /// `sessionProvider` is not null, `viewStrategy` may be.
  TarnPlaybackController(std::shared_ptr<TarnSessionProvider> sessionProvider,
                         std::shared_ptr<TarnViewStrategy> viewStrategy);
  TarnPlaybackController(const TarnPlaybackController&) = delete;
  TarnPlaybackController& operator=(const TarnPlaybackController&) = delete;
  /// Terminates.
  ~TarnPlaybackController();

  [[nodiscard]] const std::shared_ptr<TarnViewStrategy>& viewStrategy() const { return viewStrategy_; }
  /// Owned by the controller; its sessions and its provider refer to it weakly.
  [[nodiscard]] const std::shared_ptr<TarnSessionCommonProperties>& sessionCommonProperties() const {
    return commonProperties_;
  }
  /// Null between sessions.
  [[nodiscard]] const std::shared_ptr<TarnPlaybackSession>& currentSession() const { return current_; }

  /// Receives each session before it begins, in the order in which consumers were added, until the consumer
  /// is destroyed.
  void addSessionConsumer(std::weak_ptr<TarnSessionConsumer> consumer);
  /// Whether a session plays as soon as it has begun, without a call of `play`; initially true.
  void setAutoPlay(bool autoPlay) { autoPlay_ = autoPlay; }
  /// Appends a video, not null, to the waiting ones. Before or after `begin`; never changes the current
  /// session inside the call.
  void addVideo(std::shared_ptr<const TarnVideo> video);

  void begin();
  /// Terminates the current session and drops the waiting videos. Final.
  void terminate();

 private:
  using Session = std::shared_ptr<TarnPlaybackSession>;
  enum class Phase { waiting, running, over };
  enum class CurrentState { playing, ended, terminated };

  void advance();
  void advanceLater();
  void requestNextSession();
  void receive(const Session& session);
  void play(const Session& session);
  void notifyConsumers(const Session& session);
  void notice(const TarnPlaybackSession::LifecycleEvent& event);
  void dropCurrent();

  const std::shared_ptr<TarnSessionProvider> provider_;
  const std::shared_ptr<TarnViewStrategy> viewStrategy_;
  const std::shared_ptr<TarnSessionCommonProperties> commonProperties_ =
      std::make_shared<TarnSessionCommonProperties>();
  std::vector<std::weak_ptr<TarnSessionConsumer>> consumers_;
  bool autoPlay_ = true;

  Phase phase_ = Phase::waiting;
  std::deque<std::shared_ptr<const TarnVideo>> waitingVideos_;
  std::deque<Session> waitingSessions_;
  bool awaitsSession_ = false;
  Session current_;
  CurrentState currentState_ = CurrentState::playing;
  Tarn_RACSubject<std::shared_ptr<const TarnVideo>> videos_;
  Tarn_RACDisposable sessionsSubscription_;
  Tarn_RACDisposable lifecycleSubscription_;
};
