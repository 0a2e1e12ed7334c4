// An application with a player of its own. It prints content time and the ads, as its controls would show
// them.

#include <chrono>
#include <cstdlib>
#include <iostream>

#include "ClockPlayer.h"
#include "Host/TarnPlayerSDKManager.h"
#include "Kyr/TarnKyrComponent.h"
#include "Lumo/HTTPBeaconSink.h"
#include "Platform/MainQueue.h"

class Screen final : public TarnSessionConsumer {
 public:
  void didAdvanceToPlaybackSession(const std::shared_ptr<TarnPlaybackSession>& session) override {
    session->progress().subscribeNext(
        [](CMTime t) { std::cout << "content " << CMTimeGetSeconds(t) << '\n'; });
    session->lifecycle().subscribeNext([this](const TarnPlaybackSession::LifecycleEvent& event) {
      if (event) show(*event);
    });
  }
  bool over = false;

 private:
  void show(const TarnPlaybackSessionLifecycleEvent& event) {
    if (const auto error = event.error()) std::cerr << tarn::chainDescription(*error) << '\n';
    if (event.is(kTarnPlaybackSessionLifecycleEventAdEnter) && event.ad())
      std::cout << "ad \"" << event.ad()->title().value_or("") << "\"\n";
    if (event.is(kTarnPlaybackSessionLifecycleEventAdSequenceExit)) std::cout << "back to the content\n";
    if (event.is(kTarnPlaybackSessionLifecycleEventEnd)) over = true;
    if (event.is(kTarnPlaybackSessionLifecycleEventTerminate)) over = true;
  }
};

int main(int argc, char** argv) {
  const auto vmap = argc == 3 ? tarn::URL::fromString(argv[1]) : std::nullopt;
  const double seconds = argc == 3 ? std::atof(argv[2]) : 0;
  if (!vmap || !(seconds > 0)) {
    std::cerr << "usage: own_player VMAP-URL SECONDS-OF-THE-STREAM\n";
    return 2;
  }
  const auto manager = std::make_shared<TarnPlayerSDKManager>(
      [seconds] { return std::make_shared<ClockPlayer>(CMTimeMakeWithSeconds(seconds, 600)); });
  const auto controller = createKyrPlaybackController(manager);
  const auto screen = std::make_shared<Screen>();
  controller->addSessionConsumer(screen);
  const auto source = std::make_shared<const TarnSource>(vmap, kTarnSourceDeliveryLumo);
  controller->addVideo(std::make_shared<const TarnVideo>(TarnMutableVideo{.sources = {source}}));
  controller->begin();
  tarn::MainQueue::shared().runUntil([&] { return screen->over; }, std::chrono::hours(24));
  controller->terminate();
  tarn::HTTPBeaconSink::shared()->flush(std::chrono::seconds(5));  // the last ad's beacons
}
