#include "HostGStreamer/GStreamerPlayer.h"

#include <utility>

#include "HostGStreamer/Internal/GStreamerEngine.h"

namespace tarn {

GStreamerPlayer::GStreamerPlayer(GStreamerPlayerOptions options)
    : PlayerBase(StreamEngine{"GStreamer", options.reportInterval, options.loadLimit, options.stallLimit}),
      options_(std::move(options)) {}

GStreamerPlayer::~GStreamerPlayer() = default;

void GStreamerPlayer::doLoad(const URL& url) {
  engine_ = std::make_unique<Engine>(*this);
  engine_->open(url, {options_.videoSink, options_.audioSink, options_.quickVideoItem});
}

void GStreamerPlayer::doUnload() {
  engine_.reset();
}

void GStreamerPlayer::doPlay() {
  engine_->setPlaying(true);
}

void GStreamerPlayer::doPause() {
  engine_->setPlaying(false);
}

void GStreamerPlayer::doSeek(const PlayerSeek& seek) {
  engine_->jump(seek);
}

void GStreamerPlayer::doFollow() {
  if (engine_->updateRanges()) reportPosition();
}

std::optional<CMTime> GStreamerPlayer::playhead() const {
  return engine_->position();
}

}  // namespace tarn
