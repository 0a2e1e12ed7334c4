#include "Viewing/PlaybackLoop.h"

#include <algorithm>
#include <utility>

namespace tarn::cli {
namespace {

using Milliseconds = std::chrono::milliseconds;

constexpr double kMaxSeconds = 1e6;  // seconds; no playback is longer

Milliseconds milliseconds(double seconds) {
  return Milliseconds(static_cast<Milliseconds::rep>(std::clamp(seconds, 0.0, kMaxSeconds) * 1000));
}

CMTime tenSeconds(int sign) {
  return CMTimeMake(sign * 10, 1);
}

Error noStream() {
  return Error::make(TarnPlayerErrorDomain, TarnPlayerErrorCode::cannotOpen,
                     "The document names no stream (contenturi of the service's extension element)");
}

}  // namespace

PlaybackLoop::PlaybackLoop(PlaybackRun& playback, std::optional<double> limit, RunUntil runUntil)
    : playback_(playback),
      runUntil_(std::move(runUntil)),
      limit_(milliseconds(limit.value_or(kMaxSeconds))),
      end_(Clock::now() + milliseconds(kMaxSeconds)) {}

std::optional<Error> PlaybackLoop::run(const std::optional<std::vector<ViewerStep>>& script) {
  if (!playback_.begin([this] { return quits_; }, runUntil_)) return playback_.error();
  if (!playback_.session()->timeline()->lumoURL()) return noStream();
  wait([this] { return playback_.isReady(); },
       milliseconds(kMaxSeconds));  // the player has its own limit
  end_ = Clock::now() + limit_;
  if (script) {
    runScript(*script);
  } else {
    wait([this] { return playback_.hasEnded(); }, milliseconds(kMaxSeconds));
  }
  return playback_.error();
}

void PlaybackLoop::runScript(const std::vector<ViewerStep>& script) {
  for (const auto& step : script) {
    if (isOver()) return;
    if (step.act) step.act(playback_);
    wait([] { return false; }, milliseconds(step.seconds));
  }
}

void PlaybackLoop::wait(const std::function<bool()>& done, Milliseconds maxWait) {
  const auto left = std::chrono::duration_cast<Milliseconds>(end_ - Clock::now());
  runUntil_([&] { return isOver() || done(); }, std::clamp(left, Milliseconds(0), maxWait));
}

bool PlaybackLoop::isOver() const {
  return quits_ || playback_.error() || Clock::now() >= end_;
}

void PlaybackLoop::press(char key) {
  if (key == 'q') quit();
  if (!playback_.session()) return;
  if (key == ' ') playback_.togglePlaying();
  if (key == '<') playback_.seekBy(tenSeconds(-1));
  if (key == '>') playback_.seekBy(tenSeconds(1));
  if (key == 's') playback_.skip();
  if (key == 'l') playback_.learnMore();
}

void PlaybackLoop::seek(CMTime contentTime) {
  if (playback_.session()) playback_.seek(contentTime);
}

}  // namespace tarn::cli
