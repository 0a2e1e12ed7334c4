#include "HostSimulated/SimulatedPlayer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace tarn {
namespace {

/// The shortest text that reads back as the same number.
std::string secondsText(CMTime time) {
  std::array<char, 32> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), CMTimeGetSeconds(time)).ptr;
  return {text.data(), end};
}

}  // namespace

SimulatedPlayer::SimulatedPlayer(VirtualClock& clock, SimulatedPlayerOptions options)
    : PlayerBase(Seeks::replaced, options.playsAnyAddress ? Addresses::any : Addresses::webOnly),
      clock_(clock),
      options_(options),
      layerObservation_(layerHidden_.observe(
          [calls = calls_](bool hidden) { calls->push_back(hidden ? "hideLayer" : "showLayer"); })) {}

SimulatedPlayer::~SimulatedPlayer() = default;

void SimulatedPlayer::loadURL(const URL& url) {
  calls_->push_back("load " + url.absoluteString());
  PlayerBase::loadURL(url);
}

void SimulatedPlayer::play() {
  calls_->emplace_back("play");
  PlayerBase::play();
}

void SimulatedPlayer::pause() {
  calls_->emplace_back("pause");
  PlayerBase::pause();
}

void SimulatedPlayer::seekToTime(CMTime time, CMTime toleranceBefore, CMTime toleranceAfter,
                                 SeekCompletion completion) {
  calls_->push_back("seek " + secondsText(time) + " -" + secondsText(toleranceBefore) + " +" +
                    secondsText(toleranceAfter));
  PlayerBase::seekToTime(time, toleranceBefore, toleranceAfter, std::move(completion));
}

// The stream and its server

PlayerItem SimulatedPlayer::itemOf(CMTime duration) const {
  if (!CMTIME_IS_NUMERIC(duration) || duration < kCMTimeZero) return {};
  const std::vector whole{CMTimeRangeMake(kCMTimeZero, duration)};
  return {.duration = duration,
          .seekableRanges = whole,
          .loadedRanges = options_.loadsAtOnce ? TimeRanges(whole) : loadedTimeRanges_.get()};
}

void SimulatedPlayer::becomeReady(CMTime duration) {
  const PlayerItem item = itemOf(duration);
  if (state_.get() != TarnPlayerState::ready) return (void)reportReady(item);
  placeAt(*playhead());
  if (!reportDuration(item.duration)) return;
  scheduleReport();
  if (reportLoadedRanges(item.loadedRanges)) seekableTimeRanges_.set(item.seekableRanges);
}

void SimulatedPlayer::setStarved(bool starved) {
  placeAt(*playhead());
  isStarved_ = starved;
  scheduleReport();
  reportBuffering(starved);
}

void SimulatedPlayer::setLoadedTo(CMTime time) {
  reportLoadedRanges(std::vector{CMTimeRangeMake(kCMTimeZero, time)});
}

void SimulatedPlayer::fail(Error error) {
  reportFailure(std::move(error));
}

// The engine

void SimulatedPlayer::doLoad(const URL& /*url*/) {
  if (options_.itemDuration) reportReady(itemOf(*options_.itemDuration));
}

void SimulatedPlayer::doUnload() {
  isPlaying_ = isStarved_ = false;
  nextReport_.reset();
  landing_.reset();
  placeAt(kCMTimeZero);
}

void SimulatedPlayer::doPlay() {
  placeAt(*playhead());
  isPlaying_ = true;
  scheduleReport();
}

void SimulatedPlayer::doPlayAtEnd() {
  doPlay();  // the next report is due at once
}

void SimulatedPlayer::doPause() {
  placeAt(*playhead());
  isPlaying_ = false;
  nextReport_.reset();
}

void SimulatedPlayer::doSeek(const PlayerSeek& seek) {
  doPause();
  landing_.reset();
  if (!isSeekable_) {
    placeAt(currentTime());
    return (void)reportSeekFailed();
  }
  const auto land = [this, time = seek.time] {
    placeAt(time);
    reportLanded(time);
  };
  if (options_.seekLatency <= kCMTimeZero) return land();
  landing_ = clock_.at(CMTimeAdd(clock_.now(), options_.seekLatency), land);
}

std::optional<CMTime> SimulatedPlayer::playhead() const {
  if (!isPlaying_ || isStarved_) return position_;
  return CMTimeAdd(position_, CMTimeSubtract(clock_.now(), since_));
}

void SimulatedPlayer::placeAt(CMTime position) {
  position_ = position;
  since_ = clock_.now();
}

void SimulatedPlayer::scheduleReport() {
  nextReport_.reset();
  if (!isPlaying_ || isStarved_) return;
  CMTime due = CMTimeAdd(since_, options_.reportInterval);
  if (const auto end = knownDuration())
    due = std::min(due, CMTimeAdd(since_, CMTimeSubtract(*end, position_)));
  nextReport_ = clock_.at(due, [this] { reportNow(); });
}

void SimulatedPlayer::reportNow() {
  placeAt(*playhead());
  if (const auto end = knownDuration(); end && position_ >= *end) return (void)reportEnd();
  if (reportPosition()) scheduleReport();
}

}  // namespace tarn
