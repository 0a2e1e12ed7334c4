#include "Lumo/TarnLumoTimeline.h"

#include <gmock/gmock.h>

#include <map>
#include <sstream>

#include "Support/TimePrinter.h"
#include "Support/TimelineBuilder.h"

namespace {

using namespace tarn::test;
using namespace testing;

const CMTime kTick = CMTimeMake(1, 600);

/// Seconds: "330", "330-" a tick before and "330+" a tick after, "inf", "-inf", "?" indefinite, "x" invalid.
CMTime timeOf(const std::string& text) {
  static const std::map<std::string, CMTime> kNoNumbers = {{"inf", kCMTimePositiveInfinity},
                                                           {"-inf", kCMTimeNegativeInfinity},
                                                           {"?", kCMTimeIndefinite},
                                                           {"x", kCMTimeInvalid}};
  if (const auto found = kNoNumbers.find(text); found != kNoNumbers.end()) return found->second;
  const CMTime time = seconds(std::stod(text));
  if (text.back() == '-') return CMTimeSubtract(time, kTick);
  return text.back() == '+' ? CMTimeAdd(time, kTick) : time;
}

/// Reads "from:to from:to".
void expectMapped(const char* text, const std::function<CMTime(CMTime)>& map) {
  std::istringstream pairs(text);
  for (std::string pair; pairs >> pair;) {
    const auto colon = pair.find(':');
    EXPECT_THAT(map(timeOf(pair.substr(0, colon))), TimeEq(timeOf(pair.substr(colon + 1)))) << pair;
  }
}

using Spans = std::vector<std::pair<double, double>>;

/// A stream, its seconds a cell, its content as begins and lengths in seconds, and how absolute and content
/// times map.
using Stream = std::tuple<const char*, std::string_view, double, Spans, const char*, const char*>;

TEST(TarnLumoTimelineTest, MapsAbsoluteAndContentTime) {
  const Stream table[] = {
      //   absolute  0  30         330 360        660
      //             |a |..........|b |..........|
      //   content      0         300           600
      {"pre-roll and mid-roll",
       "a..........b..........",
       30,
       {{30, 300}, {360, 300}},
       "-inf:0 -1:0 0:0 15:0 30-:0 30:0 30+:0+ 100:70 330-:300- 330:300 330+:300 345:300 360-:300 360:300 "
       "360+:300+ 400:340 660-:600- 660:600 660+:600 700:600 inf:600 ?:600 x:600",
       "-inf:660 -1:660 0-:660 0:30 0+:30+ 299:329 300-:330- 300:360 300+:360+ 600-:660- 600:660 600+:x "
       "inf:x "
       "?:x"},
      {"nothing at all", "", 1, {{0, 0}}, "0:0 0+:x 5:x", "0:0 0+:x"},
      {"ads only", "aab", 1, {}, "0:x", "0:3 0+:x"},
      {"a post-roll counts into the content's end",
       "....................p",
       30,
       {{0, 600}},
       "615:600",
       "600-:600- 600:630"}};
  for (const auto& [what, drawing, secondsPerCell, segments, absoluteToContent, contentToAbsolute] : table) {
    SCOPED_TRACE(what);
    const auto timeline = drawTimeline(drawing, {.secondsPerCell = secondsPerCell});
    Spans drawn;
    for (const auto& segment : timeline->contentSegments())
      drawn.emplace_back(CMTimeGetSeconds(segment.beginTime()), CMTimeGetSeconds(segment.duration()));
    EXPECT_EQ(drawn, segments);
    expectMapped(absoluteToContent, [&](CMTime t) { return timeline->contentTimeAtAbsoluteTime(t); });
    expectMapped(contentToAbsolute, [&](CMTime t) { return timeline->absoluteTimeAtContentTime(t); });
  }
}

void expectLogicalTimes(const TarnLumoTimeline& timeline, const char* absoluteToLogical) {
  expectMapped(absoluteToLogical, [&](CMTime t) { return timeline.pathAtTime(t).logicalTime(); });
}

TEST(TarnLumoTimelineTest, PathsLogicalTimeIsInAdTimeInAnAdAndContentTimeElsewhere) {
  // A cell is 15 s. 15 is the second ad's first instant, 30 the instant at which its last ad ends.
  //
  //   absolute  0 15 30                  330 360
  //             |a |b |....................|cc|....
  //   content        0                    300
  expectLogicalTimes(*drawTimeline("ab....................cc....", {.secondsPerCell = 15}),
                     "-7:-7 0:0 15-:15- 15:0 15+:0+ 30-:15- 30:15 30+:0+ 100:70 330-:300- 330:0 345:15 "
                     "360-:30- 360:330 360+:300+ 360.5:300.5 400:340");
  // In the gap of a sequence, the ads that have ended are subtracted.
  //
  //   absolute  0 10 20 30 40
  //             |. |a |- |b |.
  expectLogicalTimes(*drawTimeline(".a-b.", {.secondsPerCell = 10}),
                     "20:20 20+:10+ 30-:20- 30:0 40:30 40+:20+");
}

TEST(TarnLumoTimelineTest, PathsCompareTimeAdSequenceAndTimelineByValue) {
  const auto timeline = drawTimeline(".a|b.");
  const auto& sequences = timeline->adSequences();
  const auto& ad = timeline->pathAtTime(seconds(1)).ad();
  const TarnLumoPath path = timeline->pathAtTime(seconds(1));
  const TarnLumoPath twin = drawTimeline(".a|b.")->pathAtTime(CMTimeMake(1, 1));
  EXPECT_EQ(path, twin);
  EXPECT_EQ(path.hash(), twin.hash());
  const TarnLumoPath bare(nullptr, seconds(4), nullptr, nullptr);
  EXPECT_THAT(bare.logicalTime(), TimeEq(seconds(4)));
  EXPECT_FALSE(path == timeline->pathAtTime(timeOf("1+")));
  const TarnLumoPath others[] = {drawTimeline(".a|c.")->pathAtTime(seconds(1)),
                                 {nullptr, seconds(1), sequences.front(), ad},
                                 {timeline, seconds(1), nullptr, ad},
                                 {timeline, seconds(1), sequences.back(), ad},
                                 {timeline, seconds(1), sequences.front(), nullptr},
                                 {timeline, seconds(1), sequences.front(), adNamed(*timeline, 'b')}};
  for (const auto& other : others) {
    EXPECT_FALSE(path == other) << other.description();
    EXPECT_NE(path.hash(), other.hash()) << other.description();
  }
}

TEST(TarnLumoTimelineTest, ComparesByValueAndItsImpressionsByIdentity) {
  const auto draw = [](std::string_view drawing) { return drawTimeline(drawing, {.secondsPerCell = 10}); };
  const auto one = draw("..a..");
  EXPECT_EQ(*one, *draw("..a.."));
  EXPECT_EQ(one->hash(), draw("..a..")->hash());
  const auto remake = [&](const char* url, double content, double payload,
                          TarnLumoTimeline::ContentImpressions impressions = {}) {
    return TarnLumoTimeline::make(tarn::URL::fromString(url), seconds(content), seconds(payload),
                                  one->adSequences(), std::move(impressions));
  };
  const char* const url = "https://cdn.example/stream.m3u8";
  EXPECT_EQ(*one, *remake(url, 40, 50));
  for (const auto& other :
       {draw("..b.."), draw("..a..."), remake("", 40, 50), remake(url, 41, 50), remake(url, 40, 51)}) {
    EXPECT_FALSE(*one == *other) << other->description();
  }
  const auto bare = TarnLumoTimeline::make(std::nullopt, seconds(40), seconds(50), {}, {});
  EXPECT_NE(bare->hash(), remake("", 40, 50)->hash()) << "without ad sequences";
  EXPECT_NE(one->hash(), remake("", 40, 50)->hash()) << "without address";
  const auto impression = [] {
    return std::make_shared<const TarnLumoContentImpression>(beacon("i"), seconds(1));
  };
  const auto shared = impression();
  EXPECT_EQ(*remake("", 1, 1, {shared}), *remake("", 1, 1, {shared}));
  EXPECT_FALSE(*remake("", 1, 1, {shared}) == *remake("", 1, 1, {impression()}));
  EXPECT_NE(remake("", 1, 1, {shared})->hash(), remake("", 1, 1)->hash());
}

}  // namespace
