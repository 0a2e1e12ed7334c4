#include "HostGStreamer/GStreamerPlayer.h"

#include "Support/StreamPlayerTest.h"

namespace tarn::test {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Value;

using Stage = StreamPlayerStage<GStreamerPlayer, GStreamerPlayerOptions>;
const auto kMakePlayer = makeStreamPlayer<GStreamerPlayer, GStreamerPlayerOptions>;

INSTANTIATE_TEST_SUITE_P(GStreamer, PlayerContractTest, ::testing::Values(playerContract<Stage>()));
INSTANTIATE_TEST_SUITE_P(GStreamer, StreamPlayerTest, ::testing::Values(kMakePlayer));
INSTANTIATE_TEST_SUITE_P(GStreamer, StreamPlayerFaultTest, allStreamFaults(kMakePlayer), nameOfStreamFault);

TEST(GStreamerPlayerTest, SurvivesFaultsThatPass) {
  StreamServer server;
  StreamViewer viewer(kMakePlayer(kPatientLimit));
  server.setNextResponse("/segment001.ts", {.status = 503});
  server.setNextResponse("/segment002.ts", testStreamFile("/segment002.ts", /*isCutOff=*/true));
  server.hold("/segment003.ts");
  viewer.player->play();
  viewer.player->loadURL(server.url("/index.m3u8"));
  EXPECT_TRUE(viewer.waitFor([&] { return Value(server.targets(), Contains("/segment003.ts")); }));
  server.release();
  EXPECT_TRUE(viewer.reaches(TarnPlayerState::ended));
  for (const char* path : {"/segment001.ts", "/segment002.ts"})
    EXPECT_THAT(server.targets(), Contains(path).Times(2));
}

TEST(GStreamerPlayerTest, AMissingSinkIsReportedWithThePackageToInstall) {
  GStreamerPlayerOptions options;
  options.audioSink = "nosuchsink";
  StreamViewer lacking(std::make_shared<GStreamerPlayer>(options));
  lacking.player->loadURL(LoopbackServer().url("/index.m3u8"));
  ASSERT_TRUE(lacking.reaches(TarnPlayerState::failed));
  EXPECT_EQ(static_cast<TarnPlayerErrorCode>(lacking.player->error()->code),
            TarnPlayerErrorCode::missingComponent);
  EXPECT_THAT(chainDescription(*lacking.player->error()), HasSubstr("nosuchsink"));
  EXPECT_TRUE(lacking.player->error()->underlying->recoverySuggestion);
}

}  // namespace
}  // namespace tarn::test
