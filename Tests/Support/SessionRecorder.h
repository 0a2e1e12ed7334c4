#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Host/TarnPlaybackSession.h"

namespace tarn::test {

/// Records everything that a session sends, in order, as lines: the lifecycle event types without their
/// common prefix ("AdEnter"; "none" for a null event), "progress 1.5", "duration 60", "seekable 0+60",
/// "loaded unknown", "cuePoints 2", "external true". Seconds.
class SessionRecorder {
 public:
  explicit SessionRecorder(const TarnPlaybackSession& session);

  /// The lines since the last call.
  [[nodiscard]] std::vector<std::string> take() { return std::exchange(*lines_, {}); }
  /// The last lifecycle event of that kind; null if there was none.
  [[nodiscard]] TarnPlaybackSession::LifecycleEvent lastEvent(std::string_view type) const;

 private:
  std::shared_ptr<std::vector<std::string>> lines_ = std::make_shared<std::vector<std::string>>();
  std::shared_ptr<std::vector<TarnPlaybackSession::LifecycleEvent>> events_ =
      std::make_shared<std::vector<TarnPlaybackSession::LifecycleEvent>>();
  Tarn_RACDeallocDisposable subscriptions_;
};

}  // namespace tarn::test
