#pragma once

#include <memory>
#include <utility>

class TarnPlaybackSession;

/// What plug-ins hang operations on that an application may ask of any session: free functions that take the
/// extension, and answer modestly where the session cannot do it. A value; refers to its session weakly.
class TarnSessionProviderExtension {
 public:
  explicit TarnSessionProviderExtension(std::weak_ptr<TarnPlaybackSession> playbackSession)
      : playbackSession_(std::move(playbackSession)) {}

  /// Null when the session is gone.
  [[nodiscard]] std::shared_ptr<TarnPlaybackSession> playbackSession() const {
    return playbackSession_.lock();
  }

 private:
  std::weak_ptr<TarnPlaybackSession> playbackSession_;
};
