#include "HostMpv/MpvPlayer.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "Host/StreamError.h"
#include "HostMpv/Internal/MpvCore.h"
#include "Platform/MainQueue.h"

namespace tarn {
namespace {

/// How far before its duration an item may run out: playlists round, and sound and picture end apart.
const CMTime kEndSlack = CMTimeMake(2, 1);
/// Likewise, when something could not be fetched. mpv skips it.
const CMTime kEndSlackAfterComplaint = CMTimeMake(1, 2);
/// An exact seek shows the first picture at or after the target; within this the playhead is the target.
const CMTime kPicture = CMTimeMake(1, 10);

}  // namespace

MpvPlayer::MpvPlayer(MpvPlayerOptions options)
    : options_(std::move(options)),
      ticker_(MainQueue::shared(), options_.reportInterval, [this] { tick(); }) {}

MpvPlayer::~MpvPlayer() = default;

void MpvPlayer::doLoad(const URL& url) {
  url_ = url;
  const auto wake = [task = forThisItem([this] { handleEvents(); })] { MainQueue::shared().async(task); };
  auto core = MpvCore::open(url, {options_.videoOutput, options_.audioOutput}, wake);
  if (!core) {
    reportFailure(withUnderlying(streamError(TarnPlayerErrorCode::other, url), core.error()));
    return;
  }
  core_ = std::move(*core);
  receivedUntil_ = landingPosition_ = std::nullopt;
  expectProgress();
}

void MpvPlayer::doUnload() {
  core_.reset();
}

bool MpvPlayer::hasOwnCore() const {
  return core_ && !core_->isOfParent();
}

bool MpvPlayer::failsInChild() {
  if (!core_ || hasOwnCore()) return false;
  onNextTurn([this] {
    reportFailure(withUnderlying(streamError(TarnPlayerErrorCode::other, *url_), MpvCore::forkedError()));
  });
  return true;
}

void MpvPlayer::play() {
  if (!failsInChild()) PlayerBase::play();
}

void MpvPlayer::doPlay() {
  if (failsInChild()) return;
  core_->setPaused(false);
  expectProgress();
}

void MpvPlayer::doPause() {
  if (!failsInChild()) core_->setPaused(true);
}

void MpvPlayer::doSeek(const PlayerSeek& seek) {
  if (failsInChild()) return;
  seekTarget_ = seek.time;
  core_->setPaused(true);  // so that the playhead is still where the seek has led when that is handled
  // At its very end an item has no picture.
  core_->seek(seek.isToEnd ? std::max(CMTimeSubtract(seek.time, kPicture), kCMTimeZero) : seek.time);
  expectProgress();
}

/// Absent while the picture that a seek has led to is shown, which may be later than the seek's target.
std::optional<CMTime> MpvPlayer::playhead() const {
  const auto position = hasOwnCore() ? core_->position() : std::nullopt;
  return position == landingPosition_ ? std::nullopt : position;
}

void MpvPlayer::expectProgress() {
  lastAdvance_ = Clock::now();
  ticker_.setRunning(true);
}

bool MpvPlayer::isAwaitingProgress() const {
  if (!core_) return false;
  if (state_.get() == TarnPlayerState::loading || isSeeking()) return true;
  return state_.get() == TarnPlayerState::ready && playing_.get();
}

/// mpv delivers log messages last, so why a stream ends early is known only after all events.
void MpvPlayer::handleEvents() {
  while (hasOwnCore()) {
    const auto event = core_->nextEvent();
    if (!event) return (void)endIfPlayedAll();
    if (!handle(*event)) return;
  }
}

bool MpvPlayer::handle(const MpvEvent& event) {
  using Kind = MpvEvent::Kind;
  switch (event.kind) {
    case Kind::loaded:
      return reportReady({core_->duration(), seekableRanges(), loadedRanges()});
    case Kind::landed:
      return land();
    case Kind::seekFailed:
      return reportSeekFailed();
    case Kind::starved:
    case Kind::fed:
      return reportBuffering(event.kind == Kind::starved);
    case Kind::durationChanged:
      return reportDuration(core_->duration());
    case Kind::failed:
      break;
  }
  const bool hasBegun = state_.get() != TarnPlayerState::loading;
  const auto code = hasBegun ? TarnPlayerErrorCode::brokenOff : event.code;
  return reportFailure(withUnderlying(streamError(code, *url_), *event.error));
}

bool MpvPlayer::land() {
  receivedUntil_.reset();
  landingPosition_ = core_->position();
  const CMTime place = landingPosition_.value_or(seekTarget_);
  const bool isNear =
      CMTimeSubtract(seekTarget_, kPicture) <= place && place <= CMTimeAdd(seekTarget_, kPicture);
  return reportLanded(isNear ? seekTarget_ : place);
}

bool MpvPlayer::endIfPlayedAll() {
  const bool isPlaying = state_.get() == TarnPlayerState::ready && playing_.get() && !isSeeking();
  if (!isPlaying || !core_->hasPlayedAll()) return true;
  const CMTime reached = currentTime();
  const auto duration = knownDuration();
  const CMTime slack = core_->complaint() ? kEndSlackAfterComplaint : kEndSlack;
  if (!duration || *duration <= CMTimeAdd(reached, slack)) return reportEnd();
  if (!reportPosition()) return false;
  Error error = ranOutError(*url_, reached, *duration);
  if (core_->complaint()) error = withUnderlying(std::move(error), *core_->complaint());
  return reportFailure(std::move(error));
}

void MpvPlayer::tick() {
  if (!isAwaitingProgress()) return ticker_.setRunning(false);
  const bool isFollowing = state_.get() == TarnPlayerState::ready && !isSeeking();
  const CMTime now = currentTime();
  if (isFollowing && now != lastPosition_) lastAdvance_ = Clock::now();
  lastPosition_ = now;
  const auto limit = state_.get() == TarnPlayerState::loading ? options_.loadLimit : options_.stallLimit;
  if (Clock::now() - lastAdvance_ > limit) return (void)reportFailure(stalledError(*url_, limit));
  if (!isFollowing || !reportPosition() || !endIfPlayedAll() || !core_) return;
  const auto until = core_->receivedUntil();
  if (until != std::exchange(receivedUntil_, until)) reportLoadedRanges(loadedRanges());
}

TarnPlayer::TimeRanges MpvPlayer::seekableRanges() const {
  const auto duration = core_->duration();
  if (!duration || !core_->isSeekable()) return std::nullopt;
  return std::vector{CMTimeRangeMake(kCMTimeZero, *duration)};
}

TarnPlayer::TimeRanges MpvPlayer::loadedRanges() const {
  const auto from = core_->position();
  const auto until = core_->receivedUntil();
  if (!from || !until || *until <= *from) return std::nullopt;
  return std::vector{CMTimeRangeMake(*from, CMTimeSubtract(*until, *from))};
}

}  // namespace tarn
