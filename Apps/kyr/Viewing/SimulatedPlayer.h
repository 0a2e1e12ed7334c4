#pragma once

#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "Host/TarnPlayer.h"
#include "Viewing/VirtualClock.h"

namespace tarn::cli {

/// A player without a stream: keeps the promises of `TarnPlayer` in virtual time.
///
/// A seek lands exactly on its target. While the playhead moves it is reported at regular intervals, which
/// are counted from when it began to move.
class SimulatedPlayer : public TarnPlayer {
 public:
  struct Manner {
    CMTime tick;  ///< Between two reports of the playhead; positive.
    CMTime seekLatency;
  };

  /// `clock` outlives the player.
  SimulatedPlayer(VirtualClock& clock, Manner manner);

  void loadURL(const URL& url) override;
  void play() override;
  void pause() override;
  void seekToTime(CMTime time, CMTime toleranceBefore, CMTime toleranceAfter,
                  SeekCompletion completion) override;
  [[nodiscard]] CMTime currentTime() const override;

  /// The item can be played from its start, and sought in throughout. With a `duration` that is negative or
  /// no number nobody knows how long it lasts, and it plays without end.
  void becomeReady(CMTime duration);

 private:
  struct Seek {
    CMTime time;
    SeekCompletion completion;
  };

  /// False when a listener has destroyed the player, after which nothing of it may be touched.
  template <typename T>
  [[nodiscard]] bool announce(Observable<T>& property, std::type_identity_t<T> value) {
    const std::weak_ptr<char> alive = alive_;
    property.set(std::move(value));
    return !alive.expired();
  }
  [[nodiscard]] bool isMoving() const;
  [[nodiscard]] std::optional<CMTime> end() const;
  [[nodiscard]] CMTime withinItem(CMTime time) const;
  void standAt(CMTime position);
  void arrangeStep();
  void step();
  void reachEnd();
  void arrangeLanding();
  void land();
  void dropSeek();
  void refuse(SeekCompletion completion) const;

  VirtualClock& clock_;
  const Manner manner_;
  CMTime position_ = kCMTimeZero;  // at the time `since_`
  CMTime since_ = kCMTimeZero;
  std::optional<Seek> seek_;
  int item_ = 0;  // counts loads, so that a callback that loads another item is noticed
  Token nextStep_;
  Token landing_;
  std::shared_ptr<char> alive_ = std::make_shared<char>();
};

}  // namespace tarn::cli
