#include "Lumo/TarnLumoAd.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "Lumo/TarnLumoAd+Private.h"
#include "Lumo/TarnLumoAdSequence.h"
#include "Support/TimePrinter.h"

namespace {

using tarn::test::IdenticalTo;
using tarn::test::IsInvalidTime;
using tarn::test::seconds;
using tarn::test::SecondsEq;
using tarn::test::TimeEq;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::Pointee;
using ::testing::Property;

tarn::URL url(const std::string& path) {
  return *tarn::URL::fromString("https://t.example/" + path);
}

std::vector<std::string> paths(const std::vector<tarn::URL>& urls) {
  std::vector<std::string> result;
  for (const auto& each : urls) result.push_back(each.absoluteString().substr(18));
  return result;
}

std::shared_ptr<const TarnLumoTrackingEventsCollection> startQuartileCompletePause() {
  TarnLumoTrackingEventsCollectionBuilder builder;
  EXPECT_TRUE(builder.addTrackingEventNamed("firstQuartile", "7.5", url("quartile")));
  EXPECT_TRUE(builder.addTrackingEventNamed("start", "0", url("start")));
  EXPECT_TRUE(builder.addTrackingEventNamed("complete", "30", url("complete")));
  builder.addTrackingEventNamed("pause", url("pause"));
  return builder.buildTrackingEventsCollection();
}

TarnLumoAdBuilder fullAd() {
  TarnLumoCompanionAdsCollectionBuilder companions;
  TarnLumoCompanionAdBuilder companion;
  companion.width = 300;
  companion.height = 250;
  companions.addCompanionAd(companion.buildCompanionAd());
  TarnLumoAdBuilder builder;
  builder.adTitle = "Tea";
  builder.adId = "a1";
  builder.beginTime = seconds(630);
  builder.duration = seconds(30);
  builder.logicalOffset = seconds(600);
  builder.skipOffset = seconds(5);
  builder.impressionURLs = {url("i1"), url("i2")};
  builder.trackingEventsCollection = startQuartileCompletePause();
  builder.clickThroughURL = url("through");
  builder.clickTrackingURLs = {url("c1")};
  builder.companionsCollection = companions.buildCompanionAdsCollection();
  return builder;
}

TEST(TarnLumoAdTest, StoresTheEndThatBeginAndDurationGive) {
  EXPECT_THAT(fullAd().buildAd()->endTime(), SecondsEq(660));

  const auto bare = TarnLumoAdBuilder().buildAd();
  for (const CMTime& time : {bare->beginTime(), bare->duration(), bare->endTime(), bare->skipOffset()}) {
    EXPECT_THAT(time, IsInvalidTime());
  }
  TarnLumoAdBuilder withoutDuration;
  withoutDuration.beginTime = seconds(630);
  EXPECT_THAT(withoutDuration.buildAd()->endTime(), IsInvalidTime());
}

TEST(TarnLumoAdTest, LaterChangesOfABuilderDoNotReachWhatItBuilt) {
  TarnLumoAdBuilder builder = fullAd();
  const auto first = builder.buildAd();
  builder.beginTime = seconds(700);
  builder.clickTrackingURLs.push_back(url("c2"));
  const auto second = builder.buildAd();

  EXPECT_THAT(first->beginTime(), SecondsEq(630));
  EXPECT_THAT(first->endTime(), SecondsEq(660));
  EXPECT_THAT(paths(first->clickTrackingURLs()), ElementsAre("c1"));
  EXPECT_THAT(second->endTime(), SecondsEq(730));
}

struct AdChange {
  const char* field;
  std::function<void(TarnLumoAdBuilder&)> apply;
  bool equal = false;
};

void PrintTo(const AdChange& change, std::ostream* out) {
  *out << change.field;
}

class AdEquality : public ::testing::TestWithParam<AdChange> {};

TEST_P(AdEquality, LooksAtEveryFieldButTheExtensions) {
  auto builder = fullAd();
  GetParam().apply(builder);
  const auto original = fullAd().buildAd();
  const auto changed = builder.buildAd();
  EXPECT_EQ(*original == *changed, GetParam().equal);
  EXPECT_EQ(*changed == *original, GetParam().equal);
  EXPECT_EQ(TarnLumoAdSequence({original}) == TarnLumoAdSequence({changed}), GetParam().equal);
  if (GetParam().equal) {
    EXPECT_EQ(original->hash(), changed->hash());
  } else {
    EXPECT_NE(original->hash(), changed->hash());
  }
}

using Builder = TarnLumoAdBuilder;
INSTANTIATE_TEST_SUITE_P(
    Fields, AdEquality,
    ::testing::Values(
        AdChange{"nothing", [](Builder&) {}, true},
        AdChange{"creative extensions", [](Builder& b) { b.vastAdCreativeExtensions.emplace(); }, true},
        AdChange{"ad extensions", [](Builder& b) { b.vastAdExtensions.emplace(); }, true},
        AdChange{"the same begin in another timescale",
                 [](Builder& b) { b.beginTime = CMTimeMake(630 * 90000, 90000); }, true},
        AdChange{"title", [](Builder& b) { b.adTitle = std::nullopt; }},
        AdChange{"id", [](Builder& b) { b.adId = "a2"; }},
        AdChange{"begin", [](Builder& b) { b.beginTime = seconds(631); }},
        AdChange{"duration", [](Builder& b) { b.duration = seconds(29); }},
        AdChange{"logical offset", [](Builder& b) { b.logicalOffset = kCMTimePositiveInfinity; }},
        AdChange{"skip offset", [](Builder& b) { b.skipOffset = kCMTimeInvalid; }},
        AdChange{"impressions", [](Builder& b) { std::swap(b.impressionURLs[0], b.impressionURLs[1]); }},
        AdChange{"tracking events", [](Builder& b) { b.trackingEventsCollection = nullptr; }},
        AdChange{"click through", [](Builder& b) { b.clickThroughURL = std::nullopt; }},
        AdChange{"click tracking", [](Builder& b) { b.clickTrackingURLs.push_back(url("c1")); }},
        AdChange{"companions", [](Builder& b) { b.companionsCollection = nullptr; }}));

TEST(TarnLumoAdTest, DescribesItselfPieceByPiece) {
  TarnLumoAdBuilder builder = fullAd();
  builder.trackingEventsCollection = nullptr;
  const auto ad = builder.buildAd();
  EXPECT_THAT(ad->description(),
              MatchesRegex("<TarnLumoAd: 0x[0-9a-f]+; title = Tea; adId = a1; beginTime = [^;]*; "
                           "endTime = [^;]*; duration = [^;]*; skipOffset = [^;]*; "
                           "impressionURLs = \\(https://t.example/i1, https://t.example/i2\\); "
                           "trackingEvents = \\(null\\); clickThroughURL = https://t.example/through; "
                           "clickTrackingURLs = \\(https://t.example/c1\\); "
                           "companionCollections = <TarnLumoCompanionAdsCollection: 0x.*"
                           "<TarnLumoCompanionAd: 0x[0-9a-f]+; ID = \\(null\\); size = \\{300, 250\\};.*>"));
  EXPECT_THAT(TarnLumoAdSequence({ad}).description(),
              MatchesRegex("<TarnLumoAdSequence: 0x[0-9a-f]+; ads = \\(<TarnLumoAd: .*>\\); "
                           "beginTime = [^;]*; endTime = [^;]*; duration = [^;]*; logicalOffset = [^;]*;>"));
  EXPECT_THAT(startQuartileCompletePause()->description(),
              MatchesRegex("<TarnLumoTrackingEventsCollection: 0x[0-9a-f]+; "
                           "eventsByName = \\{complete = \\(<TarnLumoTrackingEvent: 0x[0-9a-f]+; "
                           "name = complete; offset = [^;]*; url = https://t.example/complete;>\\);.*\\}; "
                           "orderedEventsWithOffsets = \\(.*\\);>"));
}

TEST(TarnLumoAdSequenceTest, SpansItsAds) {
  auto first = fullAd();
  auto second = fullAd();
  second.beginTime = seconds(661);
  second.duration = seconds(15);
  second.logicalOffset = seconds(1);
  const TarnLumoAdSequence sequence({first.buildAd(), second.buildAd()});
  EXPECT_THAT(sequence.beginTime(), SecondsEq(630));
  EXPECT_THAT(sequence.endTime(), SecondsEq(676));
  EXPECT_THAT(sequence.duration(), SecondsEq(45)) << "the gap of one second is no part of it";
  EXPECT_THAT(sequence.logicalOffset(), SecondsEq(600));

  const TarnLumoAdSequence empty({});
  EXPECT_THAT(empty.duration(), IdenticalTo(kCMTimeZero));
  for (const CMTime& time : {empty.beginTime(), empty.endTime(), empty.logicalOffset()}) {
    EXPECT_THAT(time, IdenticalTo(CMTime{}));
  }
}

TEST(TarnLumoTrackingEventsTest, OrdersEventsWithAnOffsetExceptCompletion) {
  const auto events = startQuartileCompletePause();
  EXPECT_THAT(events->orderedEventsWithOffsets(),
              ElementsAre(Pointee(Property(&TarnLumoTrackingEvent::offset, SecondsEq(0))),
                          Pointee(Property(&TarnLumoTrackingEvent::offset, SecondsEq(7.5)))));
  EXPECT_THAT(paths(events->URLsForTrackingEventsNamed("complete")), ElementsAre("complete"));
  EXPECT_THAT(paths(events->URLsForTrackingEventsNamed("pause")), ElementsAre("pause"));
  EXPECT_THAT(events->URLsForTrackingEventsNamed("Complete"), IsEmpty());
}

struct Interval {
  CMTime from;
  CMTime to;
  std::vector<std::string> due;
};

TEST(TarnLumoTrackingEventsTest, FindsTheEventsOfAHalfOpenInterval) {
  const auto events = startQuartileCompletePause();
  const CMTime tick = CMTimeMake(1, 600);
  const CMTime quartile = seconds(7.5);
  const Interval table[] = {
      {kCMTimeZero, quartile, {"start"}},
      {kCMTimeZero, CMTimeAdd(quartile, tick), {"start", "quartile"}},
      {tick, quartile, {}},
      {quartile, seconds(8), {"quartile"}},
      {CMTimeSubtract(quartile, tick), quartile, {}},
      {CMTimeAdd(quartile, tick), seconds(60), {}},
      {quartile, quartile, {}},
      {seconds(8), kCMTimeZero, {}},
      {kCMTimeNegativeInfinity, kCMTimePositiveInfinity, {"start", "quartile"}},
      {kCMTimeZero, kCMTimeInvalid, {"start", "quartile"}},
      {kCMTimeInvalid, kCMTimeInvalid, {}},
  };
  for (const auto& row : table) {
    EXPECT_EQ(paths(events->URLsForTrackingEventsAtOrAfter(row.from, row.to)), row.due)
        << CMTimeCopyDescription(row.from) << " to " << CMTimeCopyDescription(row.to);
  }
}

TEST(TarnLumoTrackingEventsTest, KeepsDocumentOrderWithinANameAndSkipsMissingURLs) {
  TarnLumoTrackingEventsCollectionBuilder builder;
  builder.addTrackingEventNamed("mute", url("1"));
  builder.addTrackingEventNamed("mute", "9", std::nullopt);
  builder.addTrackingEventNamed("mute", "2", url("2"));
  builder.addTrackingEventNamed(std::nullopt, url("nameless"));
  const auto events = builder.buildTrackingEventsCollection();

  EXPECT_EQ(events->eventsByName().at("mute").size(), 3U);
  EXPECT_THAT(paths(events->URLsForTrackingEventsNamed("mute")), ElementsAre("1", "2"));
  EXPECT_THAT(paths(events->URLsForTrackingEventsNamed("")), ElementsAre("nameless"));
  EXPECT_THAT(paths(events->URLsForTrackingEventsAtOrAfter(kCMTimeZero, seconds(10))), ElementsAre("2"));
}

TEST(TarnLumoTrackingEventsTest, TakesAnOffsetThatIsNoNumberForTheStart) {
  TarnLumoTrackingEventsCollectionBuilder builder;
  for (const char* text : {"", "7,5", "00:00:05", "25%", "1.2.3"}) {
    EXPECT_FALSE(builder.addTrackingEventNamed("progress", text, url("p"))) << text;
    EXPECT_THAT(builder.trackingEvents.back()->offset(), IdenticalTo(CMTimeMake(0, 600))) << text;
  }
  EXPECT_TRUE(builder.addTrackingEventNamed("progress", "-2.5", url("p")));
  EXPECT_THAT(builder.trackingEvents.back()->offset(), TimeEq(seconds(-2.5)));
}

TEST(TarnLumoTrackingEventsTest, ComparesNamesOffsetsAndURLs) {
  const auto collection = [](std::optional<std::string> name, const char* offset, const char* path) {
    TarnLumoTrackingEventsCollectionBuilder builder;
    builder.addTrackingEventNamed(std::move(name), offset, url(path));
    return builder.buildTrackingEventsCollection();
  };
  const auto events = collection("start", "1", "a");
  EXPECT_EQ(*events, *collection("start", "1", "a"));
  EXPECT_EQ(events->hash(), collection("start", "1", "a")->hash());
  EXPECT_FALSE(*events == *collection("stop", "1", "a"));
  EXPECT_FALSE(*events == *collection("start", "2", "a"));
  EXPECT_FALSE(*events == *collection("start", "1", "b"));
  EXPECT_FALSE(*collection("", "1", "a") == *collection(std::nullopt, "1", "a"));
}

std::shared_ptr<const TarnLumoCompanionAd> companion(std::int64_t width, std::int64_t height,
                                                     std::optional<std::string> identifier = std::nullopt) {
  TarnLumoCompanionAdBuilder builder;
  builder.width = width;
  builder.height = height;
  builder.identifier = std::move(identifier);
  return builder.buildCompanionAd();
}

TEST(TarnLumoCompanionAdsTest, StandInOrderOfWidthThenHeightAndMatchExactSizesOnly) {
  TarnLumoCompanionAdsCollectionBuilder builder;
  const auto big = companion(300, 250, "x");
  const auto banner = companion(728, 90, "banner");
  const auto small = companion(300, 60, "x");
  for (const auto& each : {big, banner, small}) builder.addCompanionAd(each);
  const auto collection = builder.buildCompanionAdsCollection();

  EXPECT_THAT(collection->orderedCompanionAdsWithWidthThenHeight(), ElementsAre(small, big, banner));
  EXPECT_THAT(collection->companionAdsForWidth(300, 250), ElementsAre(big));
  EXPECT_THAT(collection->companionAdsForWidth(728, 90), ElementsAre(banner));
  EXPECT_THAT(collection->companionAdsForWidth(320, 50), IsEmpty());
  EXPECT_EQ(collection->companionAdWithIdentifier("x"), small);
  EXPECT_EQ(collection->companionAdWithIdentifier("banner"), banner);
  EXPECT_EQ(collection->companionAdWithIdentifier(""), nullptr);

  EXPECT_THAT(TarnLumoCompanionAdsCollectionBuilder()
                  .buildCompanionAdsCollection()
                  ->orderedCompanionAdsWithWidthThenHeight(),
              IsEmpty());
}

TEST(TarnLumoCompanionAdsTest, EqualityLooksAtEveryField) {
  const auto with = [](const std::function<void(TarnLumoCompanionAdBuilder&)>& change) {
    TarnLumoCompanionAdBuilder builder;
    builder.width = 300;
    change(builder);
    return builder.buildCompanionAd();
  };
  using B = TarnLumoCompanionAdBuilder;
  const auto plain = with([](B&) {});
  EXPECT_EQ(*plain, *with([](B&) {}));
  EXPECT_EQ(plain->hash(), with([](B&) {})->hash());
  const auto different = {
      with([](B& b) { b.width = 301; }),
      with([](B& b) { b.height = 1; }),
      with([](B& b) { b.identifier = ""; }),
      with([](B& b) { b.staticResourceURL = url("s"); }),
      with([](B& b) { b.staticResourceCreativeType = "image/png"; }),
      with([](B& b) { b.trackingEventsCollection = startQuartileCompletePause(); }),
      with([](B& b) { b.clickThroughURL = url("t"); }),
      with([](B& b) { b.clickTrackingURLs = {url("k")}; }),
  };
  for (const auto& other : different) EXPECT_FALSE(*plain == *other) << other->description();
}

TEST(TarnLumoContentImpressionTest, ComparesURLAndTime) {
  const TarnLumoContentImpression impression(url("a"), seconds(1));
  EXPECT_TRUE(impression.isEqualToContentImpression({url("a"), CMTimeMake(1, 1)}));
  EXPECT_EQ(impression.hash(), TarnLumoContentImpression(url("a"), CMTimeMake(1, 1)).hash());
  EXPECT_FALSE(impression.isEqualToContentImpression({url("b"), seconds(1)}));
  EXPECT_FALSE(impression.isEqualToContentImpression({std::nullopt, seconds(1)}));
  EXPECT_FALSE(impression.isEqualToContentImpression({url("a"), seconds(2)}));
}

}  // namespace
