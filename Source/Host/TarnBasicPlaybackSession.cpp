#include "Host/TarnBasicPlaybackSession.h"

#include <string>
#include <utility>

namespace {

tarn::Error makeError(TarnPlaybackSessionErrorCode code, std::string description, std::string suggestion) {
  tarn::Error error = tarn::Error::make(TarnPlaybackSessionErrorDomain, code, std::move(description));
  error.recoverySuggestion = std::move(suggestion);
  return error;
}

tarn::Error noPlayerError() {
  return makeError(TarnPlaybackSessionErrorCode::noPlayer, "There is no player to play the video with",
                   "Give the manager a player factory that makes one");
}

tarn::Error noSourceError(const std::shared_ptr<const TarnVideo>& video) {
  const std::string title = video && video->title() ? " \"" + *video->title() + "\"" : "";
  return makeError(TarnPlaybackSessionErrorCode::noSource,
                   "The video" + title + " has no source that can be played",
                   "Give one of its sources a URL and a delivery method that the application plays");
}

/// The error for a player that fails without an error, against its contract.
tarn::Error unexplainedError() {
  return tarn::Error::make(TarnPlayerErrorDomain, TarnPlayerErrorCode::other,
                           "The player failed without a reason");
}

}  // namespace

TarnBasicPlaybackSession::TarnBasicPlaybackSession(std::shared_ptr<const TarnVideo> video,
                                                   std::shared_ptr<const TarnSource> source,
                                                   std::shared_ptr<TarnPlayer> player)
    : video_(std::move(video)), source_(std::move(source)), player_(std::move(player)) {}

TarnBasicPlaybackSession::~TarnBasicPlaybackSession() {
  observations_.clear();
  if (player_) player_->pause();
}

void TarnBasicPlaybackSession::loadVideoURL(const tarn::URL& url) {
  if (!player_) return;
  loaded_ = true;
  player_->loadURL(url);
}

void TarnBasicPlaybackSession::begin() {
  if (phase_ != Phase::waiting) return;
  const auto keepAlive = shared_from_this();
  phase_ = Phase::running;
  send(kTarnPlaybackSessionLifecycleEventBegin);
  if (!player_) return fail(noPlayerError());
  if (!loaded_ && !canLoad()) return fail(noSourceError(video_));
  if (video_ && phase_ == Phase::running) cuePoints_.sendNext(video_->cuePoints());
  followPlayer();
}

/// Whether a stream may still be loaded: then there is no error yet.
bool TarnBasicPlaybackSession::canLoad() const {
  return source_ && source_->url();
}

void TarnBasicPlaybackSession::terminate() {
  if (phase_ == Phase::over) return;
  const auto keepAlive = shared_from_this();
  phase_ = Phase::over;
  observations_.clear();
  if (player_) player_->pause();
  gate_.close();
  send(kTarnPlaybackSessionLifecycleEventTerminate);
  player_.reset();
}

void TarnBasicPlaybackSession::avPlayerPlay() {
  if (player_) player_->play();
}

void TarnBasicPlaybackSession::avPlayerPause() {
  if (player_) player_->pause();
}

void TarnBasicPlaybackSession::resumeVideoAtTime(CMTime time, bool autoPlay) {
  if (!player_) return;
  player_->seekToTime(time, kCMTimeZero, kCMTimeZero, [weak = weak_from_this(), autoPlay](bool finished) {
    const auto self = weak.lock();
    if (self && finished && autoPlay) self->avPlayerPlay();
  });
}

void TarnBasicPlaybackSession::followPlayer() {
  const auto player = player_;  // a report may terminate the session
  if (!player) return;
  follow(player->state(), &TarnBasicPlaybackSession::reportState);
  follow(player->currentItemDuration(), &TarnBasicPlaybackSession::reportDuration);
  follow(player->seekableTimeRanges(), &TarnBasicPlaybackSession::reportSeekableRanges);
  follow(player->loadedTimeRanges(), &TarnBasicPlaybackSession::reportLoadedRanges);
  follow(player->playing(), &TarnBasicPlaybackSession::reportPlaying);
  follow(player->buffering(), &TarnBasicPlaybackSession::reportBuffering);
  follow(player->progress(), &TarnBasicPlaybackSession::reportProgress);
}

