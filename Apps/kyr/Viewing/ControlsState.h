#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Host/TarnPlaybackSessionLifecycleEvent.h"
#include "Kyr/TarnKyrSession.h"

namespace tarn::cli {

/// What a player's controls show of a session, kept up from what a view is told. Content times.
class ControlsState {
 public:
  void loaded(const TarnKyrSession& session);
  void lifecycle(const TarnPlaybackSessionLifecycleEvent& event);
  void progress(CMTime time) { time_ = time; }
  void duration(CMTime duration) { duration_ = duration; }

  [[nodiscard]] CMTime time() const { return time_; }
  /// Indefinite while unknown.
  [[nodiscard]] CMTime duration() const { return duration_; }
  [[nodiscard]] bool isPlaying() const { return plays_; }
  [[nodiscard]] bool isWaiting() const { return waits_; }
  /// Null while content plays.
  [[nodiscard]] const std::shared_ptr<const TarnAd>& ad() const { return ad_; }
  [[nodiscard]] CMTime adProgress() const { return adProgress_; }

  /// Where a time stands in a bar: from 0 at the beginning to 1 at the end, where a post-roll is.
  [[nodiscard]] double share(CMTime time) const;
  /// The shares of the breaks, in the document's order.
  [[nodiscard]] std::vector<double> breakShares() const;

 private:
  void noticePlaying(const TarnPlaybackSessionLifecycleEvent& event);

  std::shared_ptr<const TarnLumoTimeline> timeline_;
  std::shared_ptr<const TarnAd> ad_;
  CMTime adProgress_;
  CMTime time_ = kCMTimeZero;
  CMTime duration_ = kCMTimeIndefinite;
  bool plays_ = false;
  bool waits_ = false;
  bool breakComes_ = false;
};

/// "1:05", "1:00:05"; "-:--" for what is no number.
[[nodiscard]] std::string shortClock(CMTime time);

}  // namespace tarn::cli
