// Plays a stream with stitched-in ads. What it prints is what an application sees: content time, and the ads.

#include <iostream>

#include "Host/TarnPlayerSDKManager.h"
#include "HostGStreamer/GStreamerPlayer.h"
#include "Kyr/TarnKyrComponent.h"
#include "Lumo/HTTPBeaconSink.h"
#include "Platform/MainQueue.h"

/// Follows each session that is played.
class Screen : public TarnSessionConsumer {
 public:
  void didAdvanceToPlaybackSession(const std::shared_ptr<TarnPlaybackSession>& session) override {
    session->progress().subscribeNext(
        [](CMTime time) { std::cout << "content " << CMTimeGetSeconds(time) << " s\n"; });
    session->lifecycle().subscribeNext(
        [this](const TarnPlaybackSession::LifecycleEvent& event) { show(*event); });
  }
  bool over = false;

 private:
  void show(const TarnPlaybackSessionLifecycleEvent& event) {
    if (event.is(kTarnPlaybackSessionLifecycleEventAdEnter) && event.ad())
      std::cout << "ad \"" << event.ad()->title().value_or("") << "\", "
                << CMTimeGetSeconds(event.ad()->duration()) << " s\n";
    if (event.is(kTarnPlaybackSessionLifecycleEventAdSequenceExit)) std::cout << "back to the content\n";
    if (const auto error = event.error()) std::cerr << tarn::chainDescription(*error) << '\n';
    over = over || event.is(kTarnPlaybackSessionLifecycleEventEnd) ||
           event.is(kTarnPlaybackSessionLifecycleEventTerminate);
  }
};

int main(int argc, char** argv) {
  const auto vmap = argc == 2 ? tarn::URL::fromString(argv[1]) : std::nullopt;
  if (!vmap) {
    std::cerr << "usage: play_with_ads VMAP-URL\n";
    return 2;
  }
  const auto manager =
      std::make_shared<TarnPlayerSDKManager>([] { return std::make_shared<tarn::GStreamerPlayer>(); });
  const auto controller = createKyrPlaybackController(manager);
  const auto screen = std::make_shared<Screen>();
  controller->addSessionConsumer(screen);

  TarnMutableVideo video;
  video.sources = {std::make_shared<TarnSource>(vmap, kTarnSourceDeliveryLumo)};
  controller->addVideo(std::make_shared<TarnVideo>(video));
  controller->begin();

  // A real application has an event loop already and installs it behind the main queue.
  tarn::MainQueue::shared().runUntil([&] { return screen->over; }, std::chrono::hours(24));

  // The end of the process does not wait for the beacons that are in flight.
  controller->terminate();
  tarn::HTTPBeaconSink::shared()->flush(std::chrono::seconds(5));
}
