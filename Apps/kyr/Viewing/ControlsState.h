#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Host/TarnPlaybackSessionLifecycleEvent.h"
#include "Kyr/TarnKyrSession.h"

namespace tarn::cli {

/// The state that a player's controls show, updated by a session observer. Content times.
class ControlsState {
 public:
  void loaded(const TarnKyrSession& session);
  void lifecycle(const TarnPlaybackSessionLifecycleEvent& event);
  void progress(CMTime time) { time_ = time; }
  void duration(CMTime duration) { duration_ = duration; }

  [[nodiscard]] CMTime time() const { return time_; }
  /// Indefinite while unknown.
  [[nodiscard]] CMTime duration() const { return duration_; }
  [[nodiscard]] bool isPlaying() const { return playing_; }
  [[nodiscard]] bool isWaiting() const { return waiting_; }
  /// Null while content plays.
  [[nodiscard]] const std::shared_ptr<const TarnAd>& ad() const { return ad_; }
  [[nodiscard]] CMTime adProgress() const { return adProgress_; }

  /// The position of a time in a bar: from 0 at the beginning to 1 at the end, the position of a post-roll.
  [[nodiscard]] double share(CMTime time) const;
  /// The positions of the breaks in the bar, in the document's order.
  [[nodiscard]] std::vector<double> breakShares() const;

 private:
  void updatePlaying(const TarnPlaybackSessionLifecycleEvent& event);

  std::shared_ptr<const TarnLumoTimeline> timeline_;
  std::shared_ptr<const TarnAd> ad_;
  CMTime adProgress_;
  CMTime time_ = kCMTimeZero;
  CMTime duration_ = kCMTimeIndefinite;
  bool playing_ = false;
  bool waiting_ = false;
  bool breakIsNext_ = false;
};

/// "1:05", "1:00:05"; "-:--" if not numeric.
[[nodiscard]] std::string shortClock(CMTime time);

}  // namespace tarn::cli
