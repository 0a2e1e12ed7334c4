#pragma once

#include <memory>

class TarnPlaybackSession;

/// Somebody who wants to know which session plays: an overlay, the application's controls. Main thread.
class TarnSessionConsumer {
 public:
  TarnSessionConsumer() = default;
  TarnSessionConsumer(const TarnSessionConsumer&) = delete;
  TarnSessionConsumer& operator=(const TarnSessionConsumer&) = delete;
  virtual ~TarnSessionConsumer() = default;

  /// `session`, never null, is about to begin: what it sends from its first event on can be subscribed to
  /// now.
  virtual void didAdvanceToPlaybackSession(const std::shared_ptr<TarnPlaybackSession>& session) = 0;
};
