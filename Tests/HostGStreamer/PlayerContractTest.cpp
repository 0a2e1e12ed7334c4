#include "Host/PlayerContractTest.h"

#include "HostGStreamer/GStreamerPlayer.h"
#include "Support/StreamServer.h"

namespace tarn::test {
namespace {

class GStreamerStage final : public PlayerContractStage {
 public:
  std::shared_ptr<TarnPlayer> makePlayer() override {
    GStreamerPlayerOptions options;
    options.loadLimit = options.stallLimit = std::chrono::seconds(60);  // enough for a busy machine
    return std::make_shared<GStreamerPlayer>(options);
  }
  URL stream() override { return server_.url("/index.m3u8"); }
  URL brokenStream() override { return server_.url("/nowhere.m3u8"); }

 private:
  StreamServer server_;
};

INSTANTIATE_TEST_SUITE_P(GStreamer, PlayerContractTest, ::testing::Values(playerContract<GStreamerStage>()));

}  // namespace
}  // namespace tarn::test
