#pragma once

#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "Host/TarnPlayer.h"

namespace tarn::test {

/// A player in virtual time: what it plays and when is the test's to say.
///
/// Keeps the promises of `TarnPlayer`. A seek lands, exactly on its target, on the next turn of the main
/// queue, so a test that does not drain the queue holds the seek under way.
class FakePlayer final : public TarnPlayer {
 public:
  FakePlayer();

  void loadURL(const URL& url) override;
  void play() override;
  void pause() override;
  void seekToTime(CMTime time, CMTime toleranceBefore, CMTime toleranceAfter,
                  SeekCompletion completion) override;
  [[nodiscard]] CMTime currentTime() const override { return position_; }

  /// Every operation asked for, in order: "load <url>", "play", "pause", "seek <s> -<s> +<s>", "hideLayer",
  /// "showLayer". Shared, so that it can be read when the player is gone.
  [[nodiscard]] const std::shared_ptr<std::vector<std::string>>& calls() const { return calls_; }

  // What the stream and its server do.

  /// The item that is loading can be played; it lasts `seconds` and can be sought in throughout.
  void becomeReady(double seconds);
  /// Lets time pass. While the player plays, the playhead is reported every `tick` seconds, and the end when
  /// it is reached.
  void advance(double seconds, double tick = 0.25);
  /// From now on seeks come back unfinished, and the playhead stays where it is.
  void breakSeeking() { seekable_ = false; }
  void starve(bool starved) { (void)announce(buffering_, starved); }
  void setLoadedTo(double seconds);
  void fail(Error error);

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
  [[nodiscard]] CMTime end() const { return currentItemDuration_.get().value_or(kCMTimeZero); }
  [[nodiscard]] bool moveTo(CMTime time);
  void reachEnd();
  void landLater();
  void land();
  void refuse(SeekCompletion completion) const;

  std::shared_ptr<std::vector<std::string>> calls_ = std::make_shared<std::vector<std::string>>();
  CMTime position_ = kCMTimeZero;
  std::optional<Seek> seek_;
  int seeks_ = 0;  // so far
  bool seekable_ = true;
  std::shared_ptr<char> alive_ = std::make_shared<char>();
  Token layerObservation_;
};

}  // namespace tarn::test
