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
#include "Viewing/SessionView.h"
#include "Viewing/ShowingBeaconSink.h"
#include "Viewing/WatchedPlayer.h"

namespace tarn::cli {

struct ViewingOptions {
  URL document;
  TarnLumoHTTPHeaders headers;  ///< Besides the session's own; one of the same name takes its place.
  Fetch fetch;                  ///< Of the document; empty: over HTTP.
  Beacons beacons = Beacons::shown;
  bool autoPlay = false;
};

/// One document's stream as an application shows it: the chain from the manager over provider, controller and
/// session down to a player, what the viewer does, and a view that is told of all that happens. Main thread.
class Viewing {
 public:
  /// Makes the session's player, which tells the watcher what it is told.
  using MakePlayer = std::function<std::shared_ptr<TarnPlayer>(PlayerWatcher watcher)>;

  /// `view` outlives the viewing.
  Viewing(const ViewingOptions& options, MakePlayer makePlayer, SessionView& view);
  Viewing(const Viewing&) = delete;
  Viewing& operator=(const Viewing&) = delete;
  /// Ends without telling the view.
  ~Viewing();

  /// Is told of the session before it begins. Kept weakly; to be added before `begin`.
  void addSessionConsumer(std::weak_ptr<TarnSessionConsumer> consumer) {
    controller_->addSessionConsumer(std::move(consumer));
  }
  /// Shows beacons to the view, and sends them if the viewing does.
  [[nodiscard]] const std::shared_ptr<BeaconSink>& beaconSink() const { return beaconSink_; }

  /// Waits, running the main queue, until the session has begun or `isOver` answers true. Answers whether
  /// there is a session; without one `error` tells why, unless it was over.
  bool begin(
      const std::function<bool()>& isOver = [] { return false; },
      const RunUntil& runUntil = runMainQueueUntil);

  /// Null before it has begun, and when the document could not be loaded.
  [[nodiscard]] const std::shared_ptr<TarnKyrSession>& session() const { return session_; }
  /// Why the document could not be loaded or the stream not be played.
  [[nodiscard]] const std::optional<Error>& error() const { return error_; }
  /// Whether the stream can be played, and whether its end has been reached.
  [[nodiscard]] bool isReady() const { return ready_; }
  [[nodiscard]] bool hasEnded() const { return ended_; }

  /// Waits until the beacons in flight are through, at most `limit`.
  bool flush(std::chrono::milliseconds limit) { return beaconSink_->flush(limit); }

  // What the viewer does. To be called when there is a session.

  void play() { session_->avPlayerPlay(); }
  void pause() { session_->avPlayerPause(); }
  void togglePlaying();
  void seek(CMTime contentTime);
  /// From where the viewer is, or from where an earlier seek still leads.
  void seekBy(CMTime distance);
  /// Skips the ad that plays, whether or not its document lets it be skipped.
  void skip();
  /// Follows the link of the ad that plays: tells its advertiser and shows where it leads.
  void learnMore();
  void pauseAd() { session_->pauseAd(); }
  void resumeAd() { session_->resumeAd(); }
  void setAdsDisabled(bool disabled) { controller_->sessionCommonProperties()->adsDisabled.set(disabled); }
  void resumeAt(CMTime contentTime, bool autoPlay) { session_->resumeVideoAtTime(contentTime, autoPlay); }
  void terminate() { session_->terminate(); }

 private:
  class Consumer;

  void meet(const std::shared_ptr<TarnPlaybackSession>& session);
  void follow(const TarnPlaybackSession& session);
  void followCanSeek();
  void notice(const TarnPlaybackSession::LifecycleEvent& event);

  const URL document_;
  /// Gone when the viewing is: what then still happens is nobody's business.
  std::shared_ptr<SessionView> view_;
  std::shared_ptr<BeaconSink> beaconSink_;
  std::shared_ptr<Consumer> consumer_;
  std::shared_ptr<TarnPlaybackController> controller_;
  bool begun_ = false;
  bool ready_ = false;
  bool ended_ = false;
  std::shared_ptr<TarnKyrSession> session_;
  std::optional<Error> error_;
  std::shared_ptr<const TarnAd> ad_;  // that plays
  CMTime position_ = kCMTimeZero;     // content time
  std::optional<CMTime> sought_;      // where the newest seek leads, while it is under way
  int seeks_ = 0;
  Token canSeekObservation_;
  Tarn_RACDeallocDisposable subscriptions_;
};

}  // namespace tarn::cli
