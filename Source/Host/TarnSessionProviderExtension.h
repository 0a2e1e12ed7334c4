#pragma once

#include <memory>
#include <utility>

class TarnPlaybackSession;

/// The argument of operations that plug-ins offer for any session: free functions that take the extension,
/// and return an empty or negative result if the session does not support them. A value; refers to its
/// session weakly.
class TarnSessionProviderExtension {
 public:
  explicit TarnSessionProviderExtension(std::weak_ptr<TarnPlaybackSession> playbackSession)
      : playbackSession_(std::move(playbackSession)) {}

  /// Null when the session has been destroyed.
  [[nodiscard]] std::shared_ptr<TarnPlaybackSession> playbackSession() const {
    return playbackSession_.lock();
  }

 private:
  std::weak_ptr<TarnPlaybackSession> playbackSession_;
};
