#include "HostMpv/MpvPlayer.h"

#include "Support/StreamPlayerTest.h"

namespace tarn::test {
namespace {

using Stage = StreamPlayerStage<MpvPlayer, MpvPlayerOptions>;
const auto kMakePlayer = makeStreamPlayer<MpvPlayer, MpvPlayerOptions>;

INSTANTIATE_TEST_SUITE_P(Mpv, PlayerContractTest, ::testing::Values(playerContract<Stage>()));
INSTANTIATE_TEST_SUITE_P(Mpv, StreamPlayerTest, ::testing::Values(kMakePlayer));
INSTANTIATE_TEST_SUITE_P(Mpv, StreamPlayerFaultTest, allStreamFaults(kMakePlayer), nameOfStreamFault);

TEST(MpvPlayerTest, PlaysOnBehindASegmentThatIsMissing) {
  StreamServer server;
  StreamViewer viewer(kMakePlayer(kPatientLimit));
  server.setResponse("/segment001.ts", {.status = 404});
  viewer.player->play();
  viewer.player->loadURL(server.url("/index.m3u8"));
  EXPECT_TRUE(viewer.reaches(TarnPlayerState::ended));
}

}  // namespace
}  // namespace tarn::test
