#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "Host/TarnPlaybackSessionLifecycleEvent.h"
#include "Kyr/TarnKyrSession.h"
#include "Platform/URL.h"
#include "Viewing/ObservedPlayer.h"

namespace tarn::cli {

/// Returns the seconds since playback began.
using ElapsedTime = std::function<double()>;

/// Observes one session: called for each event, in order, as long as the session exists. Times are content
/// time except those of the player's actions.
class SessionObserver {
 public:
  explicit SessionObserver(ElapsedTime elapsed) : elapsed_(std::move(elapsed)) {}
  SessionObserver(const SessionObserver&) = delete;
  SessionObserver& operator=(const SessionObserver&) = delete;
  virtual ~SessionObserver() = default;

  /// `session` is null if the document could not be loaded.
  virtual void loaded(const TarnKyrSession* session) = 0;
  virtual void lifecycle(const TarnPlaybackSessionLifecycleEvent& event) = 0;
  virtual void progress(CMTime time) = 0;
  virtual void duration(CMTime duration) = 0;
  /// `kind` is "seekable" or "loaded".
  virtual void ranges(std::string_view kind, const TarnPlaybackSession::TimeRanges& ranges) = 0;
  virtual void canSeek(bool allowed) = 0;
  virtual void player(const PlayerAction& action) = 0;
  /// The result of a seek of the viewer.
  virtual void seek(CMTime to, bool finished) = 0;
  virtual void beacon(const URL& url) = 0;
  /// Another text for the user.
  virtual void note(std::string_view) {}
  /// The last call.
  virtual void finish() = 0;

 protected:
  [[nodiscard]] double at() const { return elapsed_(); }

 private:
  const ElapsedTime elapsed_;
};

}  // namespace tarn::cli
