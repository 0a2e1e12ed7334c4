#include "HostGStreamer/GStreamerPlayer.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "HostGStreamer/GStreamerInstallation.h"
#include "HostGStreamer/Internal/GStreamerLibrary.h"
#include "HostGStreamer/Internal/GStreamerPipeline.h"
#include "Platform/Queue.h"

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

bool liesWithin(CMTime time, CMTime target, CMTime before, CMTime after) {
  const CMTime first = isPositive(before) ? CMTimeSubtract(target, before) : target;
  const CMTime last = isPositive(after) ? CMTimeAdd(target, after) : target;
  return first <= time && time <= last;
}

bool areSame(const TarnPlayer::TimeRanges& a, const TarnPlayer::TimeRanges& b) {
  if (!a || !b) return a.has_value() == b.has_value();
  return std::equal(a->begin(), a->end(), b->begin(), b->end(), [](const auto& x, const auto& y) {
    return isIdentical(x.start, y.start) && isIdentical(x.duration, y.duration);
  });
}

GStreamerSeekMode looseMode(CMTime before, CMTime after) {
  if (!isPositive(before) && !isPositive(after)) return GStreamerSeekMode::accurate;
  if (!isPositive(after)) return GStreamerSeekMode::keyUnitBefore;
  if (!isPositive(before)) return GStreamerSeekMode::keyUnitAfter;
  return GStreamerSeekMode::keyUnitNearest;
}

Error makeError(TarnPlayerErrorCode code, std::string description) {
  return Error::make(TarnPlayerErrorDomain, code, std::move(description));
}

TarnPlayerErrorCode classify(const Error& cause, bool hasBegun) {
  if (cause.domain == TarnPlayerErrorDomain) return static_cast<TarnPlayerErrorCode>(cause.code);
  if (hasBegun) return TarnPlayerErrorCode::brokenOff;
  if (cause.domain == "gst-resource-error-quark") return TarnPlayerErrorCode::cannotOpen;
  // An unknown format is told as a missing plug-in.
  if (cause.domain == "gst-stream-error-quark" || cause.domain == "gst-core-error-quark")
    return TarnPlayerErrorCode::notPlayable;
  return TarnPlayerErrorCode::other;
}

std::string_view sentence(TarnPlayerErrorCode code) {
  switch (code) {
    case TarnPlayerErrorCode::unsupportedScheme:
      return "The stream {} is not on an http or https server";
    case TarnPlayerErrorCode::cannotOpen:
      return "The stream {} could not be opened";
    case TarnPlayerErrorCode::notPlayable:
      return "What {} holds is no stream that can be played";
    case TarnPlayerErrorCode::brokenOff:
      return "The stream {} broke off";
    case TarnPlayerErrorCode::stalled:
      return "The stream {} stalled";
    case TarnPlayerErrorCode::missingComponent:
    case TarnPlayerErrorCode::other:
      break;
  }
  return "The stream {} could not be played";
}

Error streamError(TarnPlayerErrorCode code, const URL& url) {
  return makeError(code, fmt::format(fmt::runtime(sentence(code)), url.absoluteString()));
}

}  // namespace

/// Notices that a callback has destroyed the player or loaded another item, after which the interrupted
/// operation must touch nothing.
class GStreamerPlayer::Turn {
 public:
  explicit Turn(const GStreamerPlayer& player)
      : player_(player), alive_(player.alive_), item_(player.item_) {}
  [[nodiscard]] bool isOver() const { return alive_.expired() || player_.item_ != item_; }

 private:
  const GStreamerPlayer& player_;
  const std::weak_ptr<char> alive_;
  const std::uint64_t item_;
};

GStreamerPlayer::GStreamerPlayer(GStreamerPlayerOptions options)
    : options_(std::move(options)),
      ticker_(MainQueue::shared(), options_.reportInterval, [this] { tick(); }) {}

GStreamerPlayer::~GStreamerPlayer() = default;

void GStreamerPlayer::onNextTurn(std::function<void()> task) {
  const Turn turn(*this);
  MainQueue::shared().async([turn, task = std::move(task)] {
    if (!turn.isOver()) task();
  });
}

