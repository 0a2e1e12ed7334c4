#pragma once

#include <functional>
#include <memory>

#include "Host/TarnSessionConsumer.h"
#include "HostGStreamer/GStreamerPlayer.h"
#include "Lumo/BeaconSink.h"
#include "Viewing/EventLoop.h"
#include "Viewing/SessionObserver.h"

namespace tarn::cli {

/// A window that shows a stream: the picture, the player's controls over its lower edge, and the ad overlay
/// above both. It runs the main queue in Qt's event loop. One at a time; main thread.
class PlayWindow {
 public:
  struct Handlers {
    std::function<void(char key)> key;  ///< The keys of `PlaybackLoop::press`.
    std::function<void(CMTime contentTime)> seek;
  };

  /// Opens a window and waits until it can show a picture. The error contains the reason and the alternative.
  /// Without a display Qt ends the process; the error is then reported first, as by `reportFailure`.
  [[nodiscard]] static Result<std::unique_ptr<PlayWindow>> open(bool fullScreen, bool json);
  PlayWindow(const PlayWindow&) = delete;
  PlayWindow& operator=(const PlayWindow&) = delete;
  ~PlayWindow();

  /// Empty handlers ignore the input.
  void setHandlers(Handlers handlers);
  [[nodiscard]] SessionObserver& observer();
  /// For a player whose picture the window shows; destroy the player before the window.
  [[nodiscard]] GStreamerPlayerOptions playerOptions() const;
  /// The ad overlay, a consumer of the sessions. Destroy it before the window.
  [[nodiscard]] std::shared_ptr<TarnSessionConsumer> makeOverlay(std::shared_ptr<BeaconSink> beaconSink);
  bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit);
  void hide();

 private:
  class Stage;
  explicit PlayWindow(std::unique_ptr<Stage> stage);
  std::unique_ptr<Stage> stage_;
};

}  // namespace tarn::cli
