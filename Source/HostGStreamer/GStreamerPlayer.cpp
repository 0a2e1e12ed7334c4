#include "HostGStreamer/GStreamerPlayer.h"

#include <utility>

#include "HostGStreamer/GStreamerInstallation.h"
#include "HostGStreamer/Internal/GStreamerEngine.h"

namespace tarn {

GStreamerPlayer::GStreamerPlayer(GStreamerPlayerOptions options) : options_(std::move(options)) {}

GStreamerPlayer::~GStreamerPlayer() = default;

void GStreamerPlayer::play() {
  failIfForked();
  PlayerBase::play();
}

void GStreamerPlayer::pause() {
  failIfForked();
  PlayerBase::pause();
}

void GStreamerPlayer::seekToTime(CMTime time, CMTime toleranceBefore, CMTime toleranceAfter,
                                 SeekCompletion completion) {
  failIfForked();
  PlayerBase::seekToTime(time, toleranceBefore, toleranceAfter, std::move(completion));
}

void GStreamerPlayer::failIfForked() {
  if (!engine_ || !engine_->isOfParent()) return;
  onNextTurn([this, error = engine_->explained(forkedError())] { reportFailure(error); });
  engine_.reset();
}

void GStreamerPlayer::doLoad(const URL& url) {
  engine_ = std::make_unique<Engine>(*this, options_, url);
  engine_->open();
}

void GStreamerPlayer::doUnload() {
  engine_.reset();
}

void GStreamerPlayer::doPlay() {
  if (engine_) engine_->setPlaying(true);
}

void GStreamerPlayer::doPause() {
  if (engine_) engine_->setPlaying(false);
}

void GStreamerPlayer::doSeek(const PlayerSeek& seek) {
  engine_ ? engine_->jump(seek) : (void)reportSeekFailed();
}

std::optional<CMTime> GStreamerPlayer::playhead() const {
  return engine_ ? engine_->position() : std::nullopt;
}

}  // namespace tarn
