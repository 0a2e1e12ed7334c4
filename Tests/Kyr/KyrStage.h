#pragma once

#include <mutex>

#include "Kyr/TarnKyrSession.h"
#include "Kyr/TarnKyrSessionProvider.h"
#include "Platform/Log.h"
#include "Support/FakePlayer.h"
#include "Support/LoopbackServer.h"
#include "Support/SessionRecorder.h"
#include "Support/TimelineBuilder.h"
#include "Support/VMAPText.h"

namespace tarn::test {

using Lines = std::vector<std::string>;

/// A time of so many seconds and ticks of 1/600 s.
[[nodiscard]] CMTime at(double seconds, int ticks = 0);

/// Runs the main queue until it is empty.
void drainAll();
/// Runs it until `done`; false when that takes too long.
[[nodiscard]] bool await(const std::function<bool()>& done);

/// Serves the document from now on; returns its URL.
[[nodiscard]] URL serve(std::string document);

/// A video whose one source is an ad-insertion source with that document.
[[nodiscard]] std::shared_ptr<const TarnVideo> ssaiVideo(const URL& document,
                                                         TarnCuePointCollection::CuePoints cuePoints = {});

/// The log lines written during its life, of any thread.
class LogLines {
 public:
  [[nodiscard]] Lines take();

 private:
  std::mutex mutex_;
  Lines lines_;
  Token sink_ = installLogSink([this](std::string_view line) {
    const std::lock_guard lock(mutex_);
    lines_.emplace_back(line);
  });
};

/// A session of the plug-in's provider over a player in virtual time, playing a drawn stream (see
/// `drawVMAP`). The stage is the session's only owner.
class KyrStage {
 public:
  /// Returns when the session plays and has sent its first events. The stream is longer than its document
  /// says, or shorter, by `difference` seconds.
  explicit KyrStage(std::string_view drawing, const VMAPDrawing& options = {}, double difference = 0);
  ~KyrStage();

  [[nodiscard]] FakePlayer& player() const { return *player_.lock(); }
  /// Runs a script (see `runScript`) with expectations on the calls, lines, events and beacons below. The
  /// commands are those of `kyr simulate`, where `run` and `seek` run the main queue, and these:
  ///
  ///     seek 30-1tick      a tick before that content time
  ///     request 50         a seek, without running the main queue, like `skip`
  ///     advance 12         the player plays, without running the main queue
  ///     place 5            moves the playhead to that absolute time
  ///     turn               runs the main queue
  ///     runOut             plays until the end of the item, through all seeks
  ///     forget             discards the calls, lines and beacons so far
  ///     expect suspended   the tracker is suspended, or not: `expect following`
  ///
  /// and the names of operations of the player.
  void tell(const std::string& script);
  /// Plays, then runs the main queue, on which seeks land.
  void play(double seconds);
  void playOut();
  /// Presses the skip button of the ad that was entered last.
  void skip() const;
  void requestSeek(CMTime contentTime) const;
  /// Runs `action` once, at the next lifecycle event of that type ("AdEnter"), when that beacon is sent
  /// ("a-impression"), or at the next "progress".
  void when(const std::string& type, std::function<void()> action);

  // Records since the last call, or since the command "forget".

  /// The calls of the player (see `FakePlayer::calls`), with "canSeek" and "cannotSeek" when that changes,
  /// and "finished" and "unfinished" when a seek completes.
  [[nodiscard]] Lines calls() const { return std::exchange(*calls_, {}); }
  /// Everything the session sends.
  [[nodiscard]] Lines lines() { return recorder_->take(); }
  /// The lifecycle alone, without AdProgress.
  [[nodiscard]] Lines events();
  [[nodiscard]] Lines beacons() const { return sink_->take(); }

  [[nodiscard]] TarnPlaybackSession::LifecycleEvent lastEvent(std::string_view type) const;
  [[nodiscard]] std::shared_ptr<const TarnAd> lastAd() const { return lastEvent("AdEnter")->ad(); }
  [[nodiscard]] bool isSuspended() const { return session->tracker()->shouldSuspendProgress(); }
  [[nodiscard]] std::weak_ptr<void> sink() const { return sink_; }

  std::shared_ptr<TarnSessionCommonProperties> common = std::make_shared<TarnSessionCommonProperties>();
  std::shared_ptr<TarnKyrSession> session;

 private:
  std::shared_ptr<RecordingSink> sink_ = std::make_shared<RecordingSink>();
  std::weak_ptr<FakePlayer> player_;
  std::shared_ptr<Lines> calls_;
  std::unique_ptr<SessionRecorder> recorder_;
  Token canSeekObservation_;
};

}  // namespace tarn::test
