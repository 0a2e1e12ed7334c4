#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Host/TarnPlaybackSession.h"
#include "Host/TerminationGate.h"
#include "Platform/Observable.h"
#include "Reactive/Tarn_RACSubject.h"

/// Domain of a session's own errors; codes are `TarnPlaybackSessionErrorCode`. A player's errors keep their
/// own domain.
inline constexpr const char* TarnPlaybackSessionErrorDomain = "tarn.playbackSession";

enum class TarnPlaybackSessionErrorCode : std::int64_t {
  noPlayer = 1,  ///< The application provides no player.
  noSource = 2,  ///< Nothing was loaded, and the video has no usable source.
};

/// The ordinary session: one video on one player, on the stream's own axis.
class TarnBasicPlaybackSession final : public TarnPlaybackSession {
 public:
  /// The session is the player's only user. Each may be null: the session then fails at `begin`.
  TarnBasicPlaybackSession(std::shared_ptr<const TarnVideo> video, std::shared_ptr<const TarnSource> source,
                           std::shared_ptr<TarnPlayer> player);
  ~TarnBasicPlaybackSession() override;

  [[nodiscard]] std::shared_ptr<const TarnVideo> video() const override { return video_; }
  [[nodiscard]] std::shared_ptr<const TarnSource> source() const override { return source_; }
  [[nodiscard]] std::shared_ptr<TarnPlayer> player() const override { return player_; }
  void setSessionCommonProperties(const std::shared_ptr<TarnSessionCommonProperties>& properties) override {
    commonProperties_ = properties;
  }
  [[nodiscard]] std::shared_ptr<TarnSessionCommonProperties> sessionCommonProperties() const override {
    return commonProperties_.lock();
  }

  void loadVideoURL(const tarn::URL& url) override;
  void begin() override;
  void terminate() override;
  void avPlayerPlay() override;
  void avPlayerPause() override;
  void resumeVideoAtTime(CMTime time, bool autoPlay) override;

  [[nodiscard]] Tarn_RACSignal<CMTime> progress() const override { return gate_.through(progress_); }
  [[nodiscard]] Tarn_RACSignal<CMTime> durationChanges() const override {
    return gate_.through(durationChanges_);
  }
  [[nodiscard]] Tarn_RACSignal<TimeRanges> seekableRangesChanges() const override {
    return gate_.through(seekableRangesChanges_);
  }
  [[nodiscard]] Tarn_RACSignal<TimeRanges> loadedTimeRangesChanges() const override {
    return gate_.through(loadedTimeRangesChanges_);
  }
  [[nodiscard]] Tarn_RACSignal<bool> isExternalPlaybackActive() const override {
    return gate_.through(isExternalPlaybackActive_);
  }
  [[nodiscard]] Tarn_RACSignal<CuePoints> cuePoints() const override { return gate_.through(cuePoints_); }
  [[nodiscard]] Tarn_RACSignal<LifecycleEvent> lifecycle() const override {
    return gate_.through(lifecycle_);
  }

 private:
  enum class Phase { waiting, running, over };

  template <typename T>
  void follow(tarn::Observable<T>& property, void (TarnBasicPlaybackSession::*report)(T));
  void followPlayer();
  void reportState(TarnPlayerState state);
  void reportPlaying(bool playing);
  void reportBuffering(bool buffering);
  void reportProgress(CMTime time);
  void reportDuration(std::optional<CMTime> duration);
  void reportSeekableRanges(TimeRanges ranges);
  void reportLoadedRanges(TimeRanges ranges);
  void becomeReady();
  void reachEnd();
  void send(const char* eventType);
  void fail(tarn::Error error);
  [[nodiscard]] bool canLoad() const;

  const std::shared_ptr<const TarnVideo> video_;
  const std::shared_ptr<const TarnSource> source_;
  std::shared_ptr<TarnPlayer> player_;
  std::weak_ptr<TarnSessionCommonProperties> commonProperties_;

  Phase phase_ = Phase::waiting;
  bool loaded_ = false;  // a stream was loaded into the player
  bool ready_ = false;
  bool playing_ = false;  // as last sent, like the members below
  bool buffering_ = false;
  CMTime duration_ = kCMTimeIndefinite;
  bool hasSeekableRanges_ = false;
  bool hasLoadedRanges_ = false;
  std::vector<tarn::Token> observations_;

  const tarn::TerminationGate gate_;
  Tarn_RACSubject<CMTime> progress_;
  Tarn_RACSubject<CMTime> durationChanges_;
  Tarn_RACSubject<TimeRanges> seekableRangesChanges_;
  Tarn_RACSubject<TimeRanges> loadedTimeRangesChanges_;
  Tarn_RACSubject<bool> isExternalPlaybackActive_;
  Tarn_RACSubject<CuePoints> cuePoints_;
  Tarn_RACSubject<LifecycleEvent> lifecycle_;
};
