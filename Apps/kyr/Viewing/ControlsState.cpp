#include "Viewing/ControlsState.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace tarn::cli {

std::string shortClock(CMTime time) {
  if (!CMTIME_IS_NUMERIC(time)) return "-:--";
  const auto seconds = static_cast<std::int64_t>(std::max(CMTimeGetSeconds(time), 0.0));
  if (seconds < 3600) return fmt::format("{}:{:02}", seconds / 60, seconds % 60);
  return fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

void ControlsState::loaded(const TarnKyrSession& session) {
  timeline_ = session.timeline();
  duration_ = timeline_->contentLength();
}

void ControlsState::lifecycle(const TarnPlaybackSessionLifecycleEvent& event) {
  updatePlaying(event);
  if (event.is(kTarnPlaybackSessionLifecycleEventAdEnter) ||
      event.is(kTarnPlaybackSessionLifecycleEventAdProgress)) {
    ad_ = event.ad();
    adProgress_ = event.adProgress().value_or(kCMTimeZero);
  }
  if (event.is(kTarnPlaybackSessionLifecycleEventAdExit)) ad_.reset();
  if (event.is(kTarnPlaybackSessionLifecycleEventBufferingEnter)) waiting_ = true;
  if (event.is(kTarnPlaybackSessionLifecycleEventBufferingExit)) waiting_ = false;
}

/// Ignores the Pause before a break and the Play after it, which concern only the content.
void ControlsState::updatePlaying(const TarnPlaybackSessionLifecycleEvent& event) {
  const bool announcesBreak =
      std::exchange(breakIsNext_, event.is(kTarnPlaybackSessionLifecycleEventWillPauseForAd));
  if (event.is(kTarnPlaybackSessionLifecycleEventPlay) ||
      event.is(kTarnPlaybackSessionLifecycleEventAdResume)) {
    playing_ = true;
  }
  if ((event.is(kTarnPlaybackSessionLifecycleEventPause) && !announcesBreak) ||
      event.is(kTarnPlaybackSessionLifecycleEventAdPause) ||
      event.is(kTarnPlaybackSessionLifecycleEventEnd)) {
    playing_ = false;
  }
}

double ControlsState::share(CMTime time) const {
  const double length = CMTimeGetSeconds(duration_);
  const double share = CMTimeGetSeconds(time) / length;
  if (!(length > 0) || !(share > 0)) return 0;
  return std::min(share, 1.0);
}

std::vector<double> ControlsState::breakShares() const {
  std::vector<double> shares;
  if (!timeline_) return shares;
  for (const auto& sequence : timeline_->adSequences()) shares.push_back(share(sequence->logicalOffset()));
  return shares;
}

}  // namespace tarn::cli
