#include <gmock/gmock.h>

#include <cstdlib>

#include "Support/LoopbackServer.h"
#include "Support/VMAPText.h"

namespace {

using namespace tarn::test;

// The program of Examples/FollowPlayhead.cpp reaches the stream's end at once and then exits.
TEST(FollowPlayheadTest, LosesNoBeaconByExiting) {
  LoopbackServer server;
  VMAPDrawing drawing{.secondsPerCell = 1, .beacons = server.url("/").absoluteString()};
  std::vector<std::string> expected = {"/vmap"};
  for (int i = 1; i <= 50; ++i) {
    drawing.contentImpressions.push_back(i);
    expected.push_back("/impression-" + std::to_string(i));
  }
  server.setResponse("/vmap", {.body = drawVMAP(std::string(51, '.'), drawing)});
  const std::string command = FOLLOW_PLAYHEAD " " + server.url("/vmap").absoluteString() + " > /dev/null";
  EXPECT_EQ(std::system(command.c_str()), 0);
  EXPECT_THAT(server.targets(), testing::UnorderedElementsAreArray(expected));
}

}  // namespace
