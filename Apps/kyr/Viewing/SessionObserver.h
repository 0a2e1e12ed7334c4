#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "Host/TarnPlaybackSessionLifecycleEvent.h"
#include "Kyr/TarnKyrSession.h"
#include "Platform/URL.h"
#include "Terminal/Terminal.h"
#include "Viewing/WatchedPlayer.h"

namespace tarn::cli {

/// Seconds since the viewing began.
using ElapsedTime = std::function<double()>;

/// Shows what happens while a session plays. Told of everything when it happens and in that order, as long as
/// the session exists. Times are content time except those of the player's actions.
class SessionView {
 public:
  explicit SessionView(ElapsedTime elapsed) : elapsed_(std::move(elapsed)) {}
  SessionView(const SessionView&) = delete;
  SessionView& operator=(const SessionView&) = delete;
  virtual ~SessionView() = default;

  /// Null: the document could not be loaded.
  virtual void loaded(const TarnKyrSession* session) = 0;
  virtual void lifecycle(const TarnPlaybackSessionLifecycleEvent& event) = 0;
  virtual void progress(CMTime time) = 0;
  virtual void duration(CMTime duration) = 0;
  /// `kind` is "seekable" or "loaded".
  virtual void ranges(std::string_view kind, const TarnPlaybackSession::TimeRanges& ranges) = 0;
  virtual void canSeek(bool allowed) = 0;
  virtual void player(const PlayerAction& action) = 0;
  /// The answer to a seek of the viewer.
  virtual void seek(CMTime to, bool finished) = 0;
  virtual void beacon(const URL& url) = 0;
  /// Something else for people to read.
  virtual void note(std::string_view) {}
  /// Nothing follows.
  virtual void finish() = 0;

 protected:
  [[nodiscard]] double at() const { return elapsed_(); }

 private:
  const ElapsedTime elapsed_;
};

/// One JSON object a line.
[[nodiscard]] std::unique_ptr<SessionView> makeJsonSessionView(ElapsedTime elapsed);
/// A line for each thing that a viewer would notice or an advertiser be told, and a summary.
[[nodiscard]] std::unique_ptr<SessionView> makeTextSessionView(ElapsedTime elapsed, const Terminal& terminal);
/// One line that is drawn anew in place.
[[nodiscard]] std::unique_ptr<SessionView> makeLiveSessionView(ElapsedTime elapsed, const Terminal& terminal);

}  // namespace tarn::cli
