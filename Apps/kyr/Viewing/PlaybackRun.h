#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "Host/TarnPlaybackController.h"
#include "Kyr/TarnKyrSession.h"
#include "Lumo/Fetch.h"
#include "Viewing/EventLoop.h"
#include "Viewing/ObservedPlayer.h"
#include "Viewing/ReportingBeaconSink.h"
#include "Viewing/SessionObserver.h"

namespace tarn::cli {

struct PlaybackOptions {
  URL document;
  TarnLumoHTTPHeaders headers;  ///< Besides the session's own; one of the same name takes its place.
  Fetch fetch;                  ///< Of the document; empty: over HTTP.
  Beacons beacons = Beacons::reported;
  bool autoPlay = false;
};

/// Plays one document's stream as an application does: it connects manager, provider, controller, session and
/// player, offers the viewer's actions, and reports all events to an observer. Main thread.
class PlaybackRun {
 public:
  /// Makes the session's player, which reports the calls made to it to `observer`.
  using MakePlayer = std::function<std::shared_ptr<TarnPlayer>(PlayerObserver observer)>;

  /// `observer` outlives this object.
  PlaybackRun(const PlaybackOptions& options, MakePlayer makePlayer, SessionObserver& observer);
  PlaybackRun(const PlaybackRun&) = delete;
  PlaybackRun& operator=(const PlaybackRun&) = delete;
  /// Terminates the session; the observer is not called again.
  ~PlaybackRun();

  /// `consumer` receives the session before it begins. Kept weakly; add it before `begin`.
  void addSessionConsumer(std::weak_ptr<TarnSessionConsumer> consumer) {
    controller_->addSessionConsumer(std::move(consumer));
  }
  /// Reports beacons to the observer, and sends them if the options say so.
  [[nodiscard]] const std::shared_ptr<BeaconSink>& beaconSink() const { return beaconSink_; }

  /// Waits, running the main queue, until the session has begun or `isOver` returns true. Returns whether
  /// there is a session; if not, `error` is the reason, unless `isOver` ended the wait.
  bool begin(
      const std::function<bool()>& isOver = [] { return false; },
      const RunUntil& runUntil = runMainQueueUntil);

  /// Null before it has begun, and when the document could not be loaded.
  [[nodiscard]] const std::shared_ptr<TarnKyrSession>& session() const { return session_; }
  /// The reason why the document or the stream could not be loaded or played.
  [[nodiscard]] const std::optional<Error>& error() const { return error_; }
  /// Whether the stream can be played, and whether its end has been reached.
  [[nodiscard]] bool isReady() const { return ready_; }
  [[nodiscard]] bool hasEnded() const { return ended_; }

  /// Waits until the beacons in flight have been sent, at most `limit`.
  bool flush(std::chrono::milliseconds limit) { return beaconSink_->flush(limit); }

  // The viewer's actions. Call them only when there is a session.

  void play() { session_->avPlayerPlay(); }
  void pause() { session_->avPlayerPause(); }
  void togglePlaying();
  void seek(CMTime contentTime);
  /// Relative to the current position, or to the target of a seek in progress.
  void seekBy(CMTime distance);
  /// Skips the current ad, even if its document does not allow that.
  void skip();
  /// Follows the link of the current ad: sends its click beacons and reports the page's URL.
  void learnMore();
  void pauseAd() { session_->pauseAd(); }
  void resumeAd() { session_->resumeAd(); }
  void setAdsDisabled(bool disabled) { controller_->sessionCommonProperties()->adsDisabled.set(disabled); }
  void resumeAt(CMTime contentTime, bool autoPlay) { session_->resumeVideoAtTime(contentTime, autoPlay); }
  void terminate() { session_->terminate(); }

 private:
  class Consumer;

  void didAdvance(const std::shared_ptr<TarnPlaybackSession>& session);
  void subscribeTo(const TarnPlaybackSession& session);
  void observeCanSeek();
  void handleEvent(const TarnPlaybackSession::LifecycleEvent& event);

  const URL document_;
  /// Reset when this object is destroyed: later events are not reported.
  std::shared_ptr<SessionObserver> observer_;
  std::shared_ptr<BeaconSink> beaconSink_;
  std::shared_ptr<Consumer> consumer_;
  std::shared_ptr<TarnPlaybackController> controller_;
  bool begun_ = false;
  bool ready_ = false;
  bool ended_ = false;
  std::shared_ptr<TarnKyrSession> session_;
  std::optional<Error> error_;
  std::shared_ptr<const TarnAd> ad_;  // the current one
  CMTime position_ = kCMTimeZero;     // content time
  std::optional<CMTime> seekTarget_;  // of the newest seek, while in progress
  int seeks_ = 0;
  Token canSeekObservation_;
  Tarn_RACDeallocDisposable subscriptions_;
};

}  // namespace tarn::cli
