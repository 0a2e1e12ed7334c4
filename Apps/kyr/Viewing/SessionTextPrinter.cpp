#include <fmt/format.h>

#include <utility>

#include "Terminal/Text.h"
#include "Viewing/EventText.h"
#include "Viewing/SessionPrinters.h"

namespace tarn::cli {
namespace {

/// A lifecycle event's type without the common prefix: "AdEnter".
std::string_view shortType(std::string_view type) {
  for (const std::string_view common : {"kTarnPlaybackSessionLifecycleEvent", "kTarnKyrLifecycle"}) {
    if (type.starts_with(common)) return type.substr(common.size());
  }
  return type;
}

class SessionTextPrinter final : public SessionObserver {
 public:
  SessionTextPrinter(ElapsedTime elapsed, const Terminal& terminal)
      : SessionObserver(std::move(elapsed)), terminal_(terminal) {}

  void loaded(const TarnKyrSession* session) override {
    if (session == nullptr) return;
    const auto& breaks = session->timeline()->adSequences();
    std::string text = fmt::format("{} of content, {}", secondsText(session->timeline()->contentLength()),
                                   counted(breaks.size(), "ad break"));
    for (std::size_t i = 0; i < breaks.size(); ++i) {
      const CMTime offset = breaks[i]->logicalOffset();
      text += (i == 0 ? " at " : ", ");
      text += CMTIME_IS_POSITIVE_INFINITY(offset) ? "the end" : secondsText(offset);
    }
    line("document", text);
  }

  void lifecycle(const TarnPlaybackSessionLifecycleEvent& event) override {
    if (event.is(kTarnPlaybackSessionLifecycleEventAdProgress)) return;
    const auto ad = event.ad();
    const auto adSequence = event.adSequence();
    if (event.is(kTarnPlaybackSessionLifecycleEventAdEnter)) ++ads_;
    if (event.is(kTarnPlaybackSessionLifecycleEventAdSequenceEnter)) ++breaks_;
    std::string text = ad ? fmt::format("{}, {}", adName(*ad), secondsText(ad->duration())) : "";
    if (adSequence) text = counted(adSequence->ads().size(), "ad");
    line(shortType(event.eventType()), text, ad || adSequence ? Style::ad : Style::plain);
  }

  void progress(CMTime time) override { position_ = time; }
  void duration(CMTime duration) override { line("duration", secondsText(duration)); }

  void player(const PlayerAction& action) override {
    if (action.url) return line("player", fmt::format("{} {}", action.name, action.url->absoluteString()));
    if (!action.to) return line("player", action.name);
    line("player", fmt::format("seek to {} of the stream (-{}, +{})", clockText(*action.to),
                               secondsText(*action.toleranceBefore), secondsText(*action.toleranceAfter)));
  }

  void seek(CMTime to, bool finished) override {
    line("seek", fmt::format("to {} {}", clockText(to), finished ? "finished" : "did not finish"),
         finished ? Style::strong : Style::warning);
  }

  void beacon(const URL& url) override {
    ++beacons_;
    line("  beacon", url.absoluteString(), Style::faint);
  }

  void finish() override {
    const std::string summary =
        fmt::format("Over after {:.3f} s, at {} of the content: {} in {}, {}", at(), clockText(position_),
                    counted(ads_, "ad"), counted(breaks_, "break"), counted(beacons_, "beacon"));
    print("\n" + terminal_.styled(summary, Style::strong) + "\n");
  }

  // These occur many times a second, or repeat what other lines show.
  void ranges(std::string_view, const TarnPlaybackSession::TimeRanges&) override {}
  void canSeek(bool) override {}

 private:
  void line(std::string_view what, std::string_view text, Style style = Style::plain) const {
    std::string row = fmt::format("{:>10.3f} s  {:>13}  {:<16}  {}", at(), clockText(position_), what, text);
    row.erase(row.find_last_not_of(' ') + 1);
    print(terminal_.styled(row, style) + "\n");
  }

  const Terminal terminal_;
  CMTime position_ = kCMTimeZero;  // content time
  std::size_t ads_ = 0;
  std::size_t breaks_ = 0;
  std::size_t beacons_ = 0;
};

}  // namespace

std::unique_ptr<SessionObserver> makeSessionTextPrinter(ElapsedTime elapsed, const Terminal& terminal) {
  return std::make_unique<SessionTextPrinter>(std::move(elapsed), terminal);
}

}  // namespace tarn::cli
