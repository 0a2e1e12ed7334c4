#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "Host/TarnPlaybackSession.h"
#include "Host/TerminationGate.h"
#include "Kyr/TarnKyrConstants.h"
#include "Kyr/TarnKyrSeekPolicy.h"
#include "Lumo/TarnLumoAnalyticsSession.h"
#include "Lumo/TarnLumoCommon.h"
#include "Lumo/TarnLumoDocument.h"
#include "Lumo/TarnLumoProgressTracker.h"
#include "Lumo/TarnLumoTimeline.h"
#include "Platform/Observable.h"
#include "Platform/Operation.h"
#include "Reactive/Tarn_RACCommand.h"
#include "Reactive/Tarn_RACDisposable.h"
#include "Reactive/Tarn_RACInvocations.h"
#include "Reactive/Tarn_RACSubject.h"

class TarnLumoTimelineOperation;

namespace tarn {
class HostAds;
class LifecycleTranslator;
class SeekDriver;
}  // namespace tarn

enum TarnKyrSessionLoadState : std::int64_t {
  TarnKyrLoadStateInitial = 0,
  TarnKyrLoadStateLoading = 1,
  TarnKyrLoadStateComplete = 2,
  TarnKyrLoadStateError = 3,
};

/// A session over a stream with ads stitched in, for an application that works in content time only.
///
/// It wraps the session that plays the stream (the inner one). Progress, duration and ranges leave the ads
/// out, seeks are made in content time and obey the ad policy, ads arrive as lifecycle events, and the
/// beacons of the played ads are sent. Everything else is left to the inner session.
///
/// Main thread. Made as a `std::shared_ptr` and owned by the application. Destroying it, also inside one of
/// its own callbacks, ends all of its work: subscriptions, seeks, and the request for the document. Its
/// signals are the inner session's plus the ads': only the inner lifecycle flows until the load has
/// completed, and none of them ends by itself.
class TarnKyrSession final : public TarnPlaybackSession,
                             public TarnSessionSeeking,
                             public TarnSessionTimeMapping {
 public:
  /// Without an inner session the operations that would go to it write a log line. `httpHeaders` are sent
  /// with the request for the document. `beaconSink` receives the beacons, until the session terminates;
  /// null: `tarn::HTTPBeaconSink::shared()`. `fetch` fetches the document; empty: over HTTP.
  TarnKyrSession(std::shared_ptr<TarnPlaybackSession> innerPlaybackSession, TarnLumoHTTPHeaders httpHeaders,
                 std::shared_ptr<tarn::BeaconSink> beaconSink = nullptr, tarn::Fetch fetch = nullptr);
  ~TarnKyrSession() override;

  [[nodiscard]] const std::shared_ptr<TarnPlaybackSession>& innerPlaybackSession() const { return inner_; }

  // Loading.

  /// Fetches the VMAP document at the source's URL, and has the inner session load the stream that it names.
  /// Only the first call counts.
  void load();
  /// Goes from initial over loading to complete or error, and never back.
  [[nodiscard]] tarn::Observable<TarnKyrSessionLoadState>& loadState() { return loadState_; }
  /// Why the load failed; absent otherwise, and also when the source has no URL.
  [[nodiscard]] const std::optional<tarn::Error>& loadError() const { return loadError_; }
  /// Null until the load has completed, like `tracker` and `analyticsSession`.
  [[nodiscard]] const std::shared_ptr<const TarnLumoTimeline>& timeline() const { return timeline_; }
  [[nodiscard]] const std::shared_ptr<TarnLumoProgressTracker>& tracker() const { return tracker_.get(); }
  [[nodiscard]] const std::unique_ptr<TarnLumoAnalyticsSession>& analyticsSession() const {
    return analyticsSession_;
  }
  /// False, whatever the timeline holds: ask `timeline` for its breaks.
  [[nodiscard]] bool containsPostRolls() const { return containsPostRolls_; }

  // The session.

  /// The inner session's video with an ad slot at the content time of each break, ahead of its own cue
  /// points; a post-roll's slot is at positive infinity. Null until the load has completed.
  [[nodiscard]] std::shared_ptr<const TarnVideo> video() const override { return updatedVideoWithCuePoints_; }
  [[nodiscard]] std::shared_ptr<const TarnSource> source() const override;
  [[nodiscard]] std::shared_ptr<TarnPlayer> player() const override;
  void setSessionCommonProperties(const std::shared_ptr<TarnSessionCommonProperties>& properties) override;
  [[nodiscard]] std::shared_ptr<TarnSessionCommonProperties> sessionCommonProperties() const override {
    return commonProperties_.lock();
  }
  /// A pending seek over a break completes unfinished, here and in `resumeVideoAtTime`.
  void loadVideoURL(const tarn::URL& url) override;
  void begin() override;
  void terminate() override;
  void avPlayerPlay() override;
  void avPlayerPause() override;
  /// `time` is content time.
  void resumeVideoAtTime(CMTime time, bool autoPlay) override;

  /// Content time, while `canSeek` is true: silent while ads play or a forced ad is awaited.
  [[nodiscard]] Tarn_RACSignal<CMTime> progress() const override {
    return gate_.through(kyrProgressSubject_);
  }
  /// The stream's duration minus that of the ads.
  [[nodiscard]] Tarn_RACSignal<CMTime> durationChanges() const override {
    return gate_.through(kyrDurationChangesSubject_);
  }
  /// Content time, each range from zero. Sent while ads play, too.
  [[nodiscard]] Tarn_RACSignal<TimeRanges> seekableRangesChanges() const override {
    return gate_.through(kyrSeekableTimeRangesSubject_);
  }
  [[nodiscard]] Tarn_RACSignal<TimeRanges> loadedTimeRangesChanges() const override {
    return gate_.through(kyrloadedTimeRangesSubject_);
  }
  /// Never sends.
  [[nodiscard]] Tarn_RACSignal<bool> isExternalPlaybackActive() const override {
    return kyrIsExternalPlaybackActiveSubject_;
  }
  /// Never sends: the cue points are in `video`.
  [[nodiscard]] Tarn_RACSignal<CuePoints> cuePoints() const override { return kyrCuePointsSubject_; }
  /// The inner session's events, Play and Pause during an ad as AdResume and AdPause, and those of the ads.
  /// WillPauseForAd and Pause come before a break, Play after it.
  [[nodiscard]] Tarn_RACSignal<LifecycleEvent> lifecycle() const override {
    return gate_.through(kyrLifecycleSubject_);
  }

  [[nodiscard]] TarnSessionSeeking* seeking() override { return this; }
  [[nodiscard]] TarnSessionTimeMapping* timeMapping() override { return this; }

  // Ads.

  /// Pause and resume the player inside a break; without effect after a break has ended.
  void pauseAd() { pauseAdInvocations_(); }
  void resumeAd() { resumeAdInvocations_(); }

  // Seeking.

  [[nodiscard]] bool canSeek() const override;
  [[nodiscard]] tarn::Observable<bool>& canSeekProperty();
  /// Refused while `canSeek` is false, after Terminate, and for a time that is invalid, negative or not in
  /// the stream. A seek forward over breaks plays the last of them before the target is reached, and
  /// completes only then; unfinished when the playhead is sent elsewhere, the player fails or the item ends
  /// before. A seek in progress at Terminate never completes.
  void seekToTime(CMTime time, Completion completion) override;
  /// Absolute times; `from` makes no difference.
  [[nodiscard]] TarnKyrSeekTolerance seekTolerancesSeekingFromAbsoluteTime(CMTime from, CMTime to) const;
  [[nodiscard]] CMTime defaultSeekTolerance() const { return defaultSeekTolerance_; }
  [[nodiscard]] CMTime defaultMinimumSeekToleranceBuffer() const {
    return defaultMinimumSeekToleranceBuffer_;
  }

  /// Both are the all-zero, invalid time until the load has completed.
  [[nodiscard]] CMTime absoluteTimeAtContentTime(CMTime contentTime) const override;
  [[nodiscard]] CMTime contentTimeAtAbsoluteTime(CMTime absoluteTime) const override;

 private:
  using TrackerEvent = std::shared_ptr<const TarnLumoProgressTrackerEvent>;

  [[nodiscard]] std::weak_ptr<TarnKyrSession> weakSelf();
  /// Logs a call that has no inner session to go to.
  void logForwarding(const char* invocation) const;

  void concludeLoad(const TarnLumoTimelineOperation& operation);
  void subscribeKyrSubjectsToInnerPlaybackSession();
  void subscribeToProgressTracker();
  void subscribeToInnerPlaybackSessionDuration();
  void configureSeekingCommand();
  void configurePauseResumeCommand();
  [[nodiscard]] Tarn_RACSignal<TrackerEvent> trackerEvents();
  void forward(const LifecycleEvent& event);
  void updateVideo();
  void stopAtTermination();

  void followInnerSession();
  void followPlayhead(CMTime time);
  void followDuration(CMTime duration);
  [[nodiscard]] bool isAtItemsDuration(CMTime time) const;
  void leaveAdAtItemEnd();

  const std::shared_ptr<TarnPlaybackSession> inner_;
  const TarnLumoHTTPHeaders httpHeaders_;
  const tarn::Fetch fetch_;
  const tarn::TerminationGate gate_;
  const CMTime defaultSeekTolerance_ = CMTimeMakeWithSeconds(2.0, tarn::kDocumentTimescale);
  const CMTime defaultMinimumSeekToleranceBuffer_ = CMTimeMakeWithSeconds(3.0, tarn::kDocumentTimescale);
  std::weak_ptr<TarnSessionCommonProperties> commonProperties_;
  std::shared_ptr<const TarnVideo> updatedVideoWithCuePoints_;

  tarn::OperationQueue loadQueue_{"TarnKyrSession.load"};
  std::weak_ptr<TarnLumoTimelineOperation> loadOperation_;
  tarn::Observable<TarnKyrSessionLoadState> loadState_{TarnKyrLoadStateInitial};
  std::optional<tarn::Error> loadError_;
  std::shared_ptr<const TarnLumoTimeline> timeline_;
  const bool containsPostRolls_ = false;
  std::optional<CMTime> possibleEnd_;  // a position inside an ad that may be the item's end

  const std::shared_ptr<tarn::SeekDriver> seekDriver_;
  const std::unique_ptr<tarn::HostAds> hostAds_;
  const std::unique_ptr<const tarn::LifecycleTranslator> lifecycleTranslator_;
  Tarn_RACInvocations<> pauseAdInvocations_;
  Tarn_RACInvocations<> resumeAdInvocations_;

  tarn::Observable<std::shared_ptr<TarnLumoProgressTracker>> tracker_;
  const std::shared_ptr<TarnLumoAnalyticsDigester> sharedDigester_;
  std::unique_ptr<TarnLumoAnalyticsSession> analyticsSession_;

  Tarn_RACSubject<CuePoints> kyrCuePointsSubject_;
  Tarn_RACSubject<CMTime> kyrDurationChangesSubject_;
  Tarn_RACSubject<bool> kyrIsExternalPlaybackActiveSubject_;
  Tarn_RACSubject<LifecycleEvent> kyrLifecycleSubject_;
  Tarn_RACSubject<CMTime> kyrProgressSubject_;
  Tarn_RACSubject<TimeRanges> kyrSeekableTimeRangesSubject_;
  Tarn_RACSubject<TimeRanges> kyrloadedTimeRangesSubject_;
  /// Sends once and completes when the inner session terminates.
  const Tarn_RACSignal<Tarn_RACUnit> terminationSignal_;

  Tarn_RACDeallocDisposable subscriptions_;
  Tarn_RACDeallocDisposable untilTermination_;
};
