#include <gmock/gmock.h>

#include "KyrStage.h"

namespace {

using namespace tarn::test;

// Ads at absolute 10..20 s and 20..30 s.
constexpr const char* kStream = "..aabb....";

TEST(SkipTest, ContinuesALittleAfterTheEndOfTheAd) {
  KyrStage(kStream).tell(R"(
    run 12; forget; skip   => calls: pause, seek 20.2 -0 +0
    expect suspended; turn => events: AdPause, AdResume, AdExit, AdEnter
    expect following       => beacons: a-skip, a-complete, b-impression, b-creativeView, b-start
    skip; turn             => calls: play, pause, seek 30.2 -0 +0, play, canSeek
                           => events: AdPause, AdResume, AdExit, AdSequenceExit, Play
                           => beacons: b-skip, b-complete)");
}

TEST(SkipTest, ContinuesInTheAdWhenThePlayerCannotSeek) {
  KyrStage("..aa..").tell(R"(
    run 12; breakSeeking; forget; skip; turn; expect following => calls: pause, seek 20.2 -0 +0, play
    forget; run 0.5 => lines: AdProgress, AdProgress
    skip; turn      => beacons:)");
  KyrStage("..aa").tell(R"(
    run 12; breakSeeking; forget; skip; turn; expect following => calls: pause, hideLayer, seek 0 -0 +0, seek 20 -0 +0, play, showLayer
    forget; run 0.5 => lines: AdProgress, AdProgress)");
}

TEST(SkipTest, SeeksTheStreamsEndByAHiddenDetourThroughTheStart) {
  for (const auto& [difference, way] :  // of the stream's length from that of its document, which the ad ends
       {std::pair(0.0, "pause, hideLayer, seek 0 -0 +0, seek 20 -0 +0, play, showLayer, canSeek"),
        std::pair(-0.05, "pause, hideLayer, seek 0 -0 +0, seek 19.95 -0 +0, play, showLayer, canSeek"),
        std::pair(0.2, "pause, hideLayer, seek 0 -0 +0, seek 20.2 -0 +0, play, showLayer, canSeek"),
        std::pair(0.25, "pause, seek 20.2 -0 +0, play, canSeek")}) {
    KyrStage("..aa", {}, difference).tell("run 12; forget; skip; runOut => calls: " + std::string(way) + R"(
    => events: AdPause, AdResume, AdExit, AdSequenceExit, Play, End
    => beacons: a-skip, a-complete)");
  }
}

TEST(SkipTest, EndsTheDetourWhenTheApplicationResumesElsewhere) {
  KyrStage(".....aa").tell(R"(
    run 27; forget; skip; resumeAt 20 no; turn; expect following => calls: pause, hideLayer, seek 0 -0 +0, seek 20 -0 +0, play, showLayer)");
}

TEST(SkipTest, DoesNothingAfterTheSessionHasEndedInTheAd) {
  KyrStage(kStream).tell(R"(
    run 12; terminate; forget; skip; turn; releaseSession; skip; turn => calls:
                                                                      => beacons:)");
}

TEST(SkipTest, CountsAgainInTheNextPlayOfTheAd) {
  KyrStage("..aa....").tell(R"(
    run 12; forget; skip; turn => beacons: a-skip, a-complete
    seek 5; run 8; forget; skip; skip; turn; skip => beacons: a-skip, a-complete)");
}

// The third ad has the id of the first.
TEST(SkipTest, CountsOncePerPlayHoweverOftenTheButtonIsPressed) {
  KyrStage stage("..aaba....");
  stage.tell("run 12; forget; skip; skip => beacons: a-skip");
  const auto press =
      *stage.lastAd()->privateProperties().get<TarnAdSkipHandler>(kTarnAdPrivatePropertyKeySkipHandler);
  stage.tell("turn => calls: pause, seek 20.2 -0 +0, play");
  for (const auto* const later : {"", "run 6", "run 15"}) {  // the next ad, the third, content
    stage.tell(later);
    press();
  }
  stage.tell("=> calls: canSeek");
  EXPECT_THAT(stage.beacons(), ::testing::Not(::testing::Contains("a-skip")));
}

}  // namespace
