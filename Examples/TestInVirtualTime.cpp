// A test of an application's own code in virtual time: no stream, no network, no waiting.

#include <cstdlib>
#include <iostream>

#include "Host/TarnPlayerSDKManager.h"
#include "HostSimulated/SimulatedPlayer.h"

/// The code under test: where the viewer goes on the next time, unless the film is nearly over.
class ResumePoint final : public TarnSessionConsumer {
 public:
  void didAdvanceToPlaybackSession(const std::shared_ptr<TarnPlaybackSession>& session) override {
    session->progress().subscribeNext([this](CMTime time) { position_ = time; });
    session->durationChanges().subscribeNext([this](CMTime duration) { duration_ = duration; });
  }
  [[nodiscard]] CMTime time() const {
    const bool isNearlyOver = CMTimeAdd(position_, CMTimeMake(60, 1)) > duration_;
    return isNearlyOver ? kCMTimeZero : position_;
  }

 private:
  CMTime position_ = kCMTimeZero;
  CMTime duration_ = kCMTimePositiveInfinity;
};

void expectResumeAt(std::int64_t seconds, const ResumePoint& resumePoint, const char* when) {
  if (resumePoint.time() == CMTimeMake(seconds, 1)) return;
  std::cerr << when << ": " << CMTimeGetSeconds(resumePoint.time()) << " s instead of " << seconds << " s\n";
  std::exit(1);
}

int main() {
  tarn::VirtualClock clock;
  const auto player = std::make_shared<tarn::SimulatedPlayer>(clock);
  const auto manager = std::make_shared<TarnPlayerSDKManager>([player] { return player; });
  const auto controller = manager->createPlaybackControllerWithSessionProvider(nullptr);
  const auto resumePoint = std::make_shared<ResumePoint>();
  controller->addSessionConsumer(resumePoint);
  TarnMutableVideo video;
  video.sources = {std::make_shared<TarnSource>(tarn::URL::fromString("https://example.com/film.m3u8"),
                                                kTarnSourceDeliveryHLS)};
  controller->addVideo(std::make_shared<TarnVideo>(video));
  controller->begin();

  player->becomeReady(CMTimeMake(600, 1));
  clock.advance(CMTimeMake(42, 1));
  expectResumeAt(42, *resumePoint, "After 42 seconds");

  player->setStarved(true);
  clock.advance(CMTimeMake(10, 1));
  expectResumeAt(42, *resumePoint, "While the stream is starved");

  player->setStarved(false);
  controller->currentSession()->resumeVideoAtTime(CMTimeMake(539, 1), true);
  clock.advance(CMTimeMake(1, 1));
  expectResumeAt(540, *resumePoint, "A minute before the end");
  clock.advance(CMTimeMake(100, 1));
  expectResumeAt(0, *resumePoint, "At the end");
  std::cout << "The resume point is right.\n";
}
