#include <gmock/gmock.h>

#include "KyrStage.h"
#include "Support/TimePrinter.h"

namespace {

using namespace tarn::test;

TEST(LifecycleTranslatorTest, PutsTheAdsOfABreakIntoItsEvents) {
  KyrStage stage("..ab..");
  stage.tell("run 12; pause; play; run 5");
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
  stage.tell("run 5");
  EXPECT_EQ(stage.lastEvent("AdSequenceExit")->adSequence()->ads().size(), 2U);
}

TEST(LifecycleTranslatorTest, PassesOnTrackerEventsWithoutAnAdOrOfAnUnknownType) {
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

TEST(LifecycleTranslatorTest, ReportsABreakAsAPauseOfTheContent) {
  KyrStage("..aa..").tell(R"(
    place 9.4; run 0.25; forget; run 0.75 => lines: progress 9.9, WillPauseForAd, Pause, AdSequenceEnter, AdEnter, AdProgress, AdProgress
    loadedTo 25                           => lines: loaded 0+15
    ready 30                              => lines: seekable 0+20
    starve; feed                          => events: BufferingEnter, BufferingExit
    run 9.5; forget; run 0.5              => lines: AdExit, AdSequenceExit, Play, progress 10.15, progress 10.4)");
  KyrStage("..ab..c").tell(R"(
    run 17    => events: WillPauseForAd, Pause, AdSequenceEnter, AdEnter, AdExit, AdEnter
    run 15    => events: AdExit, AdSequenceExit, Play, WillPauseForAd, Pause, AdSequenceEnter, AdEnter
    runOut    => events: AdExit, AdSequenceExit, Play, End
    terminate => events: Terminate)");
}

TEST(LifecycleTranslatorTest, ReportsPauseAndPlayAsThoseOfTheAdWhileOnePlays) {
  KyrStage("..ab..").tell(R"(
    run 5; pause; play         => events: Pause, Play
    forget; pauseAd; resumeAd  => calls: pause, play
    run 7; forget; pause; play => events: AdPause, AdResume
    forget; pauseAd; resumeAd  => calls: pause, play
    run 5; forget; pause; play => events: AdPause, AdResume
    run 5; forget; pause; play => events: Pause, Play
    forget; pauseAd; resumeAd  => calls:)");
}

}  // namespace
