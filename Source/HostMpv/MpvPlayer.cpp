#include "HostMpv/MpvPlayer.h"

#include <utility>

#include "HostMpv/Internal/MpvCore.h"
#include "Platform/MainQueue.h"

namespace tarn {

MpvPlayer::MpvPlayer(MpvPlayerOptions options)
    : PlayerBase(StreamEngine{"mpv", options.reportInterval, options.loadLimit, options.stallLimit}),
      options_(std::move(options)) {}

MpvPlayer::~MpvPlayer() = default;

void MpvPlayer::doLoad(const URL& url) {
  const auto wake = [task = forThisItem([this] { handleEvents(); })] { MainQueue::shared().async(task); };
  auto core = MpvCore::open(url, options_, wake);
  if (!core) return (void)reportFailure(TarnPlayerErrorCode::other, core.error());
  core_ = std::move(*core);
  receivedUntil_ = landingPosition_ = std::nullopt;
}

void MpvPlayer::doUnload() {
  core_.reset();
}

void MpvPlayer::doPlay() {
  core_->setPaused(false);
}

void MpvPlayer::doPause() {
  core_->setPaused(true);
}

void MpvPlayer::doSeek(const PlayerSeek& seek) {
  seek_ = seek;
  core_->setPaused(true);  // so that the playhead is still where the seek has led when that is handled
  core_->seek(seek.pictureTime());
}

/// Absent while the picture that a seek has led to is shown, which may be later than the seek's target.
std::optional<CMTime> MpvPlayer::playhead() const {
  const auto position = core_->position();
  return position == landingPosition_ ? std::nullopt : position;
}

/// mpv delivers log messages last, so why a stream ends early is known only after all events.
void MpvPlayer::handleEvents() {
  while (core_ && !isOfParent()) {
    const auto event = core_->nextEvent();
    if (!event) return (void)endIfPlayedAll();
    if (!handle(*event)) return;
  }
}

bool MpvPlayer::handle(const MpvEvent& event) {
  using Kind = MpvEvent::Kind;
  switch (event.kind) {
    case Kind::loaded:
      return reportReady({core_->duration(), core_->seekableRanges(), core_->loadedRanges()});
    case Kind::landed:
      return land();
    case Kind::seekFailed:
      return reportSeekFailed();
    case Kind::bufferingChanged:
      return reportBuffering(core_->isStarved());
    case Kind::durationChanged:
      return reportDuration(core_->duration());
    case Kind::failed:
      break;
  }
  const bool hasBegun = state_.get() != TarnPlayerState::loading;
  return reportFailure(hasBegun ? TarnPlayerErrorCode::brokenOff : event.code, *event.error);
}

bool MpvPlayer::land() {
  receivedUntil_.reset();
  landingPosition_ = core_->position();
  return reportLanded(seek_.exactLanding(landingPosition_.value_or(seek_.time)));
}

bool MpvPlayer::endIfPlayedAll() {
  if (!isFollowing() || !playing_.get() || !core_->hasPlayedAll()) return true;
  return reportRanOut(core_->complaint());
}

void MpvPlayer::doFollow() {
  if (!reportPosition() || !endIfPlayedAll() || !core_) return;
  const auto until = core_->receivedUntil();
  if (until != std::exchange(receivedUntil_, until)) reportLoadedRanges(core_->loadedRanges());
}

}  // namespace tarn
