#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "Lumo/TarnLumoProgressTracker.h"
#include "Lumo/TarnLumoTimeline.h"
#include "Platform/URL.h"
#include "Terminal.h"

namespace tarn::cli {

/// Seconds since playing was asked for.
using ElapsedTime = std::function<double()>;

/// Shows what happens while a stream plays. Times are content time unless they say otherwise.
class PlayView {
 public:
  explicit PlayView(ElapsedTime elapsed) : elapsed_(std::move(elapsed)) {}
  PlayView(const PlayView&) = delete;
  PlayView& operator=(const PlayView&) = delete;
  virtual ~PlayView() = default;

  /// All that one report of the player brings about happens at one time; this is where the next begins.
  void beginUpdate() { at_ = elapsed_(); }

  /// Absent: the document could not be loaded.
  virtual void loaded(const std::shared_ptr<const TarnLumoTimeline>& timeline) = 0;
  /// What the player is told: "load" (with the stream's URL), "play", "pause".
  virtual void action(std::string_view name, const std::optional<URL>& url) = 0;
  /// `absolute` is the position in the stream that brought it about.
  virtual void event(const TarnLumoProgressTrackerEvent& event, CMTime absolute) = 0;
  virtual void progress(CMTime time) = 0;
  virtual void duration(CMTime duration) = 0;
  /// `kind` is "seekable" or "loaded".
  virtual void ranges(std::string_view kind, const TarnLumoProgressTracker::TimeRanges& ranges) = 0;
  virtual void beacon(const URL& url) = 0;
  virtual void buffering(bool waits) = 0;
  virtual void playing(bool plays) = 0;
  virtual void ended() = 0;

 protected:
  [[nodiscard]] double at() const { return at_; }

 private:
  const ElapsedTime elapsed_;
  double at_ = 0;
};

/// One JSON object a line.
[[nodiscard]] std::unique_ptr<PlayView> makeJsonPlayView(ElapsedTime elapsed);
/// A line for each thing that changes.
[[nodiscard]] std::unique_ptr<PlayView> makeTextPlayView(ElapsedTime elapsed);
/// One line that is drawn anew in place.
[[nodiscard]] std::unique_ptr<PlayView> makeLivePlayView(ElapsedTime elapsed, const Terminal& terminal);

}  // namespace tarn::cli
