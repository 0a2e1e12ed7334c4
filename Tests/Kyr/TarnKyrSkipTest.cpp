#include <gmock/gmock.h>

#include "KyrStage.h"
#include "Support/TimePrinter.h"

namespace {

using namespace tarn::test;
using ::testing::ElementsAre;

// Ads at absolute 10..20 s and 20..30 s.
constexpr const char* kStream = "..aabb....";

TEST(SkippingAnAd, GoesOnALittleBehindItsEnd) {
  KyrStage(kStream).tell(R"(
    12 | skip       => calls: pause, seek 20.2 -0 +0
    ?suspended turn => events: AdPause, AdResume, AdExit, AdEnter
    ?following      => beacons: a-skip, a-complete, b-impression, b-creativeView, b-start
    skip turn       => calls: play, pause, seek 30.2 -0 +0, play, canSeek
                    => events: AdPause, AdResume, AdExit, AdSequenceExit, Play
                    => beacons: b-skip, b-complete)");
}

TEST(SkippingAnAd, GoesOnInTheAdWhenThePlayerCannotSeek) {
  KyrStage("..aa..").tell(R"(
    12 breakSeeking | skip turn ?following => calls: pause, seek 20.2 -0 +0, play
    | 0.5 => lines: AdProgress, AdProgress
    skip turn => beacons:)");
  KyrStage("..aa").tell(R"(
    12 breakSeeking | skip turn ?following => calls: pause, hideLayer, seek 0 -0 +0, seek 20 -0 +0, play, showLayer
    | 0.5 => lines: AdProgress, AdProgress)");
}

TEST(SkippingAtTheStreamsEnd, TakesTheDetourThroughTheHiddenStart) {
  for (const auto& [difference, way] :  // of the stream's length from that of its document, which the ad ends
       {std::pair(0.0, "pause, hideLayer, seek 0 -0 +0, seek 20 -0 +0, play, showLayer, canSeek"),
        std::pair(-0.05, "pause, hideLayer, seek 0 -0 +0, seek 19.95 -0 +0, play, showLayer, canSeek"),
        std::pair(0.2, "pause, hideLayer, seek 0 -0 +0, seek 20.2 -0 +0, play, showLayer, canSeek"),
        std::pair(0.25, "pause, seek 20.2 -0 +0, play, canSeek")}) {
    KyrStage("..aa", {}, difference).tell("12 | skip out => calls: " + std::string(way) + R"(
                    => events: AdPause, AdResume, AdExit, AdSequenceExit, Play, End
                    => beacons: a-skip, a-complete)");
  }
}

TEST(SkippingAtTheStreamsEnd, GivesWayWhenTheApplicationResumesElsewhere) {
  KyrStage(".....aa").tell(R"(
    27 | skip resumeAt20 turn ?following => calls: pause, hideLayer, seek 0 -0 +0, seek 20 -0 +0, play, showLayer)");
}

TEST(SkippingAnAd, DoesNothingAfterTheSessionHasEndedInTheAd) {
  KyrStage(kStream).tell(R"(
    12 terminate | skip turn gone skip turn => calls:
                    => beacons:)");
}

// The third ad has the id of the first.
TEST(SkippingAnAd, CountsOnceHoweverOftenTheButtonIsPressed) {
  KyrStage stage("..aaba....");
  stage.tell("12 | skip skip => beacons: a-skip");
  const auto press =
      *stage.lastAd()->privateProperties().get<TarnAdSkipHandler>(kTarnAdPrivatePropertyKeySkipHandler);
  stage.tell("turn => calls: pause, seek 20.2 -0 +0, play");
  for (const auto* const later : {"", "6", "15"}) {  // the next ad, the third, content
    stage.tell(later);
    press();
  }
  stage.tell("=> calls: canSeek");
  EXPECT_THAT(stage.beacons(), ::testing::Not(::testing::Contains("a-skip")));
}

TEST(AHostAd, CarriesTheParsedAdItsExtensionsAndWhatItsControlsNeed) {
  KyrStage stage("b..aa..", {.linearAttributes = "skipoffset='50%'",
                             .linearContent = "<VideoClicks><ClickThrough>http://shop/</ClickThrough>"
                                              "<ClickTracking>http://t/1</ClickTracking>"
                                              "<ClickTracking>http://t/2</ClickTracking></VideoClicks>"
                                              "<CreativeExtensions><CreativeExtension/></CreativeExtensions>",
                             .inLineContent = "<Extensions><Extension type='x'/><Extension/></Extensions>"});
  stage.play(17);
  const auto ad = stage.lastAd();
  EXPECT_EQ(ad->title().value() + " is " + ad->adId().value(), "Ad a is a");
  EXPECT_THAT(std::pair(ad->beginTime(), ad->duration()), ::testing::Pair(SecondsEq(10), SecondsEq(10)));
  const auto& properties = ad->properties();
  const auto& parsed = *properties.get<std::shared_ptr<const TarnLumoAd>>(kTarnKyrAdPropertiesKeyLumoAd);
  EXPECT_TRUE(parsed->isEqualToAd(*stage.session->timeline()->adSequences()[1]->ads()[0]));
  using Extensions = std::vector<tarn::Dictionary>;
  EXPECT_EQ(properties.get<Extensions>(kTarnKyrVASTAdCreativeExtensionsKey)->size(), 1U);
  EXPECT_EQ(properties.get<Extensions>(kTarnKyrVASTAdExtensionsKey)->size(), 2U);
  const auto& hidden = ad->privateProperties();
  EXPECT_THAT(*hidden.get<Lines>(kTarnAdPrivatePropertyKeyClickthroughURLs), ElementsAre("http://shop/"));
  EXPECT_THAT(*hidden.get<Lines>(kTarnAdPrivatePropertyKeyTrackingURLs),
              ElementsAre("http://t/1", "http://t/2"));
}

TEST(AHostAd, IsSkippableFromMoreThanASecondOn) {
  for (const auto& [attribute, skippable, time] :
       {std::tuple("skipoffset='00:00:01'", 0, 1.0F), std::tuple("skipoffset='00:00:01.500'", 1, 1.5F),
        std::tuple("skipoffset='50%'", 1, 5.0F)}) {
    KyrStage stage("aa..", {.linearAttributes = attribute});
    stage.play(1);
    const auto ad = stage.lastAd();
    EXPECT_EQ(*ad->privateProperties().get<int>(kTarnAdPrivatePropertyKeySkippable), skippable) << attribute;
    EXPECT_EQ(*ad->privateProperties().get<float>(kTarnAdPrivatePropertyKeySkipTime), time);
  }
}

TEST(AHostAd, HasEmptyListsWhereThereIsNothingToClickAndNoEntriesForAbsentExtensions) {
  KyrStage stage("aa..");
  stage.play(1);
  const auto ad = stage.lastAd();
  EXPECT_EQ(ad->properties().size(), 1U);
  EXPECT_EQ(ad->privateProperties().size(), 5U);
  for (const auto* const key :
       {kTarnAdPrivatePropertyKeyClickthroughURLs, kTarnAdPrivatePropertyKeyTrackingURLs})
    EXPECT_THAT(*ad->privateProperties().get<Lines>(key), ::testing::IsEmpty());
  EXPECT_EQ(*ad->privateProperties().get<int>(kTarnAdPrivatePropertyKeySkippable), 0);
}

}  // namespace
