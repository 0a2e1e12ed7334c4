#include "Commands/Simulate.h"

#include <utility>

#include "Document/DocumentSource.h"
#include "HostSimulated/SimulatedPlayer.h"
#include "Terminal/Report.h"
#include "Viewing/SessionView.h"
#include "Viewing/Viewing.h"
#include "Viewing/ViewingScript.h"
#include "Viewing/WatchedPlayer.h"

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
        view_(makeView()),
        viewing_(
            {.document = document.url, .headers = document.headers, .fetch = document.fetch},
            [this](PlayerWatcher watcher) { return makePlayer(std::move(watcher)); }, *view_) {}

  /// The error that the session ended with.
  std::optional<Error> run(const std::vector<ViewingStep>& script) {
    if (!viewing_.begin()) return viewing_.error();
    provideItem();
    for (const auto& step : script) {
      if (step.act) step.act(viewing_);
      clock_.advance(virtualTime(step.seconds));
    }
    view_->finish();
    return viewing_.error();
  }

 private:
  [[nodiscard]] std::unique_ptr<SessionView> makeView() const {
    const ElapsedTime elapsed = [this] { return CMTimeGetSeconds(clock_.now()); };
    return options_.json ? makeJsonSessionView(elapsed)
                         : makeTextSessionView(elapsed, Terminal::ofStandardOutput());
  }

  std::shared_ptr<TarnPlayer> makePlayer(PlayerWatcher watcher) {
    const SimulatedPlayerOptions manner{.reportInterval = virtualTime(options_.tick),
                                        .seekLatency = virtualTime(options_.seekLatency),
                                        .playsAnyAddress = true};
    auto player = std::make_shared<WatchedPlayer<SimulatedPlayer>>(std::move(watcher), clock_, manner);
    player_ = player;
    return player;
  }

  /// Also where the document names no stream, which the session's log tells.
  void provideItem() {
    const CMTime duration = options_.itemDuration ? virtualTime(*options_.itemDuration)
                                                  : viewing_.session()->timeline()->payloadLength();
    if (const auto player = player_.lock()) player->becomeReady(duration);
    clock_.advance(kCMTimeZero);
  }

  const SimulateOptions& options_;
  VirtualClock clock_;
  std::unique_ptr<SessionView> view_;
  std::weak_ptr<SimulatedPlayer> player_;
  Viewing viewing_;
};

}  // namespace

int runSimulate(const SimulateOptions& options) {
  const auto script = readViewingScript(options.script);
  if (!script) return reportFailure(script.error(), options.json);
  const auto document = documentForSession(options.source);
  if (!document) return reportFailure(document.error(), options.json);
  const auto error = Simulation(options, *document).run(*script);
  return error ? reportFailure(*error, options.json) : kDone;
}

}  // namespace tarn::cli
