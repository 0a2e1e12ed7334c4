#pragma once

#include <memory>

#include "Host/TarnPlaybackSession.h"
#include "Host/TerminationGate.h"
#include "Reactive/Tarn_RACSubject.h"

/// A session that failed to load: it begins, sends the error, and terminates. It keeps the video and source
/// for the error report.
class TarnErrorSession final : public TarnPlaybackSession {
 public:
  /// `playbackSession`, the one that failed, is not null and is kept until Terminate. `errorEvent`, not null,
  /// may be of any type; its properties carry the error.
  TarnErrorSession(std::shared_ptr<TarnPlaybackSession> playbackSession, LifecycleEvent errorEvent);

  [[nodiscard]] const LifecycleEvent& errorEvent() const { return errorEvent_; }

  [[nodiscard]] std::shared_ptr<const TarnVideo> video() const override { return playbackSession_->video(); }
  [[nodiscard]] std::shared_ptr<const TarnSource> source() const override {
    return playbackSession_->source();
  }
  [[nodiscard]] std::shared_ptr<TarnPlayer> player() const override { return nullptr; }
  void setSessionCommonProperties(const std::shared_ptr<TarnSessionCommonProperties>& properties) override {
    playbackSession_->setSessionCommonProperties(properties);
  }
  [[nodiscard]] std::shared_ptr<TarnSessionCommonProperties> sessionCommonProperties() const override {
    return playbackSession_->sessionCommonProperties();
  }

  void loadVideoURL(const tarn::URL&) override {}
  void begin() override;
  void terminate() override;
  void avPlayerPlay() override {}
  void avPlayerPause() override {}
  void resumeVideoAtTime(CMTime, bool) override {}

  [[nodiscard]] Tarn_RACSignal<CMTime> progress() const override { return playbackSession_->progress(); }
  [[nodiscard]] Tarn_RACSignal<CMTime> durationChanges() const override {
    return playbackSession_->durationChanges();
  }
  [[nodiscard]] Tarn_RACSignal<TimeRanges> seekableRangesChanges() const override {
    return playbackSession_->seekableRangesChanges();
  }
  [[nodiscard]] Tarn_RACSignal<TimeRanges> loadedTimeRangesChanges() const override {
    return playbackSession_->loadedTimeRangesChanges();
  }
  [[nodiscard]] Tarn_RACSignal<bool> isExternalPlaybackActive() const override {
    return playbackSession_->isExternalPlaybackActive();
  }
  [[nodiscard]] Tarn_RACSignal<CuePoints> cuePoints() const override { return playbackSession_->cuePoints(); }
  [[nodiscard]] Tarn_RACSignal<LifecycleEvent> lifecycle() const override {
    return gate_.through(lifecycle_);
  }

 private:
  enum class Phase { waiting, running, over };

  const std::shared_ptr<TarnPlaybackSession> playbackSession_;
  const LifecycleEvent errorEvent_;
  Phase phase_ = Phase::waiting;
  const tarn::TerminationGate gate_;
  Tarn_RACSubject<LifecycleEvent> lifecycle_;
};
