#include "Play.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>

#include "HostGStreamer/GStreamerPlayer.h"
#include "Platform/Queue.h"
#include "PlayScript.h"
#include "PlayView.h"
#include "Playback.h"
#include "Report.h"
#include "UserInput.h"

namespace tarn::cli {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

constexpr Milliseconds kForBeacons{5'000};
constexpr double kLongest = 1e6;  // seconds; longer than anybody watches

Milliseconds milliseconds(double seconds) {
  return Milliseconds(static_cast<Milliseconds::rep>(std::clamp(seconds, 0.0, kLongest) * 1000));
}

bool isLive(const PlayOptions& options) {
  return !options.json && isatty(STDOUT_FILENO) == 1;
}

std::unique_ptr<PlayView> makeView(const PlayOptions& options) {
  const ElapsedTime elapsed = [start = Clock::now()] {
    return std::chrono::duration<double>(Clock::now() - start).count();
  };
  if (isLive(options)) return makeLivePlayView(elapsed, Terminal::ofStandardOutput());
  return options.json ? makeJsonPlayView(elapsed) : makeTextPlayView(elapsed);
}

/// Plays to the end, through a script, or until the viewer or the time limit ends it.
class Show {
 public:
  Show(const PlayOptions& options, Playback& playback)
      : playback_(playback),
        limit_(milliseconds(options.seconds.value_or(kLongest))),
        input_(isLive(options), {[this](char key) { press(key); }, [this] { quits_ = true; }}) {}

  void run(const std::optional<std::vector<PlayStep>>& script) {
    wait([this] { return playback_.isReady(); },
         milliseconds(kLongest));  // the player has a limit of its own
    if (isOver()) return;
    end_ = Clock::now() + limit_;
    if (script) return follow(*script);
    playback_.play();
    wait([this] { return playback_.hasEnded(); }, milliseconds(kLongest));
  }

 private:
  void follow(const std::vector<PlayStep>& script) {
    for (const auto& step : script) {
      if (isOver()) return;
      switch (step.kind) {
        case PlayStep::Kind::run:
          wait([] { return false; }, milliseconds(step.seconds));
          break;
        case PlayStep::Kind::play:
          playback_.play();
          break;
        case PlayStep::Kind::pause:
          playback_.pause();
          break;
      }
    }
  }

  void wait(const std::function<bool()>& done, Milliseconds longest) {
    const auto left = std::chrono::duration_cast<Milliseconds>(end_ - Clock::now());
    MainQueue::shared().runUntil([&] { return isOver() || done(); },
                                 std::clamp(left, Milliseconds(0), longest));
  }

  [[nodiscard]] bool isOver() const { return quits_ || playback_.hasFailed() || Clock::now() >= end_; }

  void press(char key) {
    if (key == ' ') playback_.togglePlaying();
    if (key == 'q') quits_ = true;
  }

  Playback& playback_;
  const Milliseconds limit_;
  Clock::time_point end_ = Clock::now() + milliseconds(kLongest);
  bool quits_ = false;
  UserInput input_;
};

/// The error that playing ended with.
std::optional<Error> play(const PlayOptions& options, const LoadedTimeline& document,
                          const std::optional<std::vector<PlayStep>>& script, PlayView& view) {
  const auto& stream = document.timeline->lumoURL();
  if (!stream) {
    Error error;
    error.domain = TarnPlayerErrorDomain;
    error.code = static_cast<std::int64_t>(TarnPlayerErrorCode::cannotOpen);
    error.description = "The document names no stream (contenturi of the service's extension element)";
    return error;
  }
  GStreamerPlayer player;
  Playback playback(document.timeline, player, view);
  playback.load(*stream);
  Show(options, playback).run(script);
  playback.flush(kForBeacons);
  return player.error();
}

}  // namespace

int runPlay(const PlayOptions& options) {
  if (!options.headless)
    return reportFailure(callError("there is no window yet; --headless plays in the terminal"), options.json);
  std::optional<std::vector<PlayStep>> script;
  if (options.script) {
    auto steps = readPlayScript(*options.script);
    if (!steps) return reportFailure(steps.error(), options.json);
    script = std::move(*steps);
  }

  auto view = makeView(options);
  const auto document = loadTimeline(options.source);
  view->beginUpdate();
  if (!document && document.error().domain != kCallErrorDomain) view->loaded(nullptr);
  std::optional<Error> error;
  if (document) {
    view->loaded(document->timeline);
    error = play(options, *document, script, *view);
  } else {
    error = document.error();
  }
  view.reset();  // leaves the terminal as it was before anything else is printed
  return error ? reportFailure(*error, options.json) : kDone;
}

}  // namespace tarn::cli
