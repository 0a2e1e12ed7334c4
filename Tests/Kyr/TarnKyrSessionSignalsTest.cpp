#include <gmock/gmock.h>

#include <set>

#include "KyrStage.h"
#include "Support/TimePrinter.h"

namespace {

using namespace tarn::test;
using ::testing::Contains;

constexpr const char* kStream = "..aaa....bbb......";

TEST(ABreak, CarriesItsAdsInItsEvents) {
  KyrStage stage("..ab..");
  stage.tell("12 pause play 5");
  const auto sequence = stage.lastEvent("AdSequenceEnter")->adSequence();
  EXPECT_EQ(sequence->ads().at(1)->adId(), "b");
  const auto* parsed = sequence->properties().get<std::shared_ptr<const TarnLumoAdSequence>>(
      kTarnKyrAdPropertiesKeyLumoAdSequence);
  EXPECT_EQ((*parsed)->ads().size(), 2U);
  EXPECT_EQ(stage.lastEvent("AdProgress")->ad()->adId(), "b");
  EXPECT_THAT(stage.lastEvent("AdProgress")->adProgress().value(), SecondsEq(2));
  for (const auto* const event : {"AdPause", "AdResume", "AdExit"})
    EXPECT_EQ(stage.lastEvent(event)->ad()->adId(), "a");
  for (const auto* const event : {"WillPauseForAd", "Pause"})
    EXPECT_EQ(stage.lastEvent(event)->properties(), std::nullopt);
  stage.tell("5");
  EXPECT_EQ(stage.lastEvent("AdSequenceExit")->adSequence()->ads().size(), 2U);
}

TEST(TrackerEvents, ThatNameNoAdOrAreUnknownArePassedOn) {
  KyrStage stage("..aa..");
  tarn::Dictionary properties;
  properties.set(kTarnLumoProgressTrackerEventPropertiesKeyAdProgress, at(3));
  for (const int type : {4, 5}) {
    stage.session->tracker()->event().set(std::make_shared<const TarnLumoProgressTrackerEvent>(
        static_cast<TarnLumoProgressTrackerEventType>(type), properties));
  }
  EXPECT_THAT(stage.lines(), ::testing::ElementsAre("AdProgress", "none"));
  EXPECT_THAT(stage.lastEvent("AdProgress")->adProgress().value(), SecondsEq(3));
}

TEST(ABreak, IsToldAsAPauseOfTheContent) {
  KyrStage("..aa..").tell(R"(
    @9.4 0.25 | 0.75   => lines: progress 9.9, WillPauseForAd, Pause, AdSequenceEnter, AdEnter, AdProgress, AdProgress
    load25             => lines: loaded 0+15
    ready30            => lines: seekable 0+20
    starve feed        => events: BufferingEnter, BufferingExit
    9.5 | 0.5          => lines: AdExit, AdSequenceExit, Play, progress 10.15, progress 10.4)");
  KyrStage("..ab..c").tell(R"(
    17 => events: WillPauseForAd, Pause, AdSequenceEnter, AdEnter, AdExit, AdEnter
    15 => events: AdExit, AdSequenceExit, Play, WillPauseForAd, Pause, AdSequenceEnter, AdEnter
    out => events: AdExit, AdSequenceExit, Play, End
    terminate => events: Terminate)");
}

TEST(PauseAndPlay, AreToldAsTheAdsWhileOnePlays) {
  KyrStage("..ab..").tell(R"(
    5 pause play      => events: Pause, Play
    | pauseAd resumeAd   => calls: pause, play
    7 | pause play    => events: AdPause, AdResume
    | pauseAd resumeAd   => calls: pause, play
    5 | pause play    => events: AdPause, AdResume
    5 | pause play    => events: Pause, Play
    | pauseAd resumeAd   => calls:)");
}

TEST(Durations, LeaveTheAdsOut) {
  KyrStage("a...b.").tell(R"(
    load    => lines: duration nan, seekable unknown
    ready30 => lines: duration 20, seekable 0+20, Ready)");
}

TEST(AStreamThatIsNotAsLongAsItsDocument, EndsEveryAdOnceBeforeItsEnd) {
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

TEST(AStreamThatIsShorterThanItsDocument, EntersNoAdAtItsEnd) {
  KyrStage("....", {}, -1).tell("@18.5 | out => lines: progress 18.75, progress 19, End");
  KyrStage("...aa", {}, -0.1).tell(R"(
    @24.9 => events:
    out   => events: End
          => beacons:)");
}

TEST(Beacons, AreNeverSentTwiceInOneViewing) {
  KyrStage stage(kStream, {.contentImpressions = {1, 9}});
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