void GStreamerPlayer::loadURL(const URL& url) {
  dropSeeks();
  activeSeek_.reset();
  breakOff_.reset();
  ++item_;
  pipeline_.reset();
  url_ = url;
  error_.reset();
  position_ = kCMTimeZero;
  atEnd_ = hasReported_ = false;
  lastAdvance_ = Clock::now();

  const Turn turn(*this);
  if (buffering_.get()) buffering_.set(false);
  if (turn.isOver()) return;
  currentItemDuration_.set(kCMTimeIndefinite);
  if (turn.isOver()) return;
  seekableTimeRanges_.set(std::nullopt);
  if (turn.isOver()) return;
  loadedTimeRanges_.set(std::nullopt);
  if (turn.isOver()) return;
  state_.set(TarnPlayerState::loading);
  if (turn.isOver()) return;
  if (!isWebScheme(url.scheme())) {
    return onNextTurn([this] { fail(streamError(TarnPlayerErrorCode::unsupportedScheme, *url_)); });
  }
  openPipeline();
}

void GStreamerPlayer::openPipeline() {
  const auto deliver = [this, turn = Turn(*this)](const GStreamerEvent& event) {
    MainQueue::shared().async([this, turn, event] {
      if (!turn.isOver() && hasPipeline()) handle(event);
    });
  };
  const GStreamerSinks sinks{options_.videoSink, options_.audioSink, options_.quickVideoItem};
  auto pipeline = GStreamerPipeline::make(*url_, sinks, deliver);
  if (!pipeline) return onNextTurn([this, cause = pipeline.error()] { failWithCause(cause); });
  pipeline_ = std::move(*pipeline);
  updateTicker();
}

bool GStreamerPlayer::hasPipeline() const {
  return pipeline_ && !pipeline_->isOfParent();
}

void GStreamerPlayer::failIfForked() {
  if (!pipeline_ || hasPipeline()) return;
  dropSeeks();
  activeSeek_.reset();
  pipeline_.reset();
  onNextTurn([this] { failWithCause(forkedError()); });
}

void GStreamerPlayer::play() {
  failIfForked();
  const bool isEnded = state_.get() == TarnPlayerState::ended;
  const bool leavesTheEnd = activeSeek_ || waitingSeek_;
  if (state_.get() == TarnPlayerState::failed || (isEnded && !leavesTheEnd)) return;
  if (playing_.get()) {
    playsAgain_ = isEnded;
    return;
  }
  lastAdvance_ = Clock::now();
  const Turn turn(*this);
  playing_.set(true);
  if (!turn.isOver()) applyPlaying();
}

void GStreamerPlayer::pause() {
  failIfForked();
  if (!playing_.get()) return;
  playsAgain_ = false;
  const Turn turn(*this);
  playing_.set(false);
  if (!turn.isOver()) applyPlaying();
}

void GStreamerPlayer::applyPlaying() {
  const bool run = playing_.get() && state_.get() == TarnPlayerState::ready && !buffering_.get() && !atEnd_;
  if (pipeline_ && state_.get() != TarnPlayerState::loading) pipeline_->setPlaying(run);
  updateTicker();
}

void GStreamerPlayer::updateTicker() {
  ticker_.setRunning(pipeline_ != nullptr && isAwaitingProgress());
}

/// Whether the pipeline owes something, so that a limit holds.
bool GStreamerPlayer::isAwaitingProgress() const {
  if (state_.get() == TarnPlayerState::loading || activeSeek_) return true;
  return state_.get() == TarnPlayerState::ready && playing_.get();
}

// Events

void GStreamerPlayer::handle(const GStreamerEvent& event) {
  using Kind = GStreamerEvent::Kind;
  const bool isCurrent = event.jumps == pipeline_->jumps();
  switch (event.kind) {
    case Kind::arrived:
      if (activeSeek_ && isCurrent) activeSeek_->announced = true;
      return settle();
    case Kind::settled:
      return settle();
    case Kind::endOfStream:
      if (isCurrent) runOut();
      return;
    case Kind::durationChanged:
      return updateDuration();
    case Kind::starved:
    case Kind::fed:
      return setStarved(event.kind == Kind::starved);
    case Kind::brokenOff:
      if (isCurrent) breakOff(*event.error);
      return;
    case Kind::failed:
      return failWithCause(*event.error);
  }
}

void GStreamerPlayer::settle() {
  if (!pipeline_->isSettled()) return;
  if (state_.get() == TarnPlayerState::loading) return becomeReady();
  if (activeSeek_ && activeSeek_->announced) land();
}

void GStreamerPlayer::becomeReady() {
  const Turn turn(*this);
  lastAdvance_ = Clock::now();
  updateDuration();
  if (turn.isOver()) return;
  updateRanges();
  if (turn.isOver()) return;
  state_.set(TarnPlayerState::ready);
  if (turn.isOver()) return;
  startWaitingSeek();
  applyPlaying();
}

