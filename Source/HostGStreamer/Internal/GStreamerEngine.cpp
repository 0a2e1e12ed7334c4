#include "HostGStreamer/Internal/GStreamerEngine.h"

#include <utility>

#include "Platform/MainQueue.h"

namespace tarn {
namespace {

constexpr std::chrono::seconds kRangesInterval{2};

bool isPositive(CMTime time) {
  return CMTIME_IS_VALID(time) && !CMTIME_IS_INDEFINITE(time) && time > kCMTimeZero;
}

bool isWithin(CMTime time, CMTime target, CMTime before, CMTime after) {
  const CMTime first = isPositive(before) ? CMTimeSubtract(target, before) : target;
  const CMTime last = isPositive(after) ? CMTimeAdd(target, after) : target;
  return first <= time && time <= last;
}

GStreamerSeekMode looseMode(CMTime before, CMTime after) {
  if (!isPositive(before) && !isPositive(after)) return GStreamerSeekMode::accurate;
  if (!isPositive(after)) return GStreamerSeekMode::keyUnitBefore;
  if (!isPositive(before)) return GStreamerSeekMode::keyUnitAfter;
  return GStreamerSeekMode::keyUnitNearest;
}

TarnPlayerErrorCode classify(const Error& cause, bool hasBegun) {
  if (cause.domain == TarnPlayerErrorDomain) return static_cast<TarnPlayerErrorCode>(cause.code);
  if (hasBegun) return TarnPlayerErrorCode::brokenOff;
  if (cause.domain == "gst-resource-error-quark") return TarnPlayerErrorCode::cannotOpen;
  // GStreamer reports an unknown format as a missing plug-in.
  if (cause.domain == "gst-stream-error-quark" || cause.domain == "gst-core-error-quark")
    return TarnPlayerErrorCode::notPlayable;
  return TarnPlayerErrorCode::other;
}

}  // namespace

void GStreamerPlayer::Engine::open(const URL& url, const GStreamerSinks& sinks) {
  const auto deliver = [handler = liveness_.guard([this](const auto& event) {
    handle(event);
  })](const GStreamerEvent& event) { MainQueue::shared().async([handler, event] { handler(event); }); };
  auto pipeline = GStreamerPipeline::make(url, sinks, deliver);
  if (!pipeline) return fail(pipeline.error());
  pipeline_ = std::move(*pipeline);
}

void GStreamerPlayer::Engine::fail(const Error& cause) {
  player_.reportFailure(classify(cause, state_ != State::opening), cause);
}

void GStreamerPlayer::Engine::setPlaying(bool playing) {
  isPlaying_ = playing;
  runPipeline();
}

void GStreamerPlayer::Engine::runPipeline() {
  if (state_ != State::opening) pipeline_->setPlaying(isPlaying_ && !isStarved_);
}

// Events of the pipeline

void GStreamerPlayer::Engine::handle(const GStreamerEvent& event) {
  using Kind = GStreamerEvent::Kind;
  if (player_.isOfParent()) return;
  const bool isCurrent = event.jumps == pipeline_->jumps();
  switch (event.kind) {
    case Kind::arrived:
      hasArrived_ = hasArrived_ || isCurrent;
      return settle();
    case Kind::settled:
      return settle();
    case Kind::endOfStream:
      if (isCurrent) runOut();
      return;
    case Kind::durationChanged:
      return (void)player_.reportDuration(pipeline_->duration());
    case Kind::starved:
    case Kind::fed:
      return setStarved(event.kind == Kind::starved);
    case Kind::brokenOff:
      if (isCurrent) breakOff(*event.error);
      return;
    case Kind::failed:
      return fail(*event.error);
  }
}

void GStreamerPlayer::Engine::settle() {
  if (!pipeline_->isSettled()) return;
  if (state_ == State::opening) return becomeReady();
  if (state_ == State::jumping && hasArrived_) (void)land();
}

void GStreamerPlayer::Engine::becomeReady() {
  state_ = State::following;
  nextRanges_ = Clock::now() + kRangesInterval;
  player_.reportReady({pipeline_->duration(), pipeline_->seekableRanges(), pipeline_->loadedRanges()});
}

void GStreamerPlayer::Engine::setStarved(bool starved) {
  isStarved_ = starved;
  runPipeline();
  player_.reportBuffering(starved);
}

/// The media received before the fault is played first.
void GStreamerPlayer::Engine::breakOff(const Error& cause) {
  if (state_ != State::following) return fail(cause);
  if (!breakOff_) breakOff_ = cause;
}

/// The pipeline has nothing more to play.
void GStreamerPlayer::Engine::runOut() {
  if (player_.isSeekWaiting()) return;
  if (state_ == State::jumping && (!land() || state_ == State::jumping)) return;
  if (!breakOff_) return (void)player_.reportRanOut();
  if (player_.reportPosition()) fail(*breakOff_);
}

// Jumps

void GStreamerPlayer::Engine::jump(const PlayerSeek& seek) {
  jumpTo(seek,
         seek.isToEnd ? GStreamerSeekMode::accurate : looseMode(seek.toleranceBefore, seek.toleranceAfter));
}

void GStreamerPlayer::Engine::jumpTo(const PlayerSeek& seek, GStreamerSeekMode mode) {
  seek_ = seek;
  isAccurate_ = mode == GStreamerSeekMode::accurate;
  hasArrived_ = false;
  breakOff_.reset();  // other segments may be there
  player_.expectProgress();
  const bool jumps = pipeline_->seek(seek.pictureTime(), mode);
  state_ = jumps ? State::jumping : State::following;
  if (!jumps) player_.reportSeekFailed();
}

/// The pipeline is where the jump has led. Returns false like a report of the player.
bool GStreamerPlayer::Engine::land() {
  CMTime landing = pipeline_->position().value_or(seek_.time);
  if (isAccurate_) landing = seek_.exactLanding(landing);
  const bool isGood =
      isAccurate_ || isWithin(landing, seek_.time, seek_.toleranceBefore, seek_.toleranceAfter);
  if (!isGood && !player_.isSeekWaiting()) {
    jumpTo(PlayerSeek(seek_), GStreamerSeekMode::accurate);
    return true;
  }
  state_ = State::following;
  nextRanges_ = Clock::now();  // a jump loads elsewhere
  return player_.reportLanded(landing);
}

bool GStreamerPlayer::Engine::updateRanges() {
  if (Clock::now() < nextRanges_) return true;
  nextRanges_ = Clock::now() + kRangesInterval;
  return player_.reportSeekableRanges(pipeline_->seekableRanges()) &&
         player_.reportLoadedRanges(pipeline_->loadedRanges());
}

}  // namespace tarn