/// Reports the current value of `property`, then each change. The value is copied and the session is held,
/// because the receiver of the report may release session and player.
template <typename T>
void TarnBasicPlaybackSession::follow(tarn::Observable<T>& property,
                                      void (TarnBasicPlaybackSession::*report)(T)) {
  if (phase_ != Phase::running) return;
  auto observation = property.observe(
      [weak = weak_from_this(), report](const T& value) {
        if (const auto self = std::static_pointer_cast<TarnBasicPlaybackSession>(weak.lock()))
          (self.get()->*report)(value);
      },
      tarn::Observe::initialAndNew);
  if (phase_ == Phase::running) observations_.push_back(std::move(observation));
}

void TarnBasicPlaybackSession::reportState(TarnPlayerState state) {
  switch (state) {
    case TarnPlayerState::empty:
    case TarnPlayerState::loading:
      ready_ = false;
      return;
    case TarnPlayerState::ready:
      return becomeReady();
    case TarnPlayerState::ended:
      becomeReady();
      return reachEnd();
    case TarnPlayerState::failed:
      return fail(player_->error().value_or(unexplainedError()));
  }
}

void TarnBasicPlaybackSession::becomeReady() {
  if (!std::exchange(ready_, true)) send(kTarnPlaybackSessionLifecycleEventReady);
}

void TarnBasicPlaybackSession::reachEnd() {
  if (phase_ != Phase::running) return;
  playing_ = false;
  send(kTarnPlaybackSessionLifecycleEventEnd);
}

void TarnBasicPlaybackSession::reportPlaying(bool playing) {
  if (std::exchange(playing_, playing) == playing) return;
  send(playing ? kTarnPlaybackSessionLifecycleEventPlay : kTarnPlaybackSessionLifecycleEventPause);
}

void TarnBasicPlaybackSession::reportBuffering(bool buffering) {
  if (std::exchange(buffering_, buffering) == buffering) return;
  send(buffering ? kTarnPlaybackSessionLifecycleEventBufferingEnter
                 : kTarnPlaybackSessionLifecycleEventBufferingExit);
}

void TarnBasicPlaybackSession::reportProgress(CMTime time) {
  if (CMTIME_IS_VALID(time)) progress_.sendNext(time);
}

void TarnBasicPlaybackSession::reportDuration(std::optional<CMTime> duration) {
  const CMTime known = duration.value_or(kCMTimeIndefinite);
  if (tarn::isIdentical(std::exchange(duration_, known), known)) return;
  durationChanges_.sendNext(known);
}

void TarnBasicPlaybackSession::reportSeekableRanges(TimeRanges ranges) {
  if (!ranges && !hasSeekableRanges_) return;
  hasSeekableRanges_ = ranges.has_value();
  seekableRangesChanges_.sendNext(std::move(ranges));
}

void TarnBasicPlaybackSession::reportLoadedRanges(TimeRanges ranges) {
  if (!ranges && !hasLoadedRanges_) return;
  hasLoadedRanges_ = ranges.has_value();
  loadedTimeRangesChanges_.sendNext(std::move(ranges));
}

void TarnBasicPlaybackSession::send(const char* eventType) {
  lifecycle_.sendNext(std::make_shared<const TarnPlaybackSessionLifecycleEvent>(eventType));
}

void TarnBasicPlaybackSession::fail(tarn::Error error) {
  if (phase_ != Phase::running) return;
  observations_.clear();
  tarn::Dictionary properties;
  properties.set(kTarnPlaybackSessionLifecycleEventPropertiesKeyError, std::move(error));
  lifecycle_.sendNext(std::make_shared<const TarnPlaybackSessionLifecycleEvent>(
      kTarnPlaybackSessionLifecycleEventError, std::move(properties)));
  terminate();
}