void GStreamerPlayer::setStarved(bool starved) {
  if (starved == buffering_.get()) return;
  const Turn turn(*this);
  buffering_.set(starved);
  if (!turn.isOver()) applyPlaying();
}

/// What came before the fault is played first.
void GStreamerPlayer::breakOff(const Error& cause) {
  if (state_.get() == TarnPlayerState::loading || activeSeek_) return failWithCause(cause);
  if (!breakOff_) breakOff_ = cause;
}

/// The pipeline has nothing more to play.
void GStreamerPlayer::runOut() {
  if (waitingSeek_) return;
  const Turn turn(*this);
  if (activeSeek_) {
    land();
    if (turn.isOver() || activeSeek_) return;
  }
  const CMTime reached = currentTime();
  if (breakOff_) {
    report(reached);
    if (!turn.isOver()) failWithCause(*breakOff_);
    return;
  }
  if (const auto duration = knownDuration()) {
    if (CMTimeAdd(reached, kEndSlack) < *duration) {
      Error error = streamError(TarnPlayerErrorCode::brokenOff, *url_);
      error.failureReason = fmt::format("It ran out at {:.3f} of {:.3f} s", CMTimeGetSeconds(reached),
                                        CMTimeGetSeconds(*duration));
      return fail(std::move(error));
    }
  }
  reachEnd();
}

void GStreamerPlayer::reachEnd() {
  const Turn turn(*this);
  pipeline_->setPlaying(false);
  const CMTime end = knownDuration().value_or(currentTime());
  atEnd_ = true;
  if (!hasReported_ || end != position_) report(end);
  if (turn.isOver() || activeSeek_) return;
  playsAgain_ = false;
  state_.set(TarnPlayerState::ended);
  if (turn.isOver()) return;
  if (playing_.get()) playing_.set(false);
  if (turn.isOver()) return;
  updateTicker();
  if (std::exchange(playsAgain_, false)) play();
}

void GStreamerPlayer::failWithCause(const Error& cause) {
  const bool hasBegun = state_.get() != TarnPlayerState::loading;
  fail(withUnderlying(streamError(classify(cause, hasBegun), *url_), cause));
}

void GStreamerPlayer::fail(Error error) {
  const Turn turn(*this);
  dropSeeks();
  activeSeek_.reset();
  pipeline_.reset();
  updateTicker();
  error_ = std::move(error);
  state_.set(TarnPlayerState::failed);
  if (turn.isOver()) return;
  if (buffering_.get()) buffering_.set(false);
  if (turn.isOver()) return;
  if (playing_.get()) playing_.set(false);
}

// Seeking

void GStreamerPlayer::seekToTime(CMTime time, CMTime toleranceBefore, CMTime toleranceAfter,
                                 SeekCompletion completion) {
  failIfForked();
  if (!pipeline_ || !(CMTIME_IS_NUMERIC(time) || CMTIME_IS_POSITIVE_INFINITY(time))) {
    return refuse(std::move(completion));
  }
  dropSeeks();
  waitingSeek_ = Seek{std::max(time, kCMTimeZero), toleranceBefore, toleranceAfter, std::move(completion)};
  startWaitingSeek();
}

/// Promises "unfinished" to the seeks under way. The one that the pipeline works on stays active, without a
/// completion, because the next may begin only when it has landed.
void GStreamerPlayer::dropSeeks() {
  if (waitingSeek_) refuse(std::move(waitingSeek_->completion));
  waitingSeek_.reset();
  if (activeSeek_) refuse(std::exchange(activeSeek_->completion, nullptr));
}

void GStreamerPlayer::refuse(SeekCompletion completion) {
  if (!completion) return;
  MainQueue::shared().async([alive = std::weak_ptr<char>(alive_), completion = std::move(completion)] {
    if (!alive.expired()) completion(false);
  });
}

void GStreamerPlayer::startWaitingSeek() {
  const bool isReady = state_.get() == TarnPlayerState::ready || state_.get() == TarnPlayerState::ended;
  if (!waitingSeek_ || activeSeek_ || !isReady) return;
  Seek seek = *std::exchange(waitingSeek_, std::nullopt);
  const auto duration = knownDuration();
  seek.toEnd = duration && seek.time >= *duration;
  if (seek.toEnd) seek.time = *duration;
  if (!CMTIME_IS_NUMERIC(seek.time)) return refuse(std::move(seek.completion));
  const auto mode =
      seek.toEnd ? GStreamerSeekMode::accurate : looseMode(seek.toleranceBefore, seek.toleranceAfter);
  jump(std::move(seek), mode);
}

