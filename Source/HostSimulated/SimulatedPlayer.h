#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Host/PlayerBase.h"
#include "HostSimulated/VirtualClock.h"

namespace tarn {

struct SimulatedPlayerOptions {
  /// Between two reports of the playhead; positive. Counted from when the playhead begins to move.
  CMTime reportInterval = CMTimeMake(1, 4);
  /// How long a seek takes. Zero: it lands on the next turn of the main queue, without the clock.
  CMTime seekLatency = kCMTimeZero;
  /// Makes each item ready by itself on a later turn; a duration as of `becomeReady`. Absent: `becomeReady`
  /// does.
  std::optional<CMTime> itemDuration = std::nullopt;
  /// All of an item is loaded when it becomes ready. Otherwise `setLoadedTo` says what is.
  bool loadsAtOnce = true;
  /// Plays addresses that are neither http nor https, too, which fail otherwise.
  bool playsAnyAddress = false;
};

/// A player in virtual time without media and network. A seek lands exactly on its target. The stream and its
/// server do what the operations below say. Main thread.
///
///     tarn::VirtualClock clock;
///     auto player = std::make_shared<tarn::SimulatedPlayer>(clock);
///     player->loadURL(url);
///     player->becomeReady(CMTimeMake(600, 1));
///     player->play();
///     clock.advance(CMTimeMake(5, 1));  // twenty reports of the playhead
class SimulatedPlayer : public PlayerBase {
 public:
  /// `clock` outlives the player.
  explicit SimulatedPlayer(VirtualClock& clock, SimulatedPlayerOptions options = {});
  ~SimulatedPlayer() override;

  void loadURL(const URL& url) override;
  void play() override;
  void pause() override;
  void seekToTime(CMTime time, CMTime toleranceBefore, CMTime toleranceAfter,
                  SeekCompletion completion) override;

  /// The calls that the player has received, in order: "load <url>", "play", "pause", "seek <s> -<s> +<s>"
  /// with its tolerances, "hideLayer", "showLayer". Shared, so that they can be read when the player is gone.
  [[nodiscard]] const std::shared_ptr<std::vector<std::string>>& calls() const { return calls_; }

  // The stream and its server. A listener may destroy the player inside each of these operations.

  /// The item can be played from its start, and all of it is seekable and loaded. A `duration` that is
  /// negative or not numeric means that it is unknown: the item plays without end. Called again, it changes
  /// the duration and announces the seekable range again.
  void becomeReady(CMTime duration);
  /// While the stream is starved, the player is buffering and the playhead does not move. Ends with the item.
  void setStarved(bool starved);
  /// While the stream is not seekable, seeks complete unfinished and the playhead stays where it is.
  void setSeekable(bool seekable) { isSeekable_ = seekable; }
  /// The item is loaded from its start to `time`.
  void setLoadedTo(CMTime time);
  /// The item has failed for good.
  void fail(Error error);

 protected:
  void doLoad(const URL& url) override;
  void doUnload() override;
  void doPlay() override;
  void doPlayAtEnd() override;
  void doPause() override;
  void doSeek(const PlayerSeek& seek) override;
  [[nodiscard]] std::optional<CMTime> playhead() const override;

 private:
  [[nodiscard]] PlayerItem itemOf(CMTime duration) const;
  void placeAt(CMTime position);
  void scheduleReport();
  void reportNow();

  VirtualClock& clock_;
  const SimulatedPlayerOptions options_;
  const std::shared_ptr<std::vector<std::string>> calls_ = std::make_shared<std::vector<std::string>>();
  CMTime position_ = kCMTimeZero;  // at the time `since_`
  CMTime since_ = kCMTimeZero;
  bool isPlaying_ = false;
  bool isStarved_ = false;
  bool isSeekable_ = true;
  Token nextReport_;
  Token landing_;
  Token layerObservation_;
};

}  // namespace tarn
