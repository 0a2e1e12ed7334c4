#pragma once

#include <chrono>
#include <optional>
#include <thread>

#include "Host/PlayerBase.h"
#include "Platform/MainQueue.h"

/// A player that shows nothing: it plays a stream of a given length against the clock.
class ClockPlayer final : public tarn::PlayerBase {
 public:
  explicit ClockPlayer(CMTime length) : length_(length) {}

 private:
  using Clock = std::chrono::steady_clock;

  void doLoad(const tarn::URL& /*url*/) override {
    placeAt(kCMTimeZero);
    if (!reporter_.joinable()) startReporting();
    const std::vector whole{CMTimeRangeMake(kCMTimeZero, length_)};
    reportReady({.duration = length_, .seekableRanges = whole, .loadedRanges = whole});
  }
  void doUnload() override { isMoving_ = false; }
  void doPlay() override {
    placeAt(*playhead());
    isMoving_ = true;
  }
  void doPause() override {
    placeAt(*playhead());
    isMoving_ = false;
  }
  void doSeek(const tarn::PlayerSeek& seek) override {
    placeAt(seek.time);
    isMoving_ = false;
    reportLanded(seek.time);
  }

  [[nodiscard]] std::optional<CMTime> playhead() const override {
    if (!isMoving_) return position_;
    const std::chrono::duration<double> elapsed = Clock::now() - since_;
    return CMTimeAdd(position_, CMTimeMakeWithSeconds(elapsed.count(), 90'000));
  }
  void placeAt(CMTime position) {
    position_ = position;
    since_ = Clock::now();
  }

  /// A thread that only posts; the playhead is read on the main queue.
  void startReporting() {
    const auto report = liveness().guard([this] { reportPlayhead(); });
    reporter_ = std::jthread([report](const std::stop_token& stop) {
      while (!stop.stop_requested()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        tarn::MainQueue::shared().async(report);
      }
    });
  }
  void reportPlayhead() {
    if (isMoving_) *playhead() < length_ ? reportPosition() : reportEnd();
  }

  const CMTime length_;
  CMTime position_ = kCMTimeZero;  // at the time `since_`
  Clock::time_point since_ = Clock::now();
  bool isMoving_ = false;
  std::jthread reporter_;
};
