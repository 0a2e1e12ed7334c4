#include "Support/FakePlayer.h"

#include <fmt/format.h>

#include <algorithm>

#include "Platform/Queue.h"
#include "Support/TimePrinter.h"

namespace tarn::test {

FakePlayer::FakePlayer()
    : layerObservation_(layerHidden_.observe(
          [calls = calls_](bool hidden) { calls->push_back(hidden ? "hideLayer" : "showLayer"); })) {}

void FakePlayer::loadURL(const URL& url) {
  calls_->push_back("load " + url.absoluteString());
  if (seek_) refuse(std::exchange(seek_, std::nullopt)->completion);
  position_ = kCMTimeZero;
  error_.reset();
  if (!announce(currentItemDuration_, kCMTimeIndefinite)) return;
  if (!announce(seekableTimeRanges_, std::nullopt)) return;
  if (!announce(loadedTimeRanges_, std::nullopt)) return;
  (void)announce(state_, TarnPlayerState::loading);
}

void FakePlayer::play() {
  calls_->push_back("play");
  const auto state = state_.get();
  if (state == TarnPlayerState::failed || (state == TarnPlayerState::ended && !seek_)) return;
  (void)announce(playing_, true);
}

void FakePlayer::pause() {
  calls_->push_back("pause");
  (void)announce(playing_, false);
}

void FakePlayer::seekToTime(CMTime time, CMTime toleranceBefore, CMTime toleranceAfter,
                            SeekCompletion completion) {
  calls_->push_back(fmt::format("seek {} -{} +{}", CMTimeGetSeconds(time), CMTimeGetSeconds(toleranceBefore),
                                CMTimeGetSeconds(toleranceAfter)));
  if (seek_) refuse(std::exchange(seek_, std::nullopt)->completion);
  const bool hasItem = state_.get() != TarnPlayerState::empty && state_.get() != TarnPlayerState::failed;
  if (!seekable_ || !hasItem || !(CMTIME_IS_NUMERIC(time) || CMTIME_IS_POSITIVE_INFINITY(time))) {
    return refuse(std::move(completion));
  }
  seek_ = Seek{time, std::move(completion)};
  ++seeks_;
  landLater();
}

void FakePlayer::refuse(SeekCompletion completion) const {
  if (!completion) return;
  MainQueue::shared().async([alive = std::weak_ptr<char>(alive_), completion = std::move(completion)] {
    if (!alive.expired()) completion(false);
  });
}

void FakePlayer::landLater() {
  MainQueue::shared().async([this, alive = std::weak_ptr<char>(alive_), number = seeks_] {
    if (!alive.expired() && number == seeks_ && state_.get() != TarnPlayerState::loading) land();
  });
}

void FakePlayer::land() {
  if (!seek_) return;
  const Seek seek = *std::exchange(seek_, std::nullopt);
  position_ = std::clamp(seek.time, kCMTimeZero, end());
  if (state_.get() == TarnPlayerState::ended && !announce(state_, TarnPlayerState::ready)) return;
  const std::weak_ptr<char> alive = alive_;
  if (seek.completion) seek.completion(true);
  if (!alive.expired()) (void)moveTo(position_);
}

void FakePlayer::becomeReady(double seconds) {
  const CMTime duration = test::seconds(seconds);
  if (!announce(currentItemDuration_, duration)) return;
  if (!announce(seekableTimeRanges_, std::vector{CMTimeRangeMake(kCMTimeZero, duration)})) return;
  if (!announce(state_, TarnPlayerState::ready)) return;
  if (seek_) landLater();
}

bool FakePlayer::isMoving() const {
  return playing_.get() && !buffering_.get() && !seek_ && state_.get() == TarnPlayerState::ready;
}

void FakePlayer::advance(double seconds, double tick) {
  CMTime left = test::seconds(seconds);
  while (isMoving() && left > kCMTimeZero) {
    const CMTime step = std::min(left, test::seconds(tick));
    left = CMTimeSubtract(left, step);
    const CMTime next = CMTimeAdd(position_, step);
    if (next >= end()) return reachEnd();
    if (!moveTo(next)) return;
  }
}

bool FakePlayer::moveTo(CMTime time) {
  position_ = time;
  return announce(progress_, time);
}

void FakePlayer::reachEnd() {
  if (!moveTo(end())) return;
  if (!announce(state_, TarnPlayerState::ended)) return;
  (void)announce(playing_, false);
}

void FakePlayer::setLoadedTo(double seconds) {
  (void)announce(loadedTimeRanges_, std::vector{CMTimeRangeMake(kCMTimeZero, test::seconds(seconds))});
}

void FakePlayer::fail(Error error) {
  if (seek_) refuse(std::exchange(seek_, std::nullopt)->completion);
  error_ = std::move(error);
  if (!announce(state_, TarnPlayerState::failed)) return;
  (void)announce(playing_, false);
}

}  // namespace tarn::test
