#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <functional>

#include "Host/TarnPlayerSDKManager.h"
#include "HostGStreamer/GStreamerPlayer.h"
#include "Platform/Queue.h"
#include "StreamServer.h"
#include "Support/SessionRecorder.h"

namespace tarn::test {
namespace {

using ::testing::ElementsAre;

class Recording final : public TarnSessionConsumer {
 public:
  void didAdvanceToPlaybackSession(const std::shared_ptr<TarnPlaybackSession>& session) override {
    recorders.push_back(std::make_unique<SessionRecorder>(*session));
  }
  /// Without the reports that depend on the network's and the machine's pace.
  [[nodiscard]] std::vector<std::string> lifecycleOf(std::size_t session) const {
    auto lines = recorders.at(session)->take();
    std::erase_if(lines, [](const std::string& line) {
      return line.starts_with("Buffering") || !std::isupper(static_cast<unsigned char>(line.front()));
    });
    return lines;
  }

  std::vector<std::unique_ptr<SessionRecorder>> recorders;
};

TEST(GStreamerSessions, PlayOneAfterAnotherUnderTheController) {
  StreamServer server;
  server.refuse("/gone.m3u8", 404);
  const auto manager =
      std::make_shared<TarnPlayerSDKManager>([] { return std::make_shared<GStreamerPlayer>(); });
  const auto controller = manager->createPlaybackControllerWithSessionProvider(nullptr);
  const auto recording = std::make_shared<Recording>();
  controller->addSessionConsumer(recording);
  for (const auto* path : {"/index.m3u8", "/gone.m3u8"}) {
    const auto source = std::make_shared<const TarnSource>(server.url(path), std::nullopt);
    controller->addVideo(std::make_shared<const TarnVideo>(TarnMutableVideo{.sources = {source}}));
  }
  controller->begin();
  EXPECT_TRUE(MainQueue::shared().runUntil(
      [&] { return recording->recorders.size() == 2 && !controller->currentSession(); },
      std::chrono::seconds(60)));
  EXPECT_THAT(recording->lifecycleOf(0), ElementsAre("Begin", "Play", "Ready", "End", "Terminate"));
  EXPECT_THAT(recording->lifecycleOf(1), ElementsAre("Begin", "Play", "Error", "Terminate"));
}

}  // namespace
}  // namespace tarn::test
