// Loads the document of a stitched stream, follows a playhead through it and sends the beacons that fall due.

#include <iostream>

#include "Lumo/HTTPBeaconSink.h"
#include "Lumo/TarnLumoAnalyticsSession.h"
#include "Lumo/TarnLumoTimelineOperation.h"
#include "Platform/MainQueue.h"

int main(int argc, char** argv) {
  const auto url = argc == 2 ? tarn::URL::fromString(argv[1]) : std::nullopt;
  if (!url) {
    std::cerr << "usage: follow_playhead VMAP-URL\n";
    return 2;
  }

  // 1. Load the timeline. The result arrives on the main queue, which an application's event loop drives.
  tarn::OperationQueue loadQueue("example.load");
  const auto load = TarnLumoTimeline::timelineOperationForLumoUXURL(url);
  loadQueue.addOperation(load);
  tarn::MainQueue::shared().runUntil([&] { return load->isFinished(); }, std::chrono::seconds(90));
  const auto timeline = load->resultTimeline();
  if (!timeline) {
    std::cerr << (load->error() ? tarn::chainDescription(*load->error()) : "no answer in time") << '\n';
    return 1;
  }

  // 2. Make the tracker and what listens to it.
  const auto tracker = std::make_shared<TarnLumoProgressTracker>(timeline);
  const auto digester = std::make_shared<TarnLumoAnalyticsDigester>();
  const auto analytics = TarnLumoAnalyticsSession::initWithProgessTracker(tracker, digester);
  const auto observation = tracker->contentTime().observe(
      [](const CMTime& time) { std::cout << "content " << CMTimeGetSeconds(time) << " s\n"; });

  // 3. Feed it the player's position, in stream time, as often as the player reports one. Here the player is
  // a loop.
  for (CMTime now = kCMTimeZero; now <= timeline->payloadLength(); now = CMTimeAdd(now, CMTimeMake(1, 4))) {
    tracker->setAbsoluteTime(now);
  }

  // 4. Before the application exits, wait for the beacons in flight.
  tarn::HTTPBeaconSink::shared()->flush(std::chrono::seconds(30));
}
