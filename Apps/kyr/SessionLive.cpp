#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "EventText.h"
#include "SessionView.h"
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

class LiveSessionView final : public SessionView {
 public:
  LiveSessionView(ElapsedTime elapsed, const Terminal& terminal)
      : SessionView(std::move(elapsed)), terminal_(terminal) {
    print("space pauses and plays, arrows seek, s skips the ad, l learns more of it, q quits\n\x1b[?25l");
  }
  ~LiveSessionView() override { print("\n\x1b[?25h"); }  // the cursor is hidden meanwhile

  void loaded(const TarnKyrSession* session) override {
    if (session == nullptr) return;
    timeline_ = session->timeline();
    duration_ = timeline_->contentLength();
    draw();
  }

  void lifecycle(const TarnPlaybackSessionLifecycleEvent& event) override {
    noticePlaying(event);
    if (event.is(kTarnPlaybackSessionLifecycleEventAdEnter) ||
        event.is(kTarnPlaybackSessionLifecycleEventAdProgress)) {
      ad_ = event.ad();
      adProgress_ = event.adProgress().value_or(kCMTimeZero);
    }
    if (event.is(kTarnPlaybackSessionLifecycleEventAdExit)) ad_.reset();
    if (event.is(kTarnPlaybackSessionLifecycleEventBufferingEnter)) waits_ = true;
    if (event.is(kTarnPlaybackSessionLifecycleEventBufferingExit)) waits_ = false;
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
  void beacon(const URL&) override {
    ++beacons_;
    draw();
  }
  void note(std::string_view text) override {
    print("\r\x1b[K" + printable(text) + "\n");
    draw();
  }

  void ranges(std::string_view, const TarnPlaybackSession::TimeRanges&) override {}
  void canSeek(bool) override {}
  void player(const PlayerAction&) override {}
  void seek(CMTime, bool) override {}
  void finish() override {}

 private:
  /// The Pause that announces a break, and the Play that follows it, are about the content.
  void noticePlaying(const TarnPlaybackSessionLifecycleEvent& event) {
    const bool announcesBreak =
        std::exchange(breakComes_, event.is(kTarnPlaybackSessionLifecycleEventWillPauseForAd));
    if (event.is(kTarnPlaybackSessionLifecycleEventPlay) ||
        event.is(kTarnPlaybackSessionLifecycleEventAdResume)) {
      plays_ = true;
    }
    if ((event.is(kTarnPlaybackSessionLifecycleEventPause) && !announcesBreak) ||
        event.is(kTarnPlaybackSessionLifecycleEventAdPause) ||
        event.is(kTarnPlaybackSessionLifecycleEventEnd)) {
      plays_ = false;
    }
  }

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
    return fmt::format("ad {} {} / {}, {}", adName(*ad_), shortClock(adProgress_),
                       shortClock(ad_->duration()), sent);
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
  std::shared_ptr<const TarnAd> ad_;
  CMTime adProgress_;
  CMTime time_ = kCMTimeZero;
  CMTime duration_ = kCMTimeIndefinite;
  std::size_t beacons_ = 0;
  bool plays_ = false;
  bool waits_ = false;
  bool breakComes_ = false;
};

}  // namespace

std::unique_ptr<SessionView> makeLiveSessionView(ElapsedTime elapsed, const Terminal& terminal) {
  return std::make_unique<LiveSessionView>(std::move(elapsed), terminal);
}

}  // namespace tarn::cli
