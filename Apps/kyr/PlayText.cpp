#include <fmt/format.h>

#include <cstdio>
#include <utility>

#include "EventText.h"
#include "PlayView.h"
#include "Text.h"

namespace tarn::cli {
namespace {

class TextPlayView final : public PlayView {
 public:
  using PlayView::PlayView;

  void loaded(const std::shared_ptr<const TarnLumoTimeline>& timeline) override {
    if (!timeline) return;
    line("document", fmt::format("{} of content, {}", secondsText(timeline->contentLength()),
                                 counted(timeline->adSequences().size(), "ad break")));
  }

  void action(std::string_view name, const std::optional<URL>& url) override {
    line(name, url ? url->absoluteString() : "");
  }

  void event(const TarnLumoProgressTrackerEvent& event, CMTime absolute) override {
    if (event.type() == TarnLumoProgressTrackerEventTypeAdProgress) return;
    const std::string sequence = event.adSequence() ? counted(event.adSequence()->ads().size(), "ad") + ", " +
                                                          secondsText(event.adSequence()->duration())
                                                    : "";
    line(eventName(event.type()),
         fmt::format("{}{} at {} of the stream", adName(event.ad()), sequence, clockText(absolute)));
  }

  void duration(CMTime duration) override { line("duration", clockText(duration)); }
  void beacon(const URL& url) override { line("  beacon", url.absoluteString()); }
  void ended() override { line("end", ""); }

  // These come many times a second.
  void progress(CMTime) override {}
  void ranges(std::string_view, const TarnLumoProgressTracker::TimeRanges&) override {}
  void buffering(bool) override {}
  void playing(bool) override {}

 private:
  void line(std::string_view kind, std::string_view text) {
    print(fmt::format("{:>9.3f} s  {:<15}  {}\n", at(), kind, text));
    std::fflush(stdout);
  }
};

}  // namespace

std::unique_ptr<PlayView> makeTextPlayView(ElapsedTime elapsed) {
  return std::make_unique<TextPlayView>(std::move(elapsed));
}

}  // namespace tarn::cli
