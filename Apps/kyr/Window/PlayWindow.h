#pragma once

#include <functional>
#include <memory>

#include "Host/TarnSessionConsumer.h"
#include "HostGStreamer/GStreamerPlayer.h"
#include "Lumo/BeaconSink.h"
#include "Viewing/EventLoop.h"
#include "Viewing/SessionView.h"

namespace tarn::cli {

/// A window that shows a stream: the picture, the player's controls over its lower edge, and the ad overlay
/// above both. Brings Qt's event loop with it, behind the main queue. One at a time; main thread.
class PlayWindow {
 public:
  struct Handlers {
    std::function<void(char key)> key;  ///< As `Show::press` takes them.
    std::function<void(CMTime contentTime)> seek;
  };

  /// Opens it and waits until it can show a picture. The error tells why it cannot, and what can be done
  /// instead. Where Qt finds no display it ends the process; then the error is reported first, as
  /// `reportFailure` does it.
  [[nodiscard]] static Result<std::unique_ptr<PlayWindow>> open(bool fullScreen, bool json);
  PlayWindow(const PlayWindow&) = delete;
  PlayWindow& operator=(const PlayWindow&) = delete;
  ~PlayWindow();

  /// Empty handlers for nobody.
  void setHandlers(Handlers handlers);
  [[nodiscard]] SessionView& view();
  /// For a player whose picture it shows; the player goes before the window.
  [[nodiscard]] GStreamerPlayerOptions playerOptions() const;
  /// The ad overlay, to be told of the sessions. Goes before the window.
  [[nodiscard]] std::shared_ptr<TarnSessionConsumer> makeOverlay(std::shared_ptr<BeaconSink> beaconSink);
  bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit);
  void hide();

 private:
  class Stage;
  explicit PlayWindow(std::unique_ptr<Stage> stage);
  std::unique_ptr<Stage> stage_;
};

}  // namespace tarn::cli
