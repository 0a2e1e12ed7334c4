#include "Commands/Play.h"

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <utility>

#include "Document/DocumentAddress.h"
#include "HostGStreamer/GStreamerPlayer.h"
#include "Terminal/Report.h"
#include "Terminal/UserInput.h"
#include "Viewing/SessionView.h"
#include "Viewing/Show.h"
#include "Viewing/Viewing.h"
#include "Viewing/ViewingScript.h"
#include "Viewing/WatchedPlayer.h"
#ifdef KYR_WITH_MPV
#include "HostMpv/MpvPlayer.h"
#endif
#ifdef KYR_WITH_WINDOW
#include "Viewing/TeeSessionView.h"
#include "Window/PlayWindow.h"
#endif

namespace tarn::cli {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;
using Script = std::optional<std::vector<ViewingStep>>;

constexpr Milliseconds kForBeacons{5'000};

bool isLive(const PlayOptions& options) {
  return !options.json && isatty(STDOUT_FILENO) == 1;
}

std::unique_ptr<SessionView> makeView(const PlayOptions& options) {
  const ElapsedTime elapsed = [start = Clock::now()] {
    return static_cast<double>(std::chrono::duration_cast<Milliseconds>(Clock::now() - start).count()) / 1000;
  };
  const Terminal terminal = Terminal::ofStandardOutput();
  if (isLive(options)) return makeLiveSessionView(elapsed, terminal);
  return options.json ? makeJsonSessionView(elapsed) : makeTextSessionView(elapsed, terminal);
}

ViewingOptions viewingOptions(const DocumentAddress& address, const Script& script) {
  return {.document = address.url,
          .headers = address.headers,
          .beacons = Beacons::shownAndSent,
          .autoPlay = !script};
}

/// Returns a factory of players that record the calls made to them.
template <class Player, typename... Options>
Viewing::MakePlayer playerMaker(const Options&... options) {
  return [options...](PlayerWatcher watcher) {
    return std::make_shared<WatchedPlayer<Player>>(std::move(watcher), options...);
  };
}

#ifdef KYR_WITH_MPV
Result<Viewing::MakePlayer> makerOfMpvPlayers() {
  return playerMaker<MpvPlayer>();
}
#else
Result<Viewing::MakePlayer> makerOfMpvPlayers() {
  return callError("this kyr was built without mpv; build it with -DKYR_MPV=ON");
}
#endif

std::optional<Error> play(const PlayOptions& options, const DocumentAddress& address, const Script& script) {
  const auto makePlayer =
      options.player == "mpv" ? makerOfMpvPlayers() : Result(playerMaker<GStreamerPlayer>());
  if (!makePlayer) return makePlayer.error();
  const auto view = makeView(options);
  Viewing viewing(viewingOptions(address, script), *makePlayer, *view);
  Show show(viewing, options.seconds, runMainQueueUntil);
  const UserInput input(isLive(options), {[&show](char key) { show.press(key); }, [&show] { show.quit(); }});
  auto error = show.run(script);
  viewing.flush(kForBeacons);
  if (!error) view->finish();
  return error;
}

#ifdef KYR_WITH_WINDOW
std::optional<Error> playInWindow(const PlayOptions& options, const DocumentAddress& address,
                                  const Script& script) {
  if (options.player == "mpv") return callError("--player mpv plays with --headless only");
  const auto window = PlayWindow::open(options.fullScreen, options.json);
  if (!window) return window.error();
  const auto printed = makeView(options);
  TeeSessionView views{printed.get(), &(*window)->view()};
  Viewing viewing(viewingOptions(address, script), playerMaker<GStreamerPlayer>((*window)->playerOptions()),
                  views);
  const auto overlay = (*window)->makeOverlay(viewing.beaconSink());
  viewing.addSessionConsumer(overlay);
  Show show(viewing, options.seconds,
            [&window](const auto& done, auto limit) { return (*window)->runUntil(done, limit); });
  const auto press = [&show](char key) { show.press(key); };
  const UserInput input(isLive(options), {press, [&show] { show.quit(); }});
  (*window)->setHandlers({.key = press, .seek = [&show](CMTime time) { show.seek(time); }});
  auto error = show.run(script);
  (*window)->setHandlers({});
  (*window)->hide();
  viewing.flush(kForBeacons);
  if (!error) views.finish();
  return error;
}
#else
std::optional<Error> playInWindow(const PlayOptions&, const DocumentAddress&, const Script&) {
  return callError("this kyr was built without a window; --headless plays in the terminal");
}
#endif

}  // namespace

int runPlay(const PlayOptions& options) {
  Script script;
  if (options.script) {
    auto steps = readViewingScript(options.script);
    if (!steps) return reportFailure(steps.error(), options.json);
    script = std::move(*steps);
  }
  const auto address = addressOf(options.source);
  if (!address) return reportFailure(address.error(), options.json);

  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);  // a reader sees each line when it happens
  const auto error =
      options.headless ? play(options, *address, script) : playInWindow(options, *address, script);
  return error ? reportFailure(*error, options.json) : kDone;
}

}  // namespace tarn::cli
