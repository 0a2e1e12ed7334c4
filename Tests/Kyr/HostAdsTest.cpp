#include <gmock/gmock.h>

#include <set>

#include "KyrStage.h"
#include "Support/TimePrinter.h"

namespace {

using namespace tarn::test;
using ::testing::ElementsAre;

TEST(HostAdsTest, AreTheSameObjectsInAllEventsOfAllPlays) {
  KyrStage stage("..ab....");
  TarnAdSequence::Ads seen;
  std::set<std::shared_ptr<const TarnAdSequence>> adSequences;
  stage.session->lifecycle().subscribeNext([&](const auto& event) {
    if (const auto ad = event->ad()) seen.push_back(ad);
    const auto adSequence = event->adSequence();
    if (!adSequence) return;
    adSequences.insert(adSequence);
    seen.insert(seen.end(), adSequence->ads().begin(), adSequence->ads().end());
  });
  stage.tell("run 12; pause; play; run 12; seek 5; run 18; forget");
  EXPECT_GT(seen.size(), 80U);
  EXPECT_EQ(std::set(seen.begin(), seen.end()).size(), 2U);
  EXPECT_EQ(adSequences.size(), 1U);
}

TEST(HostAdsTest, CarryTheParsedAdItsExtensionsAndTheClickURLs) {
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

TEST(HostAdsTest, AreSkippableWithASkipOffsetOverOneSecond) {
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

TEST(HostAdsTest, HaveEmptyListsWithoutClickURLsAndNoEntriesForAbsentExtensions) {
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
