#include <gmock/gmock.h>

#include <set>

#include "KyrStage.h"
#include "Support/TimePrinter.h"

namespace {

using namespace tarn::test;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

constexpr const char* kStream = "..aaa....bbb......";

TEST(ABreak, IsToldAsAPauseOfTheContent) {
  KyrStage stage("..ab..c");
  stage.playOut();
  EXPECT_THAT(stage.events(), ElementsAre("WillPauseForAd", "Pause", "AdSequenceEnter", "AdEnter", "AdExit",
                                          "AdEnter", "AdExit", "AdSequenceExit", "Play",  //
                                          "WillPauseForAd", "Pause", "AdSequenceEnter", "AdEnter", "AdExit",
                                          "AdSequenceExit", "Play", "End"));
}

TEST(ABreak, CarriesItsAdsInItsEvents) {
  KyrStage stage("..ab..");
  stage.play(12);
  const auto sequence = stage.lastEvent("AdSequenceEnter")->adSequence();
  ASSERT_NE(sequence, nullptr);
  ASSERT_EQ(sequence->ads().size(), 2U);
  EXPECT_EQ(sequence->ads()[1]->adId(), "b");
  const auto* parsed = sequence->properties().get<std::shared_ptr<const TarnLumoAdSequence>>(
      kTarnKyrAdPropertiesKeyLumoAdSequence);
  ASSERT_NE(parsed, nullptr);
  EXPECT_EQ((*parsed)->ads().size(), 2U);
  const auto progress = stage.lastEvent("AdProgress");
  EXPECT_EQ(progress->ad()->adId(), "a");
  EXPECT_THAT(progress->adProgress().value(), SecondsEq(2));
  EXPECT_EQ(stage.lastEvent("WillPauseForAd")->properties(), std::nullopt);
  EXPECT_EQ(stage.lastEvent("Pause")->properties(), std::nullopt);
  stage.play(5);
  EXPECT_EQ(stage.lastEvent("AdExit")->ad()->adId(), "a");
  stage.play(5);
  EXPECT_EQ(stage.lastEvent("AdSequenceExit")->adSequence()->ads().size(), 2U);
}

TEST(PauseAndPlay, AreToldAsTheAdsWhileOnePlays) {
  KyrStage stage("..ab..");
  const auto pauseAndPlay = [&stage] {
    (void)stage.events();
    stage.session->avPlayerPause();
    stage.session->avPlayerPlay();
    return stage.events();
  };
  stage.play(5);
  EXPECT_THAT(pauseAndPlay(), ElementsAre("Pause", "Play"));
  stage.play(7);
  EXPECT_THAT(pauseAndPlay(), ElementsAre("AdPause", "AdResume"));
  EXPECT_EQ(stage.lastEvent("AdPause")->ad()->adId(), "a");
  stage.play(5);
  EXPECT_THAT(pauseAndPlay(), ElementsAre("AdPause", "AdResume"));
  EXPECT_EQ(stage.lastEvent("AdResume")->ad()->adId(), "b");
  stage.play(5);
  EXPECT_THAT(pauseAndPlay(), ElementsAre("Pause", "Play"));
}

TEST(OtherEventsOfTheStream, ArriveAsTheyAreInAnAd) {
  KyrStage stage("..ab..");
  stage.play(12);
  (void)stage.events();
  stage.player().starve(true);
  stage.player().starve(false);
  stage.session->terminate();
  EXPECT_THAT(stage.events(), ElementsAre("BufferingEnter", "BufferingExit", "Terminate"));
}

TEST(ContentProgress, IsSilentWhileABreakPlaysAndTheRangesAreNot) {
  KyrStage stage("..aa..");
  stage.jump(at(9.4));
  stage.play(0.25);
  stage.forget();
  stage.play(0.75);
  EXPECT_THAT(stage.lines(), ElementsAre("progress 9.9", "WillPauseForAd", "Pause", "AdSequenceEnter",
                                         "AdEnter", "AdProgress", "AdProgress"));
  stage.player().setLoadedTo(25);
  EXPECT_THAT(stage.lines(), ElementsAre("loaded 0+15"));
  stage.play(9.5);
  stage.forget();
  stage.play(0.5);
  EXPECT_THAT(stage.lines(),
              ElementsAre("AdExit", "AdSequenceExit", "Play", "progress 10.15", "progress 10.4"));
}

TEST(Durations, LeaveTheAdsOut) {
  KyrStage stage("aa....................b....................", {.secondsPerCell = 15});
  stage.session->loadVideoURL(*tarn::URL::fromString("http://stream.example/again.m3u8"));
  EXPECT_THAT(stage.lines(), ElementsAre("duration nan", "seekable unknown"));
  stage.player().becomeReady(645);
  EXPECT_THAT(stage.lines(), ElementsAre("duration 600", "seekable 0+600", "Ready"));
}

TEST(PausingAnAd, WorksInsideABreakAndBeforeTheFirst) {
  KyrStage stage("..aa..");
  const auto pauseAndResume = [&stage] {
    (void)stage.calls();
    stage.session->pauseAd();
    stage.session->resumeAd();
    return stage.calls();
  };
  EXPECT_THAT(pauseAndResume(), ElementsAre("pause", "play"));
  stage.play(12);
  EXPECT_THAT(pauseAndResume(), ElementsAre("pause", "play"));
  stage.play(10);
  EXPECT_THAT(pauseAndResume(), IsEmpty());
}

struct StreamLength {
  const char* drawing;
  double difference;
};

class AStreamThatIsNotAsLongAsItsDocument : public ::testing::TestWithParam<StreamLength> {};

TEST_P(AStreamThatIsNotAsLongAsItsDocument, EndsEveryAdOnceBeforeItsEnd) {
  KyrStage stage(GetParam().drawing, {}, GetParam().difference);
  for (int viewing = 0; viewing < 2; ++viewing) {
    stage.playOut();
    const Lines events = stage.events();
    EXPECT_THAT(events, ElementsAre("WillPauseForAd", "Pause", "AdSequenceEnter", "AdEnter", "AdExit",
                                    "AdSequenceExit", "Play", "End"));
    EXPECT_THAT(stage.beacons(), ElementsAre("a-impression", "a-creativeView", "a-start", "a-firstQuartile",
                                             "a-midpoint", "a-thirdQuartile", "a-complete"));
    EXPECT_TRUE(stage.session->canSeek());
    stage.seek(at(1));  // and once more
    drainAll();
    stage.session->avPlayerPlay();
    stage.forget();
  }
}

INSTANTIATE_TEST_SUITE_P(Lengths, AStreamThatIsNotAsLongAsItsDocument,
                         ::testing::Values(StreamLength{"...aa", -0.1}, StreamLength{"...aa", -2},
                                           StreamLength{"...aa", 0}, StreamLength{"...aa", 4},
                                           StreamLength{"...aa.", -0.1}));

TEST(AStreamThatIsShorterThanItsDocument, EntersNoAdAtItsEnd) {
  KyrStage stage("...aa", {}, -0.1);
  stage.session->player()->seekToTime(at(24.9), kCMTimeZero, kCMTimeZero, nullptr);
  drainAll();
  EXPECT_THAT(stage.events(), IsEmpty());
  stage.playOut();
  EXPECT_THAT(stage.events(), ElementsAre("End"));
  EXPECT_THAT(stage.beacons(), IsEmpty());
}

TEST(Beacons, AreNeverSentTwiceInOneViewing) {
  KyrStage stage(kStream, {.contentImpressions = {1, 9}});
  stage.play(5);
  stage.session->avPlayerPause();
  stage.session->avPlayerPlay();
  stage.seek(at(50));  // over both breaks: the second one plays
  drainAll();
  stage.play(2);
  stage.session->pauseAd();
  stage.session->resumeAd();
  stage.player().starve(true);
  stage.player().starve(false);
  stage.playOut();
  EXPECT_THAT(stage.beacons(), ElementsAre("impression-1", "b-impression", "b-creativeView", "b-start",
                                           "b-firstQuartile", "b-midpoint", "b-thirdQuartile", "b-complete"));

  stage.seek(at(8));  // back, and through the first break
  drainAll();
  stage.session->avPlayerPlay();
  stage.play(22);
  const Lines beacons = stage.beacons();
  EXPECT_THAT(beacons, AllOf(Contains("a-impression"), Contains("a-complete"), Contains("impression-9"),
                             Not(Contains(StartsWith("b")))));
  EXPECT_EQ(std::set(beacons.begin(), beacons.end()).size(), beacons.size());
}

}  // namespace
