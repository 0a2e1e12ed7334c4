#pragma once

#include <functional>
#include <optional>
#include <string_view>
#include <utility>

#include "Host/TarnPlayer.h"

namespace tarn::cli {

/// A call made to a player.
struct PlayerAction {
  std::string_view name;  ///< "load", "play", "pause", "seek", "hideLayer" or "showLayer"
  std::optional<URL> url = {};
  std::optional<CMTime> to = {};  ///< A seek's target, in absolute time.
  std::optional<CMTime> toleranceBefore = {};
  std::optional<CMTime> toleranceAfter = {};
};

using PlayerObserver = std::function<void(const PlayerAction&)>;

/// A player that reports each call to an observer before it executes it.
template <class Player>
class ObservedPlayer final : public Player {
 public:
  template <typename... Arguments>
  explicit ObservedPlayer(PlayerObserver observer, Arguments&&... arguments)
      : Player(std::forward<Arguments>(arguments)...),
        observer_(std::move(observer)),
        layerObservation_(this->layerHidden_.observe(
            [this](bool hidden) { observer_({.name = hidden ? "hideLayer" : "showLayer"}); })) {}

  void loadURL(const URL& url) override {
    observer_({.name = "load", .url = url});
    Player::loadURL(url);
  }
  void play() override {
    observer_({.name = "play"});
    Player::play();
  }
  void pause() override {
    observer_({.name = "pause"});
    Player::pause();
  }
  void seekToTime(CMTime time, CMTime toleranceBefore, CMTime toleranceAfter,
                  TarnPlayer::SeekCompletion completion) override {
    observer_(
        {.name = "seek", .to = time, .toleranceBefore = toleranceBefore, .toleranceAfter = toleranceAfter});
    Player::seekToTime(time, toleranceBefore, toleranceAfter, std::move(completion));
  }

 private:
  const PlayerObserver observer_;
  const Token layerObservation_;
};

}  // namespace tarn::cli
