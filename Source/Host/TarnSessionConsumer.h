#pragma once

#include <memory>

class TarnPlaybackSession;

/// Receives the session that plays next: an overlay, the application's controls. Main thread.
class TarnSessionConsumer {
 public:
  TarnSessionConsumer() = default;
  TarnSessionConsumer(const TarnSessionConsumer&) = delete;
  TarnSessionConsumer& operator=(const TarnSessionConsumer&) = delete;
  virtual ~TarnSessionConsumer() = default;

  /// `session`, never null, is about to begin: subscribers added now receive its first event.
  virtual void didAdvanceToPlaybackSession(const std::shared_ptr<TarnPlaybackSession>& session) = 0;
};
