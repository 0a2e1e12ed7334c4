#pragma once

#include <functional>
#include <optional>
#include <string_view>
#include <utility>

#include "Host/TarnPlayer.h"

namespace tarn::cli {

/// What a player was told to do.
struct PlayerAction {
  std::string_view name;  ///< "load", "play", "pause", "seek", "hideLayer" or "showLayer"
  std::optional<URL> url = {};
  std::optional<CMTime> to = {};  ///< Of a seek, in absolute time, like the tolerances.
  std::optional<CMTime> toleranceBefore = {};
  std::optional<CMTime> toleranceAfter = {};
};

using PlayerWatcher = std::function<void(const PlayerAction&)>;

/// A player that says what it is told to do, before it does it.
template <class Player>
class WatchedPlayer final : public Player {
 public:
  template <typename... Arguments>
  explicit WatchedPlayer(PlayerWatcher watcher, Arguments&&... arguments)
      : Player(std::forward<Arguments>(arguments)...),
        watcher_(std::move(watcher)),
        layerObservation_(this->layerHidden_.observe(
            [this](bool hidden) { watcher_({.name = hidden ? "hideLayer" : "showLayer"}); })) {}

  void loadURL(const URL& url) override {
    watcher_({.name = "load", .url = url});
    Player::loadURL(url);
  }
  void play() override {
    watcher_({.name = "play"});
    Player::play();
  }
  void pause() override {
    watcher_({.name = "pause"});
    Player::pause();
  }
  void seekToTime(CMTime time, CMTime toleranceBefore, CMTime toleranceAfter,
                  TarnPlayer::SeekCompletion completion) override {
    watcher_(
        {.name = "seek", .to = time, .toleranceBefore = toleranceBefore, .toleranceAfter = toleranceAfter});
    Player::seekToTime(time, toleranceBefore, toleranceAfter, std::move(completion));
  }

 private:
  const PlayerWatcher watcher_;
  const Token layerObservation_;
};

}  // namespace tarn::cli
