#include "Play.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <utility>

#include "DocumentAddress.h"
#include "HostGStreamer/GStreamerPlayer.h"
#include "Platform/Queue.h"
#include "Report.h"
#include "SessionView.h"
#include "UserInput.h"
#include "Viewing.h"
#include "ViewingScript.h"
#include "WatchedPlayer.h"

namespace tarn::cli {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

constexpr Milliseconds kForBeacons{5'000};
constexpr double kLongest = 1e6;  // seconds; longer than anybody watches

Milliseconds milliseconds(double seconds) {
  return Milliseconds(static_cast<Milliseconds::rep>(std::clamp(seconds, 0.0, kLongest) * 1000));
}

CMTime tenSeconds(int sign) {
  return CMTimeMake(sign * 10, 1);
}

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

Error noStream() {
  Error error;
  error.domain = TarnPlayerErrorDomain;
  error.code = static_cast<std::int64_t>(TarnPlayerErrorCode::cannotOpen);
  error.description = "The document names no stream (contenturi of the service's extension element)";
  return error;
}

/// Plays to the end, through a script, or until the viewer or the time limit ends it.
class Show {
 public:
  Show(const PlayOptions& options, Viewing& viewing)
      : viewing_(viewing),
        limit_(milliseconds(options.seconds.value_or(kLongest))),
        input_(isLive(options), {[this](char key) { press(key); }, [this] { quits_ = true; }}) {}

  /// The error that it ended with.
  std::optional<Error> run(const std::optional<std::vector<ViewingStep>>& script) {
    if (!viewing_.begin([this] { return quits_; })) return viewing_.error();
    if (!viewing_.session()->timeline()->lumoURL()) return noStream();
    wait([this] { return viewing_.isReady(); },
         milliseconds(kLongest));  // the player has a limit of its own
    end_ = Clock::now() + limit_;
    if (script) {
      follow(*script);
    } else {
      wait([this] { return viewing_.hasEnded(); }, milliseconds(kLongest));
    }
    return viewing_.error();
  }

 private:
  void follow(const std::vector<ViewingStep>& script) {
    for (const auto& step : script) {
      if (isOver()) return;
      if (step.act) step.act(viewing_);
      wait([] { return false; }, milliseconds(step.seconds));
    }
  }

  void wait(const std::function<bool()>& done, Milliseconds longest) {
    const auto left = std::chrono::duration_cast<Milliseconds>(end_ - Clock::now());
    MainQueue::shared().runUntil([&] { return isOver() || done(); },
                                 std::clamp(left, Milliseconds(0), longest));
  }

  [[nodiscard]] bool isOver() const { return quits_ || viewing_.error() || Clock::now() >= end_; }

  void press(char key) {
    if (key == 'q') quits_ = true;
    if (!viewing_.session()) return;
    if (key == ' ') viewing_.togglePlaying();
    if (key == '<') viewing_.seekBy(tenSeconds(-1));
    if (key == '>') viewing_.seekBy(tenSeconds(1));
    if (key == 's') viewing_.skip();
    if (key == 'l') viewing_.learnMore();
  }

  Viewing& viewing_;
  const Milliseconds limit_;
  Clock::time_point end_ = Clock::now() + milliseconds(kLongest);
  bool quits_ = false;
  UserInput input_;
};

std::optional<Error> play(const PlayOptions& options, const DocumentAddress& address,
                          const std::optional<std::vector<ViewingStep>>& script, SessionView& view) {
  Viewing viewing(
      {.document = address.url,
       .headers = address.headers,
       .beacons = Beacons::shownAndSent,
       .autoPlay = !script},
      [](PlayerWatcher watcher) {
        return std::make_shared<WatchedPlayer<GStreamerPlayer>>(std::move(watcher));
      },
      view);
  auto error = Show(options, viewing).run(script);
  viewing.flush(kForBeacons);
  if (!error) view.finish();
  return error;
}

}  // namespace

int runPlay(const PlayOptions& options) {
  if (!options.headless)
    return reportFailure(callError("there is no window yet; --headless plays in the terminal"), options.json);
  std::optional<std::vector<ViewingStep>> script;
  if (options.script) {
    auto steps = readViewingScript(options.script);
    if (!steps) return reportFailure(steps.error(), options.json);
    script = std::move(*steps);
  }
  const auto address = addressOf(options.source);
  if (!address) return reportFailure(address.error(), options.json);

  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);  // a reader sees each line when it happens
  auto view = makeView(options);
  const auto error = play(options, *address, script, *view);
  view.reset();  // leaves the terminal as it was before anything else is printed
  return error ? reportFailure(*error, options.json) : kDone;
}

}  // namespace tarn::cli
