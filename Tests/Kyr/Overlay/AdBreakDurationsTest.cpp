#include "Overlay/Internal/AdBreakDurations.h"

#include <gmock/gmock.h>

#include "Kyr/Internal/HostAds.h"
#include "Kyr/TarnKyrConstants.h"
#include "ScriptedSession.h"
#include "Support/TimePrinter.h"

namespace tarn::test {
namespace {

TEST(AdBreakDurationsTest, HasAnEntryForEachParsedAdAndOneForTheTotal) {
  const auto a = makeAd({.duration = 10, .id = "a"});
  const auto b = makeAd({.beginTime = 10, .duration = 5, .id = "b"});
  const auto unparsed =
      std::make_shared<const TarnAd>("title", "id", kCMTimeZero, seconds(7), tarn::Dictionary());
  HostAds hostAds([](const auto&) {});
  const auto table = adBreakDurations(std::make_shared<const TarnAdSequence>(
      TarnAdSequence::Ads{hostAds.adForLumoAd(a), unparsed, hostAds.adForLumoAd(b)}, tarn::Dictionary()));
  ASSERT_EQ(table.size(), 3U);
  const double expected[] = {0, 10, 15};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_THAT(*table[i].get<CMTime>("kAccumatedDuration"), SecondsEq(expected[i]));
    EXPECT_EQ(table[i].contains(kTarnKyrAdPropertiesKeyLumoAd), i < 2);
  }
  EXPECT_THAT(remainingTime(table, b, seconds(2)), SecondsEq(3.));
  EXPECT_THAT(remainingTime(table, nullptr, seconds(2)), SecondsEq(13.));
  for (const auto& empty : {adBreakDurations(nullptr), AdBreakDurations(), AdBreakDurations(1)})
    EXPECT_THAT(remainingTime(empty, a, seconds(2)), SecondsEq(-2.));
}

}  // namespace
}  // namespace tarn::test
