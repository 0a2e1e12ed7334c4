#include <gmock/gmock.h>

#include <array>
#include <cstdio>

#include "KyrStage.h"

namespace {

using namespace tarn::test;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

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

TEST(AnApplicationWithAPlayerOfItsOwn, SeesTheAdsAndSendsTheirBeacons) {
  LoopbackServer server;
  const auto document =
      drawVMAP(".aab.", {.secondsPerCell = 0.4, .beacons = server.url("/").absoluteString()});
  server.answer("/vmap", {.body = document});
  EXPECT_THAT(runOwnPlayer(server.url("/vmap"), "2"),
              ElementsAre("ad \"Ad a\"", "ad \"Ad b\"", "back to the content"));
  EXPECT_THAT(server.targets(),
              UnorderedElementsAre("/vmap", "/a-impression", "/a-creativeView", "/a-start",
                                   "/a-firstQuartile", "/a-midpoint", "/a-thirdQuartile", "/a-complete",
                                   "/b-impression", "/b-creativeView", "/b-start", "/b-firstQuartile",
                                   "/b-midpoint", "/b-thirdQuartile", "/b-complete"));
}

TEST(AnApplicationWithAPlayerOfItsOwn, IsToldWhyNothingPlays) {
  EXPECT_THAT(runOwnPlayer(serve(""), "2"), ElementsAre(::testing::StartsWith("kTarnKyrErrorDomain 509: ")));
}

}  // namespace
