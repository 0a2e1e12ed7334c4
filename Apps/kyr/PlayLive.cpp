#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "EventText.h"
#include "PlayView.h"
#include "Text.h"

namespace tarn::cli {
namespace {

constexpr std::size_t kSmallestBar = 10;
constexpr std::size_t kLargestBar = 60;
/// Kept for what plays, so that the bar does not change its length with it.
constexpr std::size_t kStatusColumns = 40;

std::string shortClock(CMTime time) {
  if (!CMTIME_IS_NUMERIC(time)) return "-:--";
  const auto seconds = static_cast<std::int64_t>(std::max(CMTimeGetSeconds(time), 0.0));
  if (seconds < 3600) return fmt::format("{}:{:02}", seconds / 60, seconds % 60);
  return fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

class LivePlayView final : public PlayView {
 public:
  LivePlayView(ElapsedTime elapsed, const Terminal& terminal)
      : PlayView(std::move(elapsed)), terminal_(terminal) {
    print("space pauses and plays, q quits\n\x1b[?25l");  // no cursor
  }
  ~LivePlayView() override { print("\n\x1b[?25h"); }

  void loaded(const std::shared_ptr<const TarnLumoTimeline>& timeline) override {
    timeline_ = timeline;
    if (timeline) duration_ = timeline->contentLength();
    draw();
  }
  void action(std::string_view, const std::optional<URL>&) override {}

  void event(const TarnLumoProgressTrackerEvent& event, CMTime) override {
    switch (event.type()) {
      case TarnLumoProgressTrackerEventTypeEnterAdSequence:
      case TarnLumoProgressTrackerEventTypeExitAdSequence:
        break;
      case TarnLumoProgressTrackerEventTypeExitAd:
        ad_.reset();
        break;
      case TarnLumoProgressTrackerEventTypeEnterAd:
      case TarnLumoProgressTrackerEventTypeAdProgress:
        ad_ = event.ad();
        adProgress_ = event.adProgress().value_or(kCMTimeZero);
        break;
    }
    draw();
  }
  void progress(CMTime time) override {
    time_ = time;
    draw();
  }
  void duration(CMTime duration) override {
    duration_ = duration;
    draw();
  }
  void ranges(std::string_view, const TarnLumoProgressTracker::TimeRanges&) override {}
  void beacon(const URL&) override {
    ++beacons_;
    draw();
  }
  void buffering(bool waits) override {
    waits_ = waits;
    draw();
  }
  void playing(bool plays) override {
    plays_ = plays;
    draw();
  }
  void ended() override { draw(); }

 private:
  void draw() const {
    const std::size_t width = terminal_.width - 1;  // a full line would wrap
    const std::string clocks = clipped(
        fmt::format("{} {} / {} ", plays_ ? "▶" : "⏸", shortClock(time_), shortClock(duration_)), width);
    const std::size_t besideBar = columns(clocks) + kStatusColumns;
    const std::size_t bar = width >= besideBar + kSmallestBar ? std::min(width - besideBar, kLargestBar) : 0;
    const std::size_t room = width - columns(clocks) - bar;
    const std::string status = room > 1 ? " " + clipped(statusText(), room - 1) : "";
    print("\r" + clocks + barText(bar) + terminal_.styled(status, ad_ ? Style::ad : Style::plain) + "\x1b[K");
    std::fflush(stdout);
  }

  [[nodiscard]] std::string statusText() const {
    const std::string sent = counted(beacons_, "beacon");
    if (!ad_) return fmt::format("{}, {}", waits_ ? "waiting" : "content", sent);
    return fmt::format("ad {} {} / {}, {}", adName(ad_), shortClock(adProgress_), shortClock(ad_->duration()),
                       sent);
  }

  [[nodiscard]] std::string barText(std::size_t width) const {
    if (width == 0) return {};
    std::string text;
    const std::size_t reached = cell(time_, width);
    for (std::size_t i = 0; i < width; ++i) {
      text += isBreak(i, width) ? terminal_.styled("◆", Style::ad) : i < reached ? "━" : "─";
    }
    return text;
  }

  [[nodiscard]] bool isBreak(std::size_t index, std::size_t width) const {
    if (!timeline_) return false;
    return std::any_of(timeline_->adSequences().begin(), timeline_->adSequences().end(),
                       [&](const auto& sequence) { return cell(sequence->logicalOffset(), width) == index; });
  }

  /// Where a content time stands in a bar; a post-roll at its end.
  [[nodiscard]] std::size_t cell(CMTime time, std::size_t width) const {
    const double length = CMTimeGetSeconds(duration_);
    const double share = CMTimeGetSeconds(time) / length;
    if (!(length > 0) || !(share > 0)) return 0;
    return static_cast<std::size_t>(std::min(share, 1.0) * static_cast<double>(width - 1));
  }

  const Terminal terminal_;
  std::shared_ptr<const TarnLumoTimeline> timeline_;
  std::shared_ptr<const TarnLumoAd> ad_;
  CMTime adProgress_;
  CMTime time_ = kCMTimeZero;
  CMTime duration_ = kCMTimeIndefinite;
  std::size_t beacons_ = 0;
  bool plays_ = false;
  bool waits_ = false;
};

}  // namespace

std::unique_ptr<PlayView> makeLivePlayView(ElapsedTime elapsed, const Terminal& terminal) {
  return std::make_unique<LivePlayView>(std::move(elapsed), terminal);
}

}  // namespace tarn::cli
