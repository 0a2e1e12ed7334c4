#include "Lumo/TarnLumoAd.h"

#include <gmock/gmock.h>

#include <functional>
#include <regex>

#include "Lumo/TarnLumoAd+Private.h"
#include "Lumo/TarnLumoAdSequence.h"
#include "Lumo/TarnLumoTimeline.h"
#include "Support/TimePrinter.h"

namespace {

using namespace tarn::test;
using namespace testing;

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

std::shared_ptr<const TarnLumoCompanionAd> companion(std::int64_t width, std::int64_t height,
                                                     std::optional<std::string> identifier = std::nullopt) {
  TarnLumoCompanionAdBuilder builder;
  builder.width = width;
  builder.height = height;
  builder.identifier = std::move(identifier);
  return builder.buildCompanionAd();
}

TarnLumoAdBuilder fullAd() {
  TarnLumoCompanionAdsCollectionBuilder companions;
  companions.addCompanionAd(companion(300, 250));
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

TEST(TarnLumoAdTest, EqualityLooksAtEveryFieldButTheExtensions) {
  struct Change {
    const char* field;
    std::function<void(TarnLumoAdBuilder&)> apply;
    bool equal = false;
  };
  using B = TarnLumoAdBuilder;
  const Change changes[] = {
      {"nothing", [](B&) {}, true},
      {"creative extensions", [](B& b) { b.vastAdCreativeExtensions.emplace(); }, true},
      {"ad extensions", [](B& b) { b.vastAdExtensions.emplace(); }, true},
      {"timescale of the begin", [](B& b) { b.beginTime = CMTimeMake(630 * 90000, 90000); }, true},
      {"title", [](B& b) { b.adTitle = std::nullopt; }},
      {"id", [](B& b) { b.adId = "a2"; }},
      {"begin", [](B& b) { b.beginTime = seconds(631); }},
      {"duration", [](B& b) { b.duration = seconds(29); }},
      {"logical offset", [](B& b) { b.logicalOffset = kCMTimePositiveInfinity; }},
      {"skip offset", [](B& b) { b.skipOffset = kCMTimeInvalid; }},
      {"impressions", [](B& b) { std::swap(b.impressionURLs[0], b.impressionURLs[1]); }},
      {"tracking events", [](B& b) { b.trackingEventsCollection = nullptr; }},
      {"click through", [](B& b) { b.clickThroughURL = std::nullopt; }},
      {"click tracking", [](B& b) { b.clickTrackingURLs.push_back(url("c1")); }},
      {"companions",
       [](B& b) {
         b.companionsCollection = TarnLumoCompanionAdsCollectionBuilder().buildCompanionAdsCollection();
       }},
  };
  const auto original = fullAd().buildAd();
  for (const auto& [field, apply, equal] : changes) {
    SCOPED_TRACE(field);
    auto builder = fullAd();
    apply(builder);
    const auto changed = builder.buildAd();
    EXPECT_THAT((std::vector{*original == *changed, *changed == *original}), Each(equal));
    EXPECT_EQ(TarnLumoAdSequence({original}) == TarnLumoAdSequence({changed}), equal);
    EXPECT_EQ(original->hash() == changed->hash(), equal);
  }
}

TEST(TarnLumoAdTest, DescribesItselfAndItsOwnersPieceByPiece) {
  TarnLumoTrackingEventsCollectionBuilder events;
  events.addTrackingEventNamed("complete", "30", url("complete"));
  TarnLumoAdBuilder builder = fullAd();
  builder.trackingEventsCollection = events.buildTrackingEventsCollection();
  const TarnLumoAdSequence::Ads ads = {builder.buildAd()};
  const auto timeline = TarnLumoTimeline::make(
      url("stream"), seconds(1), seconds(2), {std::make_shared<const TarnLumoAdSequence>(ads)},
      {std::make_shared<const TarnLumoContentImpression>(url("c"), seconds(1))});
  const std::regex addressesAndTicks(": 0x[0-9a-f]+|\\{[0-9]+/600 = |\\.000\\}");
  EXPECT_EQ(
      std::regex_replace(timeline->pathAtTime(seconds(1)).description(), addressesAndTicks, ""),
      "<TarnLumoPath; absoluteTime = 1; logicalTime = 1; ad = (null); adSequence = (null); timeline = "
      "<TarnLumoTimeline; lumoURL = https://t.example/stream; payloadLength = 2; contentLength = 1; "
      "adSequences = (<TarnLumoAdSequence; ads = (<TarnLumoAd; title = Tea; adId = a1; beginTime = 630; "
      "endTime = 660; duration = 30; skipOffset = 5; impressionURLs = (https://t.example/i1, "
      "https://t.example/i2); trackingEvents = <TarnLumoTrackingEventsCollection; eventsByName = "
      "{complete = (<TarnLumoTrackingEvent; name = complete; offset = 30; url = "
      "https://t.example/complete;>);}; orderedEventsWithOffsets = ();>; clickThroughURL = "
      "https://t.example/through; clickTrackingURLs = (https://t.example/c1); companionCollections = "
      "<TarnLumoCompanionAdsCollection; orderedCompanionAdsWithWidthThenHeight = (<TarnLumoCompanionAd; "
      "ID = (null); size = {300, 250}; staticResourceURL = (null); staticResourceCreativeType = (null); "
      "trackingEvents = (null); clickThroughURL = (null); clickTrackingURLs = ();>);>>); beginTime = "
      "630; endTime = 660; duration = 30; logicalOffset = 600;>); contentImpressions = "
      "(<TarnLumoContentImpression; url = https://t.example/c; logicalTime = 1;>);>;>");
}

TEST(TarnLumoAdTest, SequencesSpanTheirAds) {
  auto second = fullAd();
  second.beginTime = seconds(661);
  second.duration = seconds(15);
  second.logicalOffset = seconds(1);
  const TarnLumoAdSequence sequence({fullAd().buildAd(), second.buildAd()});
  EXPECT_THAT(sequence.beginTime(), SecondsEq(630));
  EXPECT_THAT(sequence.endTime(), SecondsEq(676));
  EXPECT_THAT(sequence.duration(), SecondsEq(45)) << "the gap of one second is no part of it";
  EXPECT_THAT(sequence.logicalOffset(), SecondsEq(600));

  const TarnLumoAdSequence empty({});
  EXPECT_THAT(empty.duration(), IdenticalTo(kCMTimeZero));
  for (const CMTime& time : {empty.beginTime(), empty.endTime(), empty.logicalOffset()})
    EXPECT_THAT(time, IdenticalTo(CMTime{}));
}

TEST(TarnLumoAdTest, TrackingEventsAreFoundByAHalfOpenInterval) {
  const auto events = startQuartileCompletePause();
  const CMTime tick = CMTimeMake(1, 600);
  const CMTime quartile = seconds(7.5);
  using Interval = std::tuple<CMTime, CMTime, std::vector<std::string>>;
  const Interval table[] = {{kCMTimeZero, quartile, {"start"}},
                            {kCMTimeZero, CMTimeAdd(quartile, tick), {"start", "quartile"}},
                            {tick, quartile, {}},
                            {quartile, seconds(8), {"quartile"}},
                            {CMTimeSubtract(quartile, tick), quartile, {}},
                            {CMTimeAdd(quartile, tick), seconds(60), {}},
                            {quartile, quartile, {}},
                            {seconds(8), kCMTimeZero, {}},
                            {kCMTimeNegativeInfinity, kCMTimePositiveInfinity, {"start", "quartile"}},
                            {kCMTimeZero, kCMTimeInvalid, {"start", "quartile"}},
                            {kCMTimeInvalid, kCMTimeInvalid, {}}};
  EXPECT_THAT(events->orderedEventsWithOffsets(), SizeIs(2)) << "not the completion";
  for (const auto& [from, to, due] : table)
    EXPECT_EQ(paths(events->URLsForTrackingEventsAtOrAfter(from, to)), due)
        << CMTimeCopyDescription(from) << " to " << CMTimeCopyDescription(to);
}

TEST(TarnLumoAdTest, TrackingEventsKeepDocumentOrderWithinANameAndSkipMissingURLs) {
  TarnLumoTrackingEventsCollectionBuilder builder;
  builder.addTrackingEventNamed("mute", url("1"));
  builder.addTrackingEventNamed("mute", "9", std::nullopt);
  builder.addTrackingEventNamed("mute", "2", url("2"));
  builder.addTrackingEventNamed(std::nullopt, url("nameless"));
  const auto events = builder.buildTrackingEventsCollection();
  EXPECT_EQ(events->eventsByName().at("mute").size(), 3U);
  EXPECT_THAT(paths(events->URLsForTrackingEventsNamed("mute")), ElementsAre("1", "2"));
  EXPECT_THAT(paths(events->URLsForTrackingEventsNamed("")), ElementsAre("nameless"));
  EXPECT_THAT(events->URLsForTrackingEventsNamed("Mute"), IsEmpty());
  EXPECT_THAT(paths(events->URLsForTrackingEventsAtOrAfter(kCMTimeZero, seconds(10))), ElementsAre("2"));
}

TEST(TarnLumoAdTest, ATrackingOffsetThatIsNoNumberIsTheStart) {
  TarnLumoTrackingEventsCollectionBuilder builder;
  for (const char* text : {"", "7,5", "00:00:05", "25%", "1.2.3"}) {
    EXPECT_FALSE(builder.addTrackingEventNamed("progress", text, url("p"))) << text;
    EXPECT_THAT(builder.trackingEvents.back()->offset(), IdenticalTo(CMTimeMake(0, 600))) << text;
  }
  EXPECT_TRUE(builder.addTrackingEventNamed("progress", "-2.5", url("p")));
  EXPECT_THAT(builder.trackingEvents.back()->offset(), TimeEq(seconds(-2.5)));
  const auto& events = builder.trackingEvents;
  EXPECT_EQ(events.front()->compareByOffset(*events.back()), 1);
  EXPECT_EQ(events.back()->compareByOffset(*events.front()), -1);
  EXPECT_EQ(events[0]->compareByOffset(*events[1]), 0);
}

TEST(TarnLumoAdTest, CompanionsAreInOrderOfWidthThenHeightAndMatchExactSizesOnly) {
  TarnLumoCompanionAdsCollectionBuilder builder;
  const auto big = companion(300, 250, "x");
  const auto banner = companion(728, 90, "banner");
  const auto small = companion(300, 60, "x");
  for (const auto& each : {big, banner, small}) builder.addCompanionAd(each);
  const auto collection = builder.buildCompanionAdsCollection();

  EXPECT_THAT(collection->orderedCompanionAdsWithWidthThenHeight(), ElementsAre(small, big, banner));
  EXPECT_THAT(collection->companionAdsForWidth(300, 250), ElementsAre(big));
  EXPECT_THAT(collection->companionAdsForWidth(320, 50), IsEmpty());
  EXPECT_EQ(collection->companionAdWithIdentifier("x"), small);
  EXPECT_EQ(collection->companionAdWithIdentifier("banner"), banner);
  EXPECT_EQ(collection->companionAdWithIdentifier(""), nullptr);
}

/// Each makes a value that equals none of the others' values, but equals the next one it makes itself.
template <typename T>
void expectDistinct(const std::vector<std::function<std::shared_ptr<const T>()>>& makers) {
  for (const auto& make : makers) {
    EXPECT_EQ(make()->hash(), make()->hash());
    for (const auto& other : makers)
      EXPECT_EQ(*make() == *other(), &make == &other) << make()->description() << other()->description();
  }
}

TEST(TarnLumoAdTest, EqualityOfCompanionsLooksAtEveryField) {
  using B = TarnLumoCompanionAdBuilder;
  const auto with = [](const std::function<void(B&)>& change) {
    return [change] {
      B builder;
      change(builder);
      return builder.buildCompanionAd();
    };
  };
  expectDistinct<TarnLumoCompanionAd>(
      {with([](B&) {}), with([](B& b) { b.width = 1; }), with([](B& b) { b.height = 1; }),
       with([](B& b) { b.identifier = ""; }), with([](B& b) { b.staticResourceURL = url("s"); }),
       with([](B& b) { b.staticResourceCreativeType = "image/png"; }),
       with([](B& b) { b.trackingEventsCollection = startQuartileCompletePause(); }),
       with([](B& b) { b.clickThroughURL = url("t"); }),
       with([](B& b) { b.clickTrackingURLs = {url("k")}; })});
}

TEST(TarnLumoAdTest, EqualityOfTrackingEventsLooksAtNamesOffsetsAndURLs) {
  const auto events = [](std::optional<std::string> name, const char* offset, const char* path) {
    return [=] {
      TarnLumoTrackingEventsCollectionBuilder builder;
      builder.addTrackingEventNamed(name, offset, url(path));
      return builder.buildTrackingEventsCollection();
    };
  };
  expectDistinct<TarnLumoTrackingEventsCollection>({events("", "1", "a"), events("x", "1", "a"),
                                                    events("", "2", "a"), events("", "1", "b"),
                                                    events(std::nullopt, "1", "a")});
}

TEST(TarnLumoAdTest, EqualityOfContentImpressionsLooksAtURLAndTime) {
  using Impression = TarnLumoContentImpression;
  const Impression impression(url("a"), seconds(1));
  const Impression equal(url("a"), CMTimeMake(1, 1));
  EXPECT_TRUE(impression.isEqualToContentImpression(equal) && impression.hash() == equal.hash());
  for (const auto& other : {Impression(url("b"), seconds(1)), Impression(std::nullopt, seconds(1)),
                            Impression(url("a"), seconds(2))})
    EXPECT_FALSE(impression.isEqualToContentImpression(other)) << other.description();
}

}  // namespace
