#include "Host/PlayerContractTest.h"

#include "ClockPlayer.h"
#include "HostSimulated/SimulatedPlayer.h"

namespace tarn::test {
namespace {

class SimulatedStage final : public PlayerContractStage {
 public:
  std::shared_ptr<TarnPlayer> makePlayer() override {
    return std::make_shared<SimulatedPlayer>(
        clock_, SimulatedPlayerOptions{.seekLatency = CMTimeMake(1, 20), .itemDuration = CMTimeMake(4, 1)});
  }
  URL stream() override { return *URL::fromString("http://nowhere/index.m3u8"); }
  bool waitUntil(const std::function<bool()>& done) override {
    for (int step = 0; step < 1000 && !done(); ++step) clock_.advance(CMTimeMake(1, 20));
    return done();
  }

 private:
  VirtualClock clock_;
};

class ClockStage final : public PlayerContractStage {
 public:
  std::shared_ptr<TarnPlayer> makePlayer() override {
    return std::make_shared<ClockPlayer>(CMTimeMake(4, 1));
  }
  URL stream() override { return *URL::fromString("http://nowhere/index.m3u8"); }
};

INSTANTIATE_TEST_SUITE_P(Simulated, PlayerContractTest, ::testing::Values(playerContract<SimulatedStage>()));
INSTANTIATE_TEST_SUITE_P(OfTheExample, PlayerContractTest, ::testing::Values(playerContract<ClockStage>()));

}  // namespace
}  // namespace tarn::test
