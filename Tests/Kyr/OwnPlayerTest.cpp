#include <gmock/gmock.h>

#include <array>
#include <cstdio>

#include "KyrStage.h"

namespace {

using namespace tarn::test;
using ::testing::ElementsAre;

/// What the program of Examples/OwnPlayer.cpp prints, without the content times.
Lines runOwnPlayer(const tarn::URL& document, const std::string& streamSeconds) {
  const std::string command = OWN_PLAYER " " + document.absoluteString() + " " + streamSeconds + " 2>&1";
  FILE* const output = popen(command.c_str(), "r");
  Lines lines;
  std::array<char, 500> line{};
  while (std::fgets(line.data(), line.size(), output) != nullptr) {
    const std::string text(line.data());
    if (!text.starts_with("content ")) lines.push_back(text.substr(0, text.find('\n')));
  }
  EXPECT_EQ(pclose(output), 0);
  return lines;
}

TEST(OwnPlayerTest, SeesTheAdsAndSendsTheirBeacons) {
  LoopbackServer server;
  const auto beacons = server.url("/").absoluteString();
  server.setResponse("/vmap", {.body = drawVMAP(".aab.", {.secondsPerCell = 0.4, .beacons = beacons})});
  EXPECT_THAT(runOwnPlayer(server.url("/vmap"), "2"),
              ElementsAre("ad \"Ad a\"", "ad \"Ad b\"", "back to the content"));
  Lines expected = {"/vmap"};
  for (const auto* const event :
       {"impression", "creativeView", "start", "firstQuartile", "midpoint", "thirdQuartile", "complete"})
    for (const std::string ad : {"/a-", "/b-"}) expected.push_back(ad + event);
  EXPECT_THAT(server.targets(), ::testing::UnorderedElementsAreArray(expected));
}

TEST(OwnPlayerTest, IsToldWhyNothingPlays) {
  EXPECT_THAT(runOwnPlayer(serve(""), "2"), ElementsAre(::testing::StartsWith("kTarnKyrErrorDomain 509: ")));
}

}  // namespace
