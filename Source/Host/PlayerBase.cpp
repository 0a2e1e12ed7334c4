#include "Host/PlayerBase.h"

#include <algorithm>

#include "Host/Internal/StreamWatch.h"
#include "Host/StreamError.h"
#include "Platform/MainQueue.h"

namespace tarn {
namespace {

bool areSame(const TarnPlayer::TimeRanges& a, const TarnPlayer::TimeRanges& b) {
  if (!a || !b) return a.has_value() == b.has_value();
  return std::equal(a->begin(), a->end(), b->begin(), b->end(), [](const auto& x, const auto& y) {
    return isIdentical(x.start, y.start) && isIdentical(x.duration, y.duration);
  });
}

}  // namespace

/// Notices that a listener has destroyed the player or loaded another item.
class PlayerBase::Turn {
 public:
  explicit Turn(const PlayerBase& player)
      : player_(player), watch_(player.liveness_.watch()), item_(player.item_) {}
  [[nodiscard]] bool isOver() const { return !watch_.isAlive() || player_.item_ != item_; }

 private:
  const PlayerBase& player_;
  const Liveness::Watch watch_;
  const std::uint64_t item_;
};

PlayerBase::PlayerBase(Seeks seeks, Addresses addresses) : seeks_(seeks), addresses_(addresses) {}

PlayerBase::PlayerBase(StreamEngine engine)
    : seeks_(Seeks::oneAtATime),
      addresses_(Addresses::webOnly),
      watch_(std::make_unique<StreamWatch>(std::move(engine), [this] { tick(); })) {}

PlayerBase::~PlayerBase() = default;

Task PlayerBase::forThisItem(Task task) const {
  return [turn = Turn(*this), task = std::move(task)] {
    if (!turn.isOver()) task();
  };
}

void PlayerBase::onNextTurn(Task task) const {
  MainQueue::shared().async(forThisItem(std::move(task)));
}

/// Returns false when the interrupted operation must touch nothing.
template <typename T>
bool PlayerBase::announce(Observable<T>& property, std::type_identity_t<T> value) {
  const Turn turn(*this);
  property.set(std::move(value));
  return !turn.isOver();
}

template <typename Operation>
void PlayerBase::callPlayer(Operation operation) {
  const auto watch = liveness_.watch();
  ++calls_;
  operation();
  if (watch.isAlive()) --calls_;
}

// The item

void PlayerBase::loadURL(const URL& url) {
  url_ = url;
  isBetweenItems_ = true;
  dropSeeks();
  activeSeek_.reset();
  ++item_;
  callPlayer([this] { doUnload(); });
  error_.reset();
  position_ = kCMTimeZero;
  isAtEnd_ = hasReported_ = playsAgain_ = false;
  if (watch_) watch_->beginItem();
  if (!announceEmptyItem()) return;
  isBetweenItems_ = false;
  if (!announce(state_, TarnPlayerState::loading)) return;
  if (addresses_ == Addresses::webOnly && !isWebScheme(url_->scheme())) {
    return onNextTurn([this] { reportFailure(streamError(TarnPlayerErrorCode::unsupportedScheme, *url_)); });
  }
  callPlayer([this] { doLoad(*url_); });
}

bool PlayerBase::announceEmptyItem() {
  return (!buffering_.get() || announce(buffering_, false)) &&
         announce(currentItemDuration_, kCMTimeIndefinite) && announce(seekableTimeRanges_, std::nullopt) &&
         announce(loadedTimeRanges_, std::nullopt);
}

bool PlayerBase::reportReady(const PlayerItem& item) {
  if (calls_ > 0) {
    onNextTurn([this, item] { reportReady(item); });
    return true;
  }
  if (state_.get() != TarnPlayerState::empty && state_.get() != TarnPlayerState::loading) return true;
  const bool isCurrent = reportDuration(item.duration) && reportSeekableRanges(item.seekableRanges) &&
                         reportLoadedRanges(item.loadedRanges) && announce(state_, TarnPlayerState::ready);
  if (!isCurrent) return false;
  const Turn turn(*this);
  startWaitingSeek();
  applyPlaying();
  return !turn.isOver();
}

bool PlayerBase::reportDuration(const std::optional<CMTime>& duration) {
  const auto& known = currentItemDuration_.get();
  if (!duration || (known && *known == *duration)) return true;
  return announce(currentItemDuration_, duration);
}

bool PlayerBase::reportSeekableRanges(TimeRanges ranges) {
  return areSame(ranges, seekableTimeRanges_.get()) || announce(seekableTimeRanges_, std::move(ranges));
}

bool PlayerBase::reportLoadedRanges(TimeRanges ranges) {
  return areSame(ranges, loadedTimeRanges_.get()) || announce(loadedTimeRanges_, std::move(ranges));
}

bool PlayerBase::reportBuffering(bool isBuffering) {
  const bool hasItem = state_.get() != TarnPlayerState::empty && state_.get() != TarnPlayerState::failed;
  return !hasItem || isBuffering == buffering_.get() || announce(buffering_, isBuffering);
}

bool PlayerBase::reportFailure(Error error) {
  if (calls_ > 0) {
    onNextTurn([this, error = std::move(error)] { reportFailure(error); });
    return true;
  }
  if (state_.get() == TarnPlayerState::empty || state_.get() == TarnPlayerState::failed) return true;
  dropSeeks();
  activeSeek_.reset();
  callPlayer([this] { doUnload(); });
  error_ = std::move(error);
  return announce(state_, TarnPlayerState::failed) && (!buffering_.get() || announce(buffering_, false)) &&
         (!playing_.get() || announce(playing_, false));
}

bool PlayerBase::reportFailure(TarnPlayerErrorCode code, Error cause) {
  return !url_ || reportFailure(withUnderlying(streamError(code, *url_), std::move(cause)));
}

bool PlayerBase::isOfParent() const {
  return watch_ && watch_->isItemOfParent();
}

void PlayerBase::failIfForked() {
  if (!isOfParent()) return;
  onNextTurn([this] { reportFailure(TarnPlayerErrorCode::other, forkedError(watch_->engine().library)); });
}

// Playing

void PlayerBase::play() {
  failIfForked();
  const bool hasEnded = state_.get() == TarnPlayerState::ended;
  if (state_.get() == TarnPlayerState::failed || (hasEnded && !isSeeking())) return;
  if (playing_.get()) {
    playsAgain_ = hasEnded;
    return;
  }
  if (announce(playing_, true)) applyPlaying();
}

void PlayerBase::pause() {
  failIfForked();
  if (!playing_.get()) return;
  playsAgain_ = false;
  if (announce(playing_, false)) applyPlaying();
}

void PlayerBase::applyPlaying() {
  if (state_.get() != TarnPlayerState::ready || !canUseEngine()) return;
  if (!playing_.get()) return callPlayer([this] { doPause(); });
  if (isSeeking()) return;  // the landing plays on
  if (isAtEnd_) return callPlayer([this] { doPlayAtEnd(); });
  expectProgress();
  callPlayer([this] { doPlay(); });
}

void PlayerBase::doPlayAtEnd() {
  onNextTurn([this] {
    if (playing_.get() && isAtEnd_) reportEnd();
  });
}

bool PlayerBase::reportEnd() {
  if (!isFollowing()) return true;
  const CMTime end = knownDuration().value_or(currentTime());
  callPlayer([this] { doPause(); });
  isAtEnd_ = true;
  const bool isReported = hasReported_ && progress_.get() == end;
  if (!isReported && !report(end)) return false;
  if (isSeeking()) return true;
  playsAgain_ = false;
  if (!announce(state_, TarnPlayerState::ended)) return false;
  if (playing_.get() && !announce(playing_, false)) return false;
  const Turn turn(*this);
  if (std::exchange(playsAgain_, false)) play();
  return !turn.isOver();
}

bool PlayerBase::reportRanOut(const std::optional<Error>& fault) {
  if (!isFollowing() || !url_) return true;
  auto error = ranOutError(*url_, currentTime(), knownDuration(), fault);
  if (!error) return reportEnd();
  return reportPosition() && reportFailure(std::move(*error));
}

// The playhead

std::optional<CMTime> PlayerBase::knownDuration() const {
  const auto& duration = currentItemDuration_.get();
  return duration && CMTIME_IS_NUMERIC(*duration) ? duration : std::nullopt;
}

CMTime PlayerBase::withinItem(CMTime time) const {
  const auto duration = knownDuration();
  return duration && time >= *duration ? *duration : std::max(time, kCMTimeZero);
}

CMTime PlayerBase::currentTime() const {
  if (!isFollowing() || isAtEnd_ || !canUseEngine()) return position_;
  const auto now = playhead();
  return now ? std::max(position_, withinItem(*now)) : position_;
}

bool PlayerBase::reportPosition() {
  if (!isFollowing() || isAtEnd_) return true;
  const CMTime now = currentTime();
  return (hasReported_ && now <= progress_.get()) || report(now);
}

bool PlayerBase::report(CMTime time) {
  position_ = time;
  hasReported_ = true;
  return announce(progress_, time);
}

void PlayerBase::doFollow() {
  reportPosition();
}

void PlayerBase::expectProgress() {
  if (watch_) watch_->expectProgress();
}

void PlayerBase::tick() {
  const bool isLoading = state_.get() == TarnPlayerState::loading;
  if (!isLoading && !isSeeking() && !(isFollowing() && playing_.get())) return watch_->stop();
  if (isFollowing() && currentTime() > position_) expectProgress();
  const auto limit = isLoading ? watch_->engine().loadLimit : watch_->engine().stallLimit;
  if (watch_->hasPassed(limit)) return (void)reportFailure(stalledError(*url_, limit));
  if (isFollowing()) doFollow();
}

// Seeking

void PlayerBase::seekToTime(CMTime time, CMTime toleranceBefore, CMTime toleranceAfter,
                            SeekCompletion completion) {
  failIfForked();
  const bool hasItem = state_.get() != TarnPlayerState::empty && state_.get() != TarnPlayerState::failed;
  if (!hasItem || !(CMTIME_IS_NUMERIC(time) || CMTIME_IS_POSITIVE_INFINITY(time))) {
    return refuse(std::move(completion));
  }
  position_ = currentTime();
  dropSeeks();
  waitingSeek_ = Seek{{time, toleranceBefore, toleranceAfter}, std::move(completion)};
  startWaitingSeek();
}

/// Completes it unfinished, on a later turn.
void PlayerBase::refuse(SeekCompletion completion) const {
  if (!completion) return;
  MainQueue::shared().async(liveness_.guard([completion = std::move(completion)] { completion(false); }));
}

/// Promises "unfinished" to the seeks in progress. The one in flight stays, without a completion, because the
/// next may begin only when it has landed.
void PlayerBase::dropSeeks() {
  if (waitingSeek_) refuse(std::move(waitingSeek_->completion));
  waitingSeek_.reset();
  if (activeSeek_) refuse(std::exchange(activeSeek_->completion, nullptr));
  if (seeks_ == Seeks::replaced) activeSeek_.reset();
}

void PlayerBase::startWaitingSeek() {
  const bool isReady = state_.get() == TarnPlayerState::ready || state_.get() == TarnPlayerState::ended;
  if (!waitingSeek_ || activeSeek_ || !isReady || !canUseEngine()) return;
  Seek seek = *std::exchange(waitingSeek_, std::nullopt);
  seek.aim.time = withinItem(seek.aim.time);
  if (!CMTIME_IS_NUMERIC(seek.aim.time)) return refuse(std::move(seek.completion));
  const auto duration = knownDuration();
  seek.aim.isToEnd = duration && seek.aim.time == *duration;
  ++seekNumber_;
  const PlayerSeek aim = seek.aim;
  activeSeek_ = std::move(seek);
  expectProgress();
  callPlayer([&] { doSeek(aim); });
}

bool PlayerBase::reportLanded(CMTime landing) {
  if (calls_ > 0) {
    onNextTurn([this, landing, number = seekNumber_] {
      if (number == seekNumber_) reportLanded(landing);
    });
    return true;
  }
  if (!activeSeek_) return true;
  if (!waitingSeek_) return land(landing);
  activeSeek_.reset();
  startWaitingSeek();
  return true;
}

bool PlayerBase::land(CMTime landing) {
  const Seek seek = *std::exchange(activeSeek_, std::nullopt);
  position_ = seek.aim.isToEnd ? seek.aim.time : withinItem(landing);
  const auto duration = knownDuration();
  isAtEnd_ = duration && position_ == *duration;
  const CMTime place = position_;
  if (state_.get() == TarnPlayerState::ended && !announce(state_, TarnPlayerState::ready)) return false;
  const Turn turn(*this);
  if (seek.completion) seek.completion(true);
  if (turn.isOver() || !report(place)) return false;
  applyPlaying();
  return !turn.isOver();
}

bool PlayerBase::reportSeekFailed() {
  if (!activeSeek_) return true;
  refuse(std::exchange(activeSeek_, std::nullopt)->completion);
  startWaitingSeek();
  if (!isSeeking()) applyPlaying();
  return true;
}

}  // namespace tarn
