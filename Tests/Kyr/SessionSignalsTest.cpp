#include <gmock/gmock.h>

#include <set>

#include "KyrStage.h"

namespace {

using namespace tarn::test;
using ::testing::Contains;

TEST(SessionSignalsTest, DurationsLeaveTheAdsOut) {
  KyrStage("a...b.").tell(R"(
    load    => lines: duration nan, seekable unknown
    ready30 => lines: duration 20, seekable 0+20, Ready)");
}

TEST(SessionSignalsTest, EndEveryAdOnceBeforeTheEndOfAStreamOfAnotherLengthThanItsDocument) {
  for (const auto& [drawing, difference] :
       {std::pair("...aa", -0.1), std::pair("...aa", -2.0), std::pair("...aa", 0.0), std::pair("...aa", 4.0),
        std::pair("...aa.", -0.1)}) {
    SCOPED_TRACE(::testing::Message() << drawing << " and " << difference << " s");
    KyrStage stage(drawing, {}, difference);
    for (int viewing = 0; viewing < 2; ++viewing) {
      stage.tell(R"(
        out     => events: WillPauseForAd, Pause, AdSequenceEnter, AdEnter, AdExit, AdSequenceExit, Play, End
                => beacons: a-impression, a-creativeView, a-start, a-firstQuartile, a-midpoint, a-thirdQuartile, a-complete
        >1 play |)");
    }
  }
}

TEST(SessionSignalsTest, EnterNoAdAtTheEndOfAStreamThatIsShorterThanItsDocument) {
  KyrStage("...aa", {}, -0.1).tell(R"(
    24.5 | out => lines: AdProgress, AdProgress, AdExit, AdSequenceExit, Play, progress 25, End)");
  KyrStage("....", {}, -1).tell("@18.5 | out => lines: progress 18.75, progress 19, End");
  KyrStage("...aa", {}, -0.1).tell(R"(
    @24.9 => events:
    out   => events: End
          => beacons:)");
}

TEST(SessionSignalsTest, SendNoBeaconTwiceInOneViewing) {
  KyrStage stage("..aaa....bbb......", {.contentImpressions = {1, 9}});
  stage.tell(R"(
    5 pause play >50 2 pauseAd resumeAd starve feed out
      => beacons: impression-1, b-impression, b-creativeView, b-start, b-firstQuartile, b-midpoint, b-thirdQuartile, b-complete
    >8 play 22)");  // back, and through the first break
  const Lines beacons = stage.beacons();
  EXPECT_THAT(beacons,
              ::testing::AllOf(Contains("a-impression"), Contains("a-complete"), Contains("impression-9"),
                               ::testing::Not(Contains(::testing::StartsWith("b")))));
  EXPECT_EQ(std::set(beacons.begin(), beacons.end()).size(), beacons.size());
}

}  // namespace
