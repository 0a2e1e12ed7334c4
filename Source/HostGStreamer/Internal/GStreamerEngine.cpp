#include "HostGStreamer/Internal/GStreamerEngine.h"

#include <algorithm>
#include <utility>

#include "Host/StreamError.h"
#include "Platform/MainQueue.h"

namespace tarn {
namespace {

/// How far before its duration an item may run out: playlists round, and sound and picture end apart.
const CMTime kEndSlack = CMTimeMake(2, 1);
/// An accurate seek shows the picture that covers the target; within this the playhead is the target itself.
const CMTime kPicture = CMTimeMake(1, 10);

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

GStreamerPlayer::Engine::Engine(GStreamerPlayer& player, const GStreamerPlayerOptions& options,
                                const URL& url)
    : player_(player),
      options_(options),
      url_(url),
      lastAdvance_(Clock::now()),
      ticker_(MainQueue::shared(), options.reportInterval, [this] { tick(); }) {}

void GStreamerPlayer::Engine::open() {
  const auto deliver = [handler = liveness_.guard([this](const auto& event) {
    handle(event);
  })](const GStreamerEvent& event) { MainQueue::shared().async([handler, event] { handler(event); }); };
  const GStreamerSinks sinks{options_.videoSink, options_.audioSink, options_.quickVideoItem};
  auto pipeline = GStreamerPipeline::make(url_, sinks, deliver);
  if (!pipeline) return fail(pipeline.error());
  pipeline_ = std::move(*pipeline);
  updateTicker();
}

bool GStreamerPlayer::Engine::isOfParent() const {
  return pipeline_ && pipeline_->isOfParent();
}

Error GStreamerPlayer::Engine::explained(const Error& cause) const {
  return withUnderlying(streamError(classify(cause, state_ != State::opening), url_), cause);
}

void GStreamerPlayer::Engine::fail(const Error& cause) {
  player_.reportFailure(explained(cause));
}

std::optional<CMTime> GStreamerPlayer::Engine::position() const {
  return pipeline_ && !isOfParent() ? pipeline_->position() : std::nullopt;
}

void GStreamerPlayer::Engine::setPlaying(bool playing) {
  if (playing && !isPlaying_) lastAdvance_ = Clock::now();
  isPlaying_ = playing;
  runPipeline();
  updateTicker();
}

void GStreamerPlayer::Engine::runPipeline() {
  if (pipeline_ && state_ != State::opening) pipeline_->setPlaying(isPlaying_ && !isStarved_);
}

// Events of the pipeline

void GStreamerPlayer::Engine::handle(const GStreamerEvent& event) {
  using Kind = GStreamerEvent::Kind;
  if (isOfParent()) return;
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
  lastAdvance_ = Clock::now();
  nextRanges_ = lastAdvance_ + kRangesInterval;
  updateTicker();
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
  const CMTime reached = player_.currentTime();
  if (breakOff_) {
    if (player_.reportPosition()) fail(*breakOff_);
    return;
  }
  const auto duration = player_.knownDuration();
  if (!duration || CMTimeAdd(reached, kEndSlack) >= *duration) return (void)player_.reportEnd();
  player_.reportFailure(ranOutError(url_, reached, *duration));
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
  // At its very end an item has no picture to stop at.
  const CMTime aim = seek.isToEnd ? std::max(CMTimeSubtract(seek.time, kPicture), kCMTimeZero) : seek.time;
  lastAdvance_ = Clock::now();
  const bool jumps = pipeline_->seek(aim, mode);
  state_ = jumps ? State::jumping : State::following;
  updateTicker();
  if (!jumps) player_.reportSeekFailed();
}

/// The pipeline is where the jump has led. Returns false like a report of the player.
bool GStreamerPlayer::Engine::land() {
  CMTime landing = seek_.isToEnd ? seek_.time : pipeline_->position().value_or(seek_.time);
  if (isAccurate_ && isWithin(landing, seek_.time, kPicture, kPicture)) landing = seek_.time;
  const bool isGood =
      isAccurate_ || isWithin(landing, seek_.time, seek_.toleranceBefore, seek_.toleranceAfter);
  if (!isGood && !player_.isSeekWaiting()) {
    jumpTo(PlayerSeek(seek_), GStreamerSeekMode::accurate);
    return true;
  }
  state_ = State::following;
  furthest_ = landing;
  nextRanges_ = lastAdvance_ = Clock::now();  // a jump loads elsewhere
  updateTicker();
  return player_.reportLanded(landing);
}

// Reports of the playhead

void GStreamerPlayer::Engine::updateTicker() {
  ticker_.setRunning(state_ != State::opening ? isPlaying_ || state_ == State::jumping
                                              : pipeline_ != nullptr);
}

std::chrono::milliseconds GStreamerPlayer::Engine::limit() const {
  return state_ == State::opening ? options_.loadLimit : options_.stallLimit;
}

bool GStreamerPlayer::Engine::isOverdue() const {
  const bool isAwaitingProgress = state_ != State::following || isPlaying_;
  return isAwaitingProgress && Clock::now() - lastAdvance_ > limit();
}

void GStreamerPlayer::Engine::tick() {
  if (isOverdue()) return (void)player_.reportFailure(stalledError(url_, limit()));
  if (state_ != State::following || (Clock::now() >= nextRanges_ && !updateRanges())) return;
  const CMTime now = player_.currentTime();
  if (now > furthest_) lastAdvance_ = Clock::now();
  furthest_ = std::max(furthest_, now);
  player_.reportPosition();
}

bool GStreamerPlayer::Engine::updateRanges() {
  nextRanges_ = Clock::now() + kRangesInterval;
  return player_.reportSeekableRanges(pipeline_->seekableRanges()) &&
         player_.reportLoadedRanges(pipeline_->loadedRanges());
}

}  // namespace tarn
