#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <string>

#include "KyrProcess.h"
#include "KyrService.h"
#include "SessionRecords.h"
#include "Terminal.h"
#include "VirtualScreen.h"

namespace tarn::test {
namespace {

using ::testing::HasSubstr;

// Areas of a window of 1280×720, two pixels a point: the top bar between its label and its button, the
// picture below it, the texts, the skip button, the transport bar's track.
constexpr Area kBar{500, 2, 580, 56};
constexpr Area kPicture{20, 100, 200, 400};
constexpr Area kLabel{10, 2, 420, 56};
constexpr Area kLearnMore{1130, 2, 140, 56};
constexpr Area kSkip{1126, 584, 146, 68};
constexpr Area kTrack{130, 680, 1060, 20};

constexpr Colour kWhite{255, 255, 255};
constexpr Colour kBorder{128, 128, 128};
constexpr Colour kBreak{0xf5, 0xb3, 0x01};
constexpr double kUnderOverlay = 0.4;

bool hasBar(const Frame& frame) {
  return frame.background(kBar).isNear(frame.background(kPicture).dimmed(kUnderOverlay)) &&
         frame.count(kLabel, kWhite) > 100 && frame.count(kLearnMore, kWhite) > 100;
}

bool hasSkipButton(const Frame& frame) {
  return frame.background(kSkip).isNear(frame.background(kPicture).dimmed(kUnderOverlay)) &&
         frame.count(kSkip, kWhite) > 100;
}

bool hasBorder(const Frame& frame) {
  return frame.count(kSkip, kBorder) > 200;
}

/// Checks only pixels that the moving content does not have.
bool hasNoOverlay(const Frame& frame) {
  const Colour underOverlay = frame.background(kPicture).dimmed(kUnderOverlay);
  return frame.count(kBar, underOverlay) == 0 && frame.count(kSkip, underOverlay) == 0 &&
         frame.count(kLabel, kWhite) == 0 && frame.count(kLearnMore, kWhite) == 0 &&
         frame.count(kSkip, kWhite) == 0;
}

class WindowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (const auto missing = VirtualScreen::whatIsMissing(); !missing.empty()) GTEST_SKIP() << missing;
  }
};

// 0          14         22          34
// | content  | kyr-travel | content | …
TEST_F(WindowTest, ShowsTheOverlayWhileAnAdPlaysAndHandlesTheKeys) {
  const VirtualScreen screen;
  KyrService service;
  Terminal terminal({"play", service.url("/vmap/skippable.xml")});
  terminal.waitFor("▶ 0:01 / 0:38");
  EXPECT_TRUE(screen.comesToShow([](const Frame& frame) { return frame.count(kTrack, kWhite) > 50; }));
  EXPECT_TRUE(hasNoOverlay(screen.frame()));
  EXPECT_GT(screen.frame().count(kTrack, kBreak), 50);

  screen.pressKey("Right");  // seeks to a second before the break
  terminal.waitFor("ad kyr-travel 0:01");
  screen.pressKey("Return");  // pressed for the player
  terminal.waitFor("⏸");
  EXPECT_TRUE(screen.comesToShow([](const Frame& frame) { return hasBar(frame) && hasSkipButton(frame); }));
  EXPECT_FALSE(hasBorder(screen.frame())) << "the button must still count down";
  screen.pressKey("space");
  terminal.waitFor("ad kyr-travel 0:03");
  EXPECT_TRUE(screen.comesToShow(hasBorder));
  EXPECT_TRUE(hasBar(screen.frame()));

  screen.pressKey("Down");
  screen.pressKey("Return");
  terminal.waitFor("▶ 0:14 / 0:38");
  EXPECT_TRUE(screen.comesToShow(hasNoOverlay));
  screen.click(958, 690);  // seeks to 30 s
  terminal.waitFor("▶ 0:30 / 0:38");
  EXPECT_TRUE(hasNoOverlay(screen.frame()));
  screen.pressKey("q");
  EXPECT_EQ(terminal.end(), 0);
}

TEST_F(WindowTest, LetsAnApplicationShowPagesAndBanners) {
  const VirtualScreen screen;
  KyrService service;
  Terminal application({service.url("/vmap/pre-roll.xml")}, KYR_PAGES_EXAMPLE);
  application.waitFor("EventAdEnter");
  constexpr Area kBanner{660, 600, 580, 100};
  constexpr Colour kCoffee{0xb9, 0x77, 0x0e};
  EXPECT_TRUE(screen.comesToShow([&](const Frame& frame) { return frame.count(kBanner, kCoffee) > 40'000; }));
  screen.pressKey("Up");
  screen.pressKey("Return");
  for (const char* const event : {"AdPause", "WillOpen", "DidOpen"}) application.waitFor(event);
  constexpr Area kPage{200, 300, 400, 200};
  constexpr Colour kPaper{0xfb, 0xfb, 0xf8};
  EXPECT_TRUE(screen.comesToShow([&](const Frame& frame) { return frame.count(kPage, kPaper) > 70'000; }));
  screen.pressKey("Escape");
  for (const char* const event : {"WillClose", "DidClose", "AdResume", "AdExit"}) application.waitFor(event);
}

TEST(WindowCallTest, SuggestsTheTerminalWithoutADisplay) {
  for (const char* const variable : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) unsetenv(variable);
  const auto outcome = runKyr({"play", documentPath("worked.vmap"), "--json"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("--headless"));
  EXPECT_EQ(parseRecords(outcome.out).back()["error"]["domain"], "kyr.window");
  EXPECT_EQ(runKyr({"play", documentPath("worked.vmap"), "--headless", "--full-screen"}).status, 2);
}

}  // namespace
}  // namespace tarn::test
