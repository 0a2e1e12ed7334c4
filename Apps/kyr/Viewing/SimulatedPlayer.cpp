#include "Viewing/SimulatedPlayer.h"

#include <algorithm>

namespace tarn::cli {
SimulatedPlayer::SimulatedPlayer(VirtualClock& clock, Manner manner) : clock_(clock), manner_(manner) {}

void SimulatedPlayer::loadURL(const URL&) {
  dropSeek();
  ++item_;
  nextStep_.reset();
  standAt(kCMTimeZero);
  error_.reset();
  if (!announce(currentItemDuration_, kCMTimeIndefinite)) return;
  if (!announce(seekableTimeRanges_, std::nullopt)) return;
  if (!announce(loadedTimeRanges_, std::nullopt)) return;
  (void)announce(state_, TarnPlayerState::loading);
}

void SimulatedPlayer::becomeReady(CMTime duration) {
  if (CMTIME_IS_NUMERIC(duration) && duration >= kCMTimeZero) {
    const std::vector whole{CMTimeRangeMake(kCMTimeZero, duration)};
    if (!announce(currentItemDuration_, duration)) return;
    if (!announce(seekableTimeRanges_, whole)) return;
    if (!announce(loadedTimeRanges_, whole)) return;
  }
  standAt(kCMTimeZero);
  if (!announce(state_, TarnPlayerState::ready)) return;
  if (seek_) arrangeLanding();
  arrangeStep();
}

void SimulatedPlayer::play() {
  if (playing_.get() || (state_.get() == TarnPlayerState::ended && !seek_)) return;
  standAt(currentTime());
  if (announce(playing_, true)) arrangeStep();
}

void SimulatedPlayer::pause() {
  if (!playing_.get()) return;
  standAt(currentTime());
  if (announce(playing_, false)) arrangeStep();
}

// The playhead

bool SimulatedPlayer::isMoving() const {
  return playing_.get() && !seek_ && state_.get() == TarnPlayerState::ready;
}

std::optional<CMTime> SimulatedPlayer::end() const {
  const auto& duration = currentItemDuration_.get();
  return duration && CMTIME_IS_NUMERIC(*duration) ? duration : std::nullopt;
}

CMTime SimulatedPlayer::withinItem(CMTime time) const {
  if (time < kCMTimeZero) return kCMTimeZero;
  return std::min(time, end().value_or(time));
}

CMTime SimulatedPlayer::currentTime() const {
  if (!isMoving()) return position_;
  return withinItem(CMTimeAdd(position_, CMTimeSubtract(clock_.now(), since_)));
}

void SimulatedPlayer::standAt(CMTime position) {
  position_ = position;
  since_ = clock_.now();
}

void SimulatedPlayer::arrangeStep() {
  nextStep_.reset();
  if (!isMoving()) return;
  CMTime due = CMTimeAdd(since_, manner_.tick);
  if (const auto last = end()) due = std::min(due, CMTimeAdd(since_, CMTimeSubtract(*last, position_)));
  nextStep_ = clock_.at(due, [this] { step(); });
}

void SimulatedPlayer::step() {
  standAt(currentTime());
  if (const auto last = end(); last && position_ >= *last) return reachEnd();
  if (announce(progress_, position_)) arrangeStep();
}

void SimulatedPlayer::reachEnd() {
  const int item = item_;
  const bool wasReported = progress_.get() == *end();
  if (!wasReported && !announce(progress_, *end())) return;
  if (item != item_ || seek_) return;
  nextStep_.reset();  // arranged by a listener that paused and played
  if (!announce(state_, TarnPlayerState::ended)) return;
  (void)announce(playing_, false);
}

// Seeking

void SimulatedPlayer::seekToTime(CMTime time, CMTime, CMTime, SeekCompletion completion) {
  const bool hasItem = state_.get() != TarnPlayerState::empty && state_.get() != TarnPlayerState::failed;
  const bool isPlace = CMTIME_IS_NUMERIC(time) || CMTIME_IS_POSITIVE_INFINITY(time);
  if (!hasItem || !isPlace) return refuse(std::move(completion));
  dropSeek();
  standAt(currentTime());
  nextStep_.reset();
  seek_ = Seek{time, std::move(completion)};
  if (state_.get() != TarnPlayerState::loading) arrangeLanding();
}

void SimulatedPlayer::arrangeLanding() {
  landing_ = clock_.at(CMTimeAdd(clock_.now(), manner_.seekLatency), [this] { land(); });
}

void SimulatedPlayer::land() {
  const Seek seek = *std::exchange(seek_, std::nullopt);
  const CMTime target = withinItem(seek.time);
  const int item = item_;
  if (!CMTIME_IS_NUMERIC(target)) {  // there is no end to go to
    refuse(seek.completion);
    return arrangeStep();
  }
  standAt(target);
  if (state_.get() == TarnPlayerState::ended && !announce(state_, TarnPlayerState::ready)) return;
  const std::weak_ptr<char> alive = alive_;
  if (seek.completion) seek.completion(true);
  if (alive.expired() || item != item_) return;
  if (announce(progress_, target)) arrangeStep();
}

void SimulatedPlayer::dropSeek() {
  landing_.reset();
  if (seek_) refuse(std::exchange(seek_, std::nullopt)->completion);
}

void SimulatedPlayer::refuse(SeekCompletion completion) const {
  if (!completion) return;
  MainQueue::shared().async([alive = std::weak_ptr<char>(alive_), completion = std::move(completion)] {
    if (!alive.expired()) completion(false);
  });
}

}  // namespace tarn::cli
