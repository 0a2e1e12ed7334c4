#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <utility>
#include <vector>

#include "Terminal/Text.h"
#include "Viewing/ControlsState.h"
#include "Viewing/EventText.h"
#include "Viewing/SessionPrinters.h"

namespace tarn::cli {
namespace {

constexpr std::size_t kMinBarWidth = 10;
constexpr std::size_t kMaxBarWidth = 60;
/// Reserved for the status text, so that the bar keeps its length.
constexpr std::size_t kStatusColumns = 40;

class SessionLivePrinter final : public SessionObserver {
 public:
  SessionLivePrinter(ElapsedTime elapsed, const Terminal& terminal)
      : SessionObserver(std::move(elapsed)), terminal_(terminal) {
    print("space pauses and plays, arrows seek, s skips the ad, l learns more of it, q quits\n\x1b[?25l");
  }
  ~SessionLivePrinter() override { print("\n\x1b[?25h"); }  // the cursor is hidden meanwhile

  void loaded(const TarnKyrSession* session) override {
    if (session == nullptr) return;
    state_.loaded(*session);
    draw();
  }

  void lifecycle(const TarnPlaybackSessionLifecycleEvent& event) override {
    state_.lifecycle(event);
    draw();
  }

  void progress(CMTime time) override {
    state_.progress(time);
    draw();
  }
  void duration(CMTime duration) override {
    state_.duration(duration);
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
  void draw() const {
    const std::size_t width = terminal_.width - 1;  // a full line would wrap
    const std::string clocks = clipped(fmt::format("{} {} / {} ", state_.isPlaying() ? "▶" : "⏸",
                                                   shortClock(state_.time()), shortClock(state_.duration())),
                                       width);
    const std::size_t besideBar = columns(clocks) + kStatusColumns;
    const std::size_t bar = width >= besideBar + kMinBarWidth ? std::min(width - besideBar, kMaxBarWidth) : 0;
    const std::size_t room = width - columns(clocks) - bar;
    const std::string status = room > 1 ? " " + clipped(statusText(), room - 1) : "";
    print("\r" + clocks + barText(bar) + terminal_.styled(status, state_.ad() ? Style::ad : Style::plain) +
          "\x1b[K");
    std::fflush(stdout);
  }

  [[nodiscard]] std::string statusText() const {
    const std::string sent = counted(beacons_, "beacon");
    const auto& ad = state_.ad();
    if (!ad) return fmt::format("{}, {}", state_.isWaiting() ? "waiting" : "content", sent);
    return fmt::format("ad {} {} / {}, {}", adName(*ad), shortClock(state_.adProgress()),
                       shortClock(ad->duration()), sent);
  }

  [[nodiscard]] std::string barText(std::size_t width) const {
    if (width == 0) return {};
    const std::size_t reached = cell(state_.share(state_.time()), width);
    std::vector<std::string> cells(width);
    for (std::size_t i = 0; i < width; ++i) cells[i] = i < reached ? "━" : "─";
    for (const double share : state_.breakShares())
      cells[cell(share, width)] = terminal_.styled("◆", Style::ad);
    return fmt::format("{}", fmt::join(cells, ""));
  }

  [[nodiscard]] static std::size_t cell(double share, std::size_t width) {
    return static_cast<std::size_t>(share * static_cast<double>(width - 1));
  }

  const Terminal terminal_;
  ControlsState state_;
  std::size_t beacons_ = 0;
};

}  // namespace

std::unique_ptr<SessionObserver> makeSessionLivePrinter(ElapsedTime elapsed, const Terminal& terminal) {
  return std::make_unique<SessionLivePrinter>(std::move(elapsed), terminal);
}

}  // namespace tarn::cli
