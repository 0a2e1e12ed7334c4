#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include "Platform/Error.h"
#include "Viewing/EventLoop.h"
#include "Viewing/PlaybackRun.h"
#include "Viewing/ViewerScript.h"

namespace tarn::cli {

/// Runs a playback in real time: to its end, through a script, or until the viewer or a time limit ends it.
/// Main thread.
class PlaybackLoop {
 public:
  /// `limit` in seconds, from when the stream is ready. `playback` outlives the loop.
  PlaybackLoop(PlaybackRun& playback, std::optional<double> limit, RunUntil runUntil);

  /// Returns the error that ended the playback.
  std::optional<Error> run(const std::optional<std::vector<ViewerStep>>& script);

  /// A key of the viewer's: space pauses and plays, '<' and '>' seek, 's' skips, 'l' learns more, 'q' quits.
  void press(char key);
  void seek(CMTime contentTime);
  void quit() { quits_ = true; }

 private:
  using Clock = std::chrono::steady_clock;

  void runScript(const std::vector<ViewerStep>& script);
  void wait(const std::function<bool()>& done, std::chrono::milliseconds maxWait);
  [[nodiscard]] bool isOver() const;

  PlaybackRun& playback_;
  const RunUntil runUntil_;
  const std::chrono::milliseconds limit_;
  Clock::time_point end_;
  bool quits_ = false;
};

}  // namespace tarn::cli