void GStreamerPlayer::jump(Seek seek, GStreamerSeekMode mode) {
  seek.isAccurate = mode == GStreamerSeekMode::accurate;
  seek.announced = false;
  breakOff_.reset();  // other segments may be there
  // At its very end an item has no picture to stop at.
  const CMTime aim = seek.toEnd ? std::max(CMTimeSubtract(seek.time, kPicture), kCMTimeZero) : seek.time;
  lastAdvance_ = Clock::now();
  if (!pipeline_->seek(aim, mode)) {
    activeSeek_.reset();
    return refuse(std::move(seek.completion));
  }
  activeSeek_ = std::move(seek);
  updateTicker();
}

/// The pipeline stands where the active seek has led.
void GStreamerPlayer::land() {
  Seek seek = *std::exchange(activeSeek_, std::nullopt);
  if (waitingSeek_) return startWaitingSeek();

  CMTime landing = seek.toEnd ? seek.time : pipeline_->position().value_or(seek.time);
  if (seek.isAccurate && liesWithin(landing, seek.time, kPicture, kPicture)) landing = seek.time;
  if (!seek.isAccurate && !liesWithin(landing, seek.time, seek.toleranceBefore, seek.toleranceAfter))
    return jump(std::move(seek), GStreamerSeekMode::accurate);

  position_ = landing;
  atEnd_ = seek.toEnd;
  lastAdvance_ = Clock::now();
  nextRanges_ = lastAdvance_;  // a jump loads elsewhere
  const Turn turn(*this);
  if (state_.get() == TarnPlayerState::ended) state_.set(TarnPlayerState::ready);
  if (turn.isOver()) return;
  if (seek.completion) seek.completion(true);
  if (turn.isOver()) return;
  report(landing);
  if (!turn.isOver()) applyPlaying();
}

// Reports

void GStreamerPlayer::tick() {
  const auto limit = state_.get() == TarnPlayerState::loading ? options_.loadLimit : options_.stallLimit;
  if (isAwaitingProgress() && Clock::now() - lastAdvance_ > limit) {
    Error error = streamError(TarnPlayerErrorCode::stalled, *url_);
    error.failureReason = fmt::format("Nothing came for {} s", std::chrono::duration<double>(limit).count());
    return fail(std::move(error));
  }
  if (state_.get() != TarnPlayerState::ready || activeSeek_) return;
  if (atEnd_) return reachEnd();
  const Turn turn(*this);
  if (Clock::now() >= nextRanges_) updateRanges();
  if (turn.isOver()) return;
  const CMTime now = currentTime();
  const bool moved = now > position_;
  if (moved) lastAdvance_ = Clock::now();
  if (!moved && hasReported_) return;
  report(now);
}

void GStreamerPlayer::report(CMTime time) {
  position_ = time;
  hasReported_ = true;
  progress_.set(time);
}

void GStreamerPlayer::updateDuration() {
  const auto duration = pipeline_->duration();
  const auto& known = currentItemDuration_.get();
  if (duration && !(known && *known == *duration)) currentItemDuration_.set(duration);
}

void GStreamerPlayer::updateRanges() {
  const Turn turn(*this);
  nextRanges_ = Clock::now() + kRangesInterval;
  if (auto ranges = pipeline_->seekableRanges(); !areSame(ranges, seekableTimeRanges_.get())) {
    seekableTimeRanges_.set(std::move(ranges));
    if (turn.isOver()) return;
  }
  if (auto ranges = pipeline_->loadedRanges(); !areSame(ranges, loadedTimeRanges_.get())) {
    loadedTimeRanges_.set(std::move(ranges));
  }
}

CMTime GStreamerPlayer::currentTime() const {
  if (!hasPipeline() || state_.get() != TarnPlayerState::ready || activeSeek_ || atEnd_) return position_;
  const auto now = pipeline_->position();
  if (!now) return position_;
  return std::max(position_, std::min(*now, knownDuration().value_or(*now)));
}

std::optional<CMTime> GStreamerPlayer::knownDuration() const {
  const auto& duration = currentItemDuration_.get();
  if (!duration || !CMTIME_IS_NUMERIC(*duration)) return std::nullopt;
  return duration;
}

}  // namespace tarn
