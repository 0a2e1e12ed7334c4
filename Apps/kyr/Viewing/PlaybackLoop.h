#pragma once

#include <chrono>
#include <optional>
#include <vector>

#include "Platform/Error.h"
#include "Viewing/EventLoop.h"
#include "Viewing/Viewing.h"
#include "Viewing/ViewingScript.h"

namespace tarn::cli {

/// Plays a viewing to its end, through a script, or until the viewer or a time limit ends it. Main thread.
class Show {
 public:
  /// `limit` in seconds, counted from when there is something to play. `viewing` outlives the show.
  Show(Viewing& viewing, std::optional<double> limit, RunUntil runUntil);

  /// Answers the error that it ended with.
  std::optional<Error> run(const std::optional<std::vector<ViewingStep>>& script);

  /// A key of the viewer's: space pauses and plays, '<' and '>' seek, 's' skips, 'l' learns more, 'q' quits.
  void press(char key);
  void seek(CMTime contentTime);
  void quit() { quits_ = true; }

 private:
  using Clock = std::chrono::steady_clock;

  void follow(const std::vector<ViewingStep>& script);
  void wait(const std::function<bool()>& done, std::chrono::milliseconds longest);
  [[nodiscard]] bool isOver() const;

  Viewing& viewing_;
  const RunUntil runUntil_;
  const std::chrono::milliseconds limit_;
  Clock::time_point end_;
  bool quits_ = false;
};

}  // namespace tarn::cli
