#include "Viewing/Show.h"

#include <algorithm>
#include <utility>

namespace tarn::cli {
namespace {

using Milliseconds = std::chrono::milliseconds;

constexpr double kLongest = 1e6;  // seconds; longer than anybody watches

Milliseconds milliseconds(double seconds) {
  return Milliseconds(static_cast<Milliseconds::rep>(std::clamp(seconds, 0.0, kLongest) * 1000));
}

CMTime tenSeconds(int sign) {
  return CMTimeMake(sign * 10, 1);
}

Error noStream() {
  return Error::make(TarnPlayerErrorDomain, TarnPlayerErrorCode::cannotOpen,
                     "The document names no stream (contenturi of the service's extension element)");
}

}  // namespace

Show::Show(Viewing& viewing, std::optional<double> limit, RunUntil runUntil)
    : viewing_(viewing),
      runUntil_(std::move(runUntil)),
      limit_(milliseconds(limit.value_or(kLongest))),
      end_(Clock::now() + milliseconds(kLongest)) {}

std::optional<Error> Show::run(const std::optional<std::vector<ViewingStep>>& script) {
  if (!viewing_.begin([this] { return quits_; }, runUntil_)) return viewing_.error();
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

void Show::follow(const std::vector<ViewingStep>& script) {
  for (const auto& step : script) {
    if (isOver()) return;
    if (step.act) step.act(viewing_);
    wait([] { return false; }, milliseconds(step.seconds));
  }
}

void Show::wait(const std::function<bool()>& done, Milliseconds longest) {
  const auto left = std::chrono::duration_cast<Milliseconds>(end_ - Clock::now());
  runUntil_([&] { return isOver() || done(); }, std::clamp(left, Milliseconds(0), longest));
}

bool Show::isOver() const {
  return quits_ || viewing_.error() || Clock::now() >= end_;
}

void Show::press(char key) {
  if (key == 'q') quit();
  if (!viewing_.session()) return;
  if (key == ' ') viewing_.togglePlaying();
  if (key == '<') viewing_.seekBy(tenSeconds(-1));
  if (key == '>') viewing_.seekBy(tenSeconds(1));
  if (key == 's') viewing_.skip();
  if (key == 'l') viewing_.learnMore();
}

void Show::seek(CMTime contentTime) {
  if (viewing_.session()) viewing_.seek(contentTime);
}

}  // namespace tarn::cli
