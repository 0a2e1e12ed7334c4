#include <gmock/gmock.h>

#include "KyrStage.h"

namespace {

using namespace tarn::test;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

// Ads at absolute 10..20 s and 20..30 s.
constexpr const char* kStream = "..aabb....";

TEST(SkippingAnAd, GoesOnALittleBehindItsEnd) {
  KyrStage stage(kStream);
  stage.play(12);
  stage.forget();
  stage.pressSkip();
  EXPECT_THAT(stage.calls(), ElementsAre("pause", "seek 20.2 -0 +0"));
  EXPECT_TRUE(stage.isSuspended());
  drainAll();
  EXPECT_THAT(stage.events(), ElementsAre("AdPause", "AdResume", "AdExit", "AdEnter"));
  EXPECT_FALSE(stage.isSuspended());
  EXPECT_THAT(stage.beacons(),
              ElementsAre("a-skip", "a-complete", "b-impression", "b-creativeView", "b-start"));
  stage.pressSkip();
  drainAll();
  EXPECT_THAT(stage.calls(), ElementsAre("play", "pause", "seek 30.2 -0 +0", "play", "canSeek"));
  EXPECT_THAT(stage.events(), ElementsAre("AdPause", "AdResume", "AdExit", "AdSequenceExit", "Play"));
  EXPECT_THAT(stage.beacons(), ElementsAre("b-skip", "b-complete"));
}

TEST(SkippingAnAd, CountsOnceHoweverOftenTheButtonIsPressed) {
  KyrStage stage(kStream);
  stage.play(12);
  stage.forget();
  const auto press =
      *stage.lastAd()->privateProperties().get<TarnAdSkipHandler>(kTarnAdPrivatePropertyKeySkipHandler);
  press();
  press();
  EXPECT_THAT(stage.beacons(), ElementsAre("a-skip"));
  drainAll();
  EXPECT_THAT(stage.calls(), ElementsAre("pause", "seek 20.2 -0 +0", "play"));
  press();  // the next ad plays
  stage.play(15);
  press();  // content plays
  EXPECT_THAT(stage.calls(), ElementsAre("canSeek"));
  EXPECT_THAT(stage.beacons(), Not(Contains("a-skip")));
}

TEST(SkippingAnAd, DoesNothingAfterTheSessionHasEndedInTheAd) {
  KyrStage stage(kStream);
  stage.play(12);
  stage.session->terminate();
  stage.forget();
  stage.pressSkip();
  stage.session.reset();
  stage.pressSkip();
  drainAll();
  EXPECT_THAT(stage.calls(), IsEmpty());
  EXPECT_THAT(stage.beacons(), IsEmpty());
}

struct End {
  const char* name;
  double difference;  // of the stream's length from that of its document, which the ad ends
  Lines calls;
};

void PrintTo(const End& end, std::ostream* out) {
  *out << end.name;
}

class SkippingAtTheStreamsEnd : public ::testing::TestWithParam<End> {};

TEST_P(SkippingAtTheStreamsEnd, TakesTheDetourThroughTheHiddenStart) {
  KyrStage stage("..aa", {}, GetParam().difference);
  stage.play(12);
  stage.forget();
  stage.pressSkip();
  stage.playOut();
  EXPECT_EQ(stage.calls(), GetParam().calls);
  EXPECT_THAT(stage.events(), ElementsAre("AdPause", "AdResume", "AdExit", "AdSequenceExit", "Play", "End"));
  EXPECT_THAT(stage.beacons(), ElementsAre("a-skip", "a-complete"));
}

INSTANTIATE_TEST_SUITE_P(
    Ends, SkippingAtTheStreamsEnd,
    ::testing::Values(
        End{"TheAdEndsTheStream",
            0,
            {"pause", "hideLayer", "seek 0 -0 +0", "seek 20 -0 +0", "play", "showLayer", "canSeek"}},
        End{"TheStreamBreaksOffInTheAd",
            -0.05,
            {"pause", "hideLayer", "seek 0 -0 +0", "seek 19.95 -0 +0", "play", "showLayer", "canSeek"}},
        End{"TheStreamEndsWhereTheSkipLands",
            0.2,
            {"pause", "hideLayer", "seek 0 -0 +0", "seek 20.2 -0 +0", "play", "showLayer", "canSeek"}},
        End{"TheStreamEndsBehindIt", 0.25, {"pause", "seek 20.2 -0 +0", "play", "canSeek"}}),
    [](const auto& test) { return test.param.name; });

TEST(SkippingAnAd, GoesOnInTheAdWhenThePlayerCannotSeek) {
  for (const auto& [drawing, way] : {std::pair("..aa..", Lines{"pause", "seek 20.2 -0 +0", "play"}),
                                     std::pair("..aa", Lines{"pause", "hideLayer", "seek 0 -0 +0",
                                                             "seek 20 -0 +0", "play", "showLayer"})}) {
    KyrStage stage(drawing);
    stage.play(12);
    stage.player().breakSeeking();
    stage.forget();
    stage.pressSkip();
    drainAll();
    EXPECT_EQ(stage.calls(), way);
    EXPECT_FALSE(stage.isSuspended());
    stage.forget();
    stage.play(0.5);
    EXPECT_THAT(stage.lines(), ElementsAre("AdProgress", "AdProgress"));
  }
}

struct SkipOffset {
  const char* attribute;
  int skippable;
  float time;
};

TEST(AHostAd, TellsItsControlsWhatTheyNeed) {
  for (const auto& [attribute, skippable, time] :
       {SkipOffset{"skipoffset='00:00:01'", 0, 1.0F}, SkipOffset{"skipoffset='00:00:01.500'", 1, 1.5F},
        SkipOffset{"skipoffset='50%'", 1, 5.0F}}) {
    KyrStage stage("aa..", {.linearAttributes = attribute,
                            .linearContent = "<VideoClicks><ClickThrough>http://shop/</ClickThrough>"
                                             "<ClickTracking>http://t/1</ClickTracking>"
                                             "<ClickTracking>http://t/2</ClickTracking></VideoClicks>"});
    stage.play(1);
    const auto ad = stage.lastAd();
    const auto& properties = ad->privateProperties();
    EXPECT_EQ(properties.size(), 5U);
    EXPECT_THAT(*properties.get<Lines>(kTarnAdPrivatePropertyKeyClickthroughURLs),
                ElementsAre("http://shop/"));
    EXPECT_THAT(*properties.get<Lines>(kTarnAdPrivatePropertyKeyTrackingURLs),
                ElementsAre("http://t/1", "http://t/2"));
    EXPECT_EQ(*properties.get<int>(kTarnAdPrivatePropertyKeySkippable), skippable) << attribute;
    EXPECT_EQ(*properties.get<float>(kTarnAdPrivatePropertyKeySkipTime), time);
  }
}

TEST(AHostAd, CarriesTheParsedAdAndItsExtensions) {
  KyrStage stage("..aa..", {.linearContent = "<CreativeExtensions><CreativeExtension/></CreativeExtensions>",
                            .inLineContent = "<Extensions><Extension type='x'/><Extension/></Extensions>"});
  stage.play(12);
  const auto ad = stage.lastAd();
  EXPECT_EQ(ad->title(), "Ad a");
  EXPECT_EQ(ad->adId(), "a");
  EXPECT_EQ(CMTimeGetSeconds(ad->beginTime()), 10);
  EXPECT_EQ(CMTimeGetSeconds(ad->duration()), 10);
  const auto* parsed = ad->properties().get<std::shared_ptr<const TarnLumoAd>>(kTarnKyrAdPropertiesKeyLumoAd);
  ASSERT_NE(parsed, nullptr);
  EXPECT_TRUE((*parsed)->isEqualToAd(*stage.session->timeline()->adSequences()[0]->ads()[0]));
  using Extensions = std::vector<tarn::Dictionary>;
  EXPECT_EQ(ad->properties().get<Extensions>(kTarnKyrVASTAdCreativeExtensionsKey)->size(), 1U);
  EXPECT_EQ(ad->properties().get<Extensions>(kTarnKyrVASTAdExtensionsKey)->size(), 2U);
}

TEST(AHostAd, HasEmptyListsWhereThereIsNothingToClickAndNoEntriesForAbsentExtensions) {
  KyrStage stage("aa..");
  stage.play(1);
  const auto ad = stage.lastAd();
  EXPECT_EQ(ad->properties().size(), 1U);
  EXPECT_EQ(ad->privateProperties().size(), 5U);
  EXPECT_THAT(*ad->privateProperties().get<Lines>(kTarnAdPrivatePropertyKeyClickthroughURLs), IsEmpty());
  EXPECT_THAT(*ad->privateProperties().get<Lines>(kTarnAdPrivatePropertyKeyTrackingURLs), IsEmpty());
  EXPECT_EQ(*ad->privateProperties().get<int>(kTarnAdPrivatePropertyKeySkippable), 0);
}

}  // namespace
