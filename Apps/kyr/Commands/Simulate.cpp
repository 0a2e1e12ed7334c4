#include "Commands/Simulate.h"

#include <utility>

#include "Document/DocumentSource.h"
#include "HostSimulated/SimulatedPlayer.h"
#include "Terminal/Report.h"
#include "Viewing/ObservedPlayer.h"
#include "Viewing/PlaybackRun.h"
#include "Viewing/SessionPrinters.h"
#include "Viewing/ViewerScript.h"

namespace tarn::cli {
namespace {

/// Fine enough for milliseconds and for the usual frame rates; a multiple of the documents' 600.
constexpr CMTimeScale kTimescale = 90'000;

CMTime virtualTime(double seconds) {
  return CMTimeMakeWithSeconds(seconds, kTimescale);
}

class Simulation {
 public:
  Simulation(const SimulateOptions& options, const SessionDocument& document)
      : options_(options),
        printer_(makePrinter()),
        playback_(
            {.document = document.url, .headers = document.headers, .fetch = document.fetch},
            [this](PlayerObserver observer) { return makePlayer(std::move(observer)); }, *printer_) {}

  /// The error that the session ended with.
  std::optional<Error> run(const std::vector<ViewerStep>& script) {
    if (!playback_.begin()) return playback_.error();
    provideItem();
    for (const auto& step : script) {
      if (step.act) step.act(playback_);
      clock_.advance(virtualTime(step.seconds));
    }
    printer_->finish();
    return playback_.error();
  }

 private:
  [[nodiscard]] std::unique_ptr<SessionObserver> makePrinter() const {
    const ElapsedTime elapsed = [this] { return CMTimeGetSeconds(clock_.now()); };
    return options_.json ? makeSessionJsonPrinter(elapsed)
                         : makeSessionTextPrinter(elapsed, Terminal::ofStandardOutput());
  }

  std::shared_ptr<TarnPlayer> makePlayer(PlayerObserver observer) {
    const SimulatedPlayerOptions playerOptions{.reportInterval = virtualTime(options_.tick),
                                               .seekLatency = virtualTime(options_.seekLatency),
                                               .playsAnyAddress = true};
    auto player =
        std::make_shared<ObservedPlayer<SimulatedPlayer>>(std::move(observer), clock_, playerOptions);
    player_ = player;
    return player;
  }

  /// Also if the document names no stream, which the session logs.
  void provideItem() {
    const CMTime duration = options_.itemDuration ? virtualTime(*options_.itemDuration)
                                                  : playback_.session()->timeline()->payloadLength();
    if (const auto player = player_.lock()) player->becomeReady(duration);
    clock_.advance(kCMTimeZero);
  }

  const SimulateOptions& options_;
  VirtualClock clock_;
  std::unique_ptr<SessionObserver> printer_;
  std::weak_ptr<SimulatedPlayer> player_;
  PlaybackRun playback_;
};

}  // namespace

int runSimulate(const SimulateOptions& options) {
  const auto script = readViewerScript(options.script);
  if (!script) return reportFailure(script.error(), options.json);
  const auto document = documentForSession(options.source);
  if (!document) return reportFailure(document.error(), options.json);
  const auto error = Simulation(options, *document).run(*script);
  return error ? reportFailure(*error, options.json) : kDone;
}

}  // namespace tarn::cli
