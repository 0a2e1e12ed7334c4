#include "Commands/Play.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <utility>

#include "Document/DocumentSource.h"
#include "HostGStreamer/GStreamerPlayer.h"
#include "Terminal/Report.h"
#include "Terminal/UserInput.h"
#include "Viewing/ObservedPlayer.h"
#include "Viewing/PlaybackLoop.h"
#include "Viewing/PlaybackRun.h"
#include "Viewing/SessionPrinters.h"
#include "Viewing/ViewerScript.h"
#ifdef KYR_WITH_MPV
#include "HostMpv/MpvPlayer.h"
#endif
#ifdef KYR_WITH_WINDOW
#include "Viewing/SessionObserverList.h"
#include "Window/PlayWindow.h"
#endif

namespace tarn::cli {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;
using Script = std::optional<std::vector<ViewerStep>>;

constexpr Milliseconds kMaxBeaconWait{5'000};

bool isLive(const PlayOptions& options) {
  return !options.json && isatty(STDOUT_FILENO) == 1;
}

std::unique_ptr<SessionObserver> makePrinter(const PlayOptions& options) {
  const ElapsedTime elapsed = [start = Clock::now()] {
    return static_cast<double>(std::chrono::duration_cast<Milliseconds>(Clock::now() - start).count()) / 1000;
  };
  const Terminal terminal = Terminal::ofStandardOutput();
  if (isLive(options)) return makeSessionLivePrinter(elapsed, terminal);
  return options.json ? makeSessionJsonPrinter(elapsed) : makeSessionTextPrinter(elapsed, terminal);
}

PlaybackOptions playbackOptions(const SessionDocument& document, const Script& script) {
  return {.document = document.url,
          .headers = document.headers,
          .fetch = document.fetch,
          .beacons = Beacons::reportedAndSent,
          .autoPlay = !script};
}

/// Returns a factory of players that report the calls made to them.
template <class Player, typename... Options>
PlaybackRun::MakePlayer playerMaker(const Options&... options) {
  return [options...](PlayerObserver observer) {
    return std::make_shared<ObservedPlayer<Player>>(std::move(observer), options...);
  };
}

#ifdef KYR_WITH_MPV
Result<PlaybackRun::MakePlayer> makerOfMpvPlayers() {
  return playerMaker<MpvPlayer>();
}
#else
Result<PlaybackRun::MakePlayer> makerOfMpvPlayers() {
  return callError("this kyr was built without mpv; build it with -DKYR_MPV=ON");
}
#endif

std::optional<Error> play(const PlayOptions& options, const SessionDocument& document, const Script& script) {
  const auto makePlayer =
      options.player == "mpv" ? makerOfMpvPlayers() : Result(playerMaker<GStreamerPlayer>());
  if (!makePlayer) return makePlayer.error();
  const auto printer = makePrinter(options);
  PlaybackRun playback(playbackOptions(document, script), *makePlayer, *printer);
  PlaybackLoop loop(playback, options.seconds, runMainQueueUntil);
  const UserInput input(isLive(options), {[&loop](char key) { loop.press(key); }, [&loop] { loop.quit(); }});
  auto error = loop.run(script);
  playback.flush(kMaxBeaconWait);
  if (!error) printer->finish();
  return error;
}

#ifdef KYR_WITH_WINDOW
std::optional<Error> playInWindow(const PlayOptions& options, const SessionDocument& document,
                                  const Script& script) {
  if (options.player == "mpv") return callError("--player mpv plays with --headless only");
  const auto window = PlayWindow::open(options.fullScreen, options.json);
  if (!window) return window.error();
  const auto printer = makePrinter(options);
  SessionObserverList observers{printer.get(), &(*window)->observer()};
  PlaybackRun playback(playbackOptions(document, script),
                       playerMaker<GStreamerPlayer>((*window)->playerOptions()), observers);
  const auto overlay = (*window)->makeOverlay(playback.beaconSink());
  playback.addSessionConsumer(overlay);
  PlaybackLoop loop(playback, options.seconds,
                    [&window](const auto& done, auto limit) { return (*window)->runUntil(done, limit); });
  const auto press = [&loop](char key) { loop.press(key); };
  const UserInput input(isLive(options), {press, [&loop] { loop.quit(); }});
  (*window)->setHandlers({.key = press, .seek = [&loop](CMTime time) { loop.seek(time); }});
  auto error = loop.run(script);
  (*window)->setHandlers({});
  (*window)->hide();
  playback.flush(kMaxBeaconWait);
  if (!error) observers.finish();
  return error;
}
#else
std::optional<Error> playInWindow(const PlayOptions&, const SessionDocument&, const Script&) {
  return callError("this kyr was built without a window; --headless plays in the terminal");
}
#endif

}  // namespace

int runPlay(const PlayOptions& options) {
  Script script;
  if (options.script) {
    auto steps = readViewerScript(options.script);
    if (!steps) return reportFailure(steps.error(), options.json);
    script = std::move(*steps);
  }
  const auto document = documentForSession(options.source);
  if (!document) return reportFailure(document.error(), options.json);

  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);  // a reader of a pipe receives each line at once
  const auto error =
      options.headless ? play(options, *document, script) : playInWindow(options, *document, script);
  return error ? reportFailure(*error, options.json) : kDone;
}

}  // namespace tarn::cli
