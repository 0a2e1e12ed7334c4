#include "Lumo/TarnLumoTimeline.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Lumo/TarnLumoTimelineOperation.h"
#include "Support/TimePrinter.h"
#include "Support/TimelineBuilder.h"

namespace {

using tarn::test::drawTimeline;
using tarn::test::IdenticalTo;
using tarn::test::IsInvalidTime;
using tarn::test::seconds;
using tarn::test::SecondsEq;
using tarn::test::TimeEq;

const CMTime kTick = CMTimeMake(1, 600);

CMTime before(double time) {
  return CMTimeSubtract(seconds(time), kTick);
}
CMTime after(double time) {
  return CMTimeAdd(seconds(time), kTick);
}

std::vector<std::pair<double, double>> segmentsOf(const TarnLumoTimeline& timeline) {
  std::vector<std::pair<double, double>> result;
  for (const auto& segment : timeline.contentSegments()) {
    result.emplace_back(CMTimeGetSeconds(segment.beginTime()), CMTimeGetSeconds(segment.duration()));
  }
  return result;
}

// A cell is 30 s. Pre-roll [0, 30), mid-roll [330, 360), payload 660.
//
//   absolute  0  30         330 360        660
//             |a |..........|b |..........|
//   content      0         300           600
constexpr std::string_view kDrawing = "a..........b..........";

class PreAndMidRoll : public ::testing::Test {
 protected:
  std::shared_ptr<const TarnLumoTimeline> timeline = drawTimeline(kDrawing, {.secondsPerCell = 30});

  void expectContent(CMTime absolute, CMTime content) {
    EXPECT_THAT(timeline->contentTimeAtAbsoluteTime(absolute), TimeEq(content))
        << "at absolute " << CMTimeCopyDescription(absolute);
  }
  void expectAbsolute(CMTime content, CMTime absolute) {
    EXPECT_THAT(timeline->absoluteTimeAtContentTime(content), TimeEq(absolute))
        << "at content " << CMTimeCopyDescription(content);
  }
};

TEST_F(PreAndMidRoll, HasTheContentBetweenItsBreaks) {
  EXPECT_THAT(segmentsOf(*timeline), ::testing::ElementsAre(std::pair(30, 300), std::pair(360, 300)));
}

TEST_F(PreAndMidRoll, MapsAbsoluteToContentTime) {
  for (const auto& [absolute, content] : {std::pair{0, 0},
                                          {15, 0},
                                          {30, 0},
                                          {100, 70},
                                          {330, 300},
                                          {345, 300},
                                          {360, 300},
                                          {400, 340},
                                          {660, 600},
                                          {700, 600}}) {
    expectContent(seconds(absolute), seconds(content));
  }
  expectContent(before(30), kCMTimeZero);
  expectContent(after(30), kTick);
  expectContent(before(330), before(300));
  expectContent(after(330), seconds(300));
  expectContent(before(360), seconds(300));
  expectContent(after(360), after(300));
  expectContent(before(660), before(600));
  expectContent(after(660), seconds(600));
  expectContent(seconds(-1), kCMTimeZero);
  expectContent(kCMTimeNegativeInfinity, kCMTimeZero);
  expectContent(kCMTimePositiveInfinity, seconds(600));
  expectContent(kCMTimeIndefinite, seconds(600));
  expectContent(kCMTimeInvalid, seconds(600));
}

TEST_F(PreAndMidRoll, MapsContentToAbsoluteTime) {
  for (const auto& [content, absolute] : {std::pair{0, 30}, {299, 329}, {300, 360}, {600, 660}, {-1, 660}}) {
    expectAbsolute(seconds(content), seconds(absolute));
  }
  expectAbsolute(after(0), after(30));
  expectAbsolute(before(300), before(330));
  expectAbsolute(after(300), after(360));
  expectAbsolute(before(600), before(660));
  expectAbsolute(before(0), seconds(660));
  expectAbsolute(kCMTimeNegativeInfinity, seconds(660));
  for (const CMTime& past : {after(600), seconds(601), kCMTimePositiveInfinity, kCMTimeIndefinite}) {
    EXPECT_THAT(timeline->absoluteTimeAtContentTime(past), IdenticalTo(kCMTimeInvalid));
  }
}

TEST(TarnLumoTimelineTest, WithoutBreaksMapsOntoItself) {
  const auto timeline = drawTimeline("..........", {.secondsPerCell = 10});
  EXPECT_THAT(segmentsOf(*timeline), ::testing::ElementsAre(std::pair(0, 100)));
  for (const double time : {0.0, 50.0, 100.0}) {
    EXPECT_THAT(timeline->contentTimeAtAbsoluteTime(seconds(time)), SecondsEq(time));
    EXPECT_THAT(timeline->absoluteTimeAtContentTime(seconds(time)), SecondsEq(time));
  }
}

TEST(TarnLumoTimelineTest, AnEmptyStreamMapsItsStartButNothingBehind) {
  const auto timeline = drawTimeline("");
  EXPECT_THAT(segmentsOf(*timeline), ::testing::ElementsAre(std::pair(0, 0)));
  EXPECT_THAT(timeline->contentTimeAtAbsoluteTime(kCMTimeZero), IdenticalTo(kCMTimeZero));
  EXPECT_THAT(timeline->contentTimeAtAbsoluteTime(kTick), IdenticalTo(kCMTimeInvalid));
  EXPECT_THAT(timeline->contentTimeAtAbsoluteTime(seconds(5)), IdenticalTo(kCMTimeInvalid));
  EXPECT_THAT(timeline->absoluteTimeAtContentTime(kCMTimeZero), SecondsEq(0));
  EXPECT_THAT(timeline->absoluteTimeAtContentTime(kTick), IsInvalidTime());
}

TEST(TarnLumoTimelineTest, AStreamOfAdsOnlyHasNoContentTime) {
  const auto timeline = drawTimeline("aab");
  EXPECT_THAT(segmentsOf(*timeline), ::testing::IsEmpty());
  EXPECT_THAT(timeline->contentTimeAtAbsoluteTime(kCMTimeZero), IsInvalidTime());
  EXPECT_THAT(timeline->absoluteTimeAtContentTime(kCMTimeZero), SecondsEq(3));
  EXPECT_THAT(timeline->absoluteTimeAtContentTime(kTick), IsInvalidTime());
}

TEST(TarnLumoTimelineTest, CountsAPostRollIntoTheContentsEnd) {
  //   absolute  0                   600 630
  //             |....................|p |
  const auto timeline = drawTimeline("....................p", {.secondsPerCell = 30});
  EXPECT_THAT(segmentsOf(*timeline), ::testing::ElementsAre(std::pair(0, 600)));
  EXPECT_THAT(timeline->absoluteTimeAtContentTime(before(600)), TimeEq(before(600)));
  EXPECT_THAT(timeline->absoluteTimeAtContentTime(seconds(600)), SecondsEq(630));
  EXPECT_THAT(timeline->contentTimeAtAbsoluteTime(seconds(615)), SecondsEq(600));
}

TEST(TarnLumoTimelineTest, ListsASegmentOfNoLengthBetweenTouchingBreaks) {
  //   absolute  0         100   130   160       260
  //             |..........|aaa|bbb|..........|
  const auto timeline = drawTimeline("..........aaa|bbb..........", {.secondsPerCell = 10});
  EXPECT_THAT(segmentsOf(*timeline),
              ::testing::ElementsAre(std::pair(0, 100), std::pair(130, 0), std::pair(160, 100)));
  EXPECT_THAT(timeline->absoluteTimeAtContentTime(before(100)), TimeEq(before(100)));
  EXPECT_THAT(timeline->absoluteTimeAtContentTime(seconds(100)), SecondsEq(160));
  for (const double inTheBreaks : {100.0, 129.0, 130.0, 131.0, 160.0}) {
    EXPECT_THAT(timeline->contentTimeAtAbsoluteTime(seconds(inTheBreaks)), SecondsEq(100));
  }
}

TEST(TarnLumoTimelineTest, FindsWhatPlaysAtATime) {
  // absolute  0 10 20  30 40 50 60 70
  //           |. |a |b |- |c |d |. |    d is a sequence of its own
  const auto timeline = drawTimeline(".ab-c|d.", {.secondsPerCell = 10});
  struct Row {
    CMTime time;
    std::optional<std::size_t> sequence;
    std::optional<std::string> ad;
  };
  const Row table[] = {
      {seconds(-1), {}, {}}, {before(10), {}, {}},        {seconds(10), 0, "a"}, {after(10), 0, "a"},
      {before(20), 0, "a"},  {seconds(20), 0, "b"},       {before(30), 0, "b"},  {seconds(30), 0, {}},
      {before(40), 0, {}},   {seconds(40), 0, "c"},       {before(50), 0, "c"},  {seconds(50), 1, "d"},
      {before(60), 1, "d"},  {seconds(60), {}, {}},       {seconds(70), {}, {}}, {kCMTimeInvalid, {}, {}},
      {kCMTimeZero, {}, {}}, {kCMTimeIndefinite, {}, {}},
  };
  for (const auto& row : table) {
    SCOPED_TRACE(CMTimeCopyDescription(row.time));
    const auto path = timeline->pathAtTime(row.time);
    EXPECT_THAT(path.absoluteTime(), IdenticalTo(row.time));
    EXPECT_EQ(path.timeline(), timeline);
    EXPECT_EQ(path.adSequence(), row.sequence ? timeline->adSequences()[*row.sequence] : nullptr);
    EXPECT_EQ(path.ad() ? path.ad()->adId() : std::nullopt, row.ad);
  }
}

TEST(TarnLumoTimelineTest, ComparesByValueAndItsImpressionsByIdentity) {
  const auto draw = [](std::string_view drawing) { return drawTimeline(drawing, {.secondsPerCell = 10}); };
  const auto one = draw("..a..");
  const auto two = draw("..a..");
  EXPECT_EQ(*one, *two);
  EXPECT_EQ(one->hash(), two->hash());
  EXPECT_FALSE(*one == *draw("..b.."));
  EXPECT_FALSE(*one == *draw("..a..."));

  const auto remake = [&](const char* url, double content, double payload,
                          TarnLumoTimeline::ContentImpressions impressions) {
    return TarnLumoTimeline::make(tarn::URL::fromString(url), seconds(content), seconds(payload),
                                  one->adSequences(), std::move(impressions));
  };
  EXPECT_EQ(*one, *remake("https://cdn.example/stream.m3u8", 40, 50, {}));
  EXPECT_FALSE(*one == *remake("", 40, 50, {}));
  EXPECT_FALSE(*one == *remake("https://cdn.example/stream.m3u8", 41, 50, {}));
  EXPECT_FALSE(*one == *remake("https://cdn.example/stream.m3u8", 40, 51, {}));

  const auto impression = [] {
    return std::make_shared<const TarnLumoContentImpression>(tarn::test::beacon("i"), seconds(1));
  };
  const auto shared = impression();
  EXPECT_EQ(*remake("", 1, 1, {shared}), *remake("", 1, 1, {shared}));
  EXPECT_FALSE(*remake("", 1, 1, {shared}) == *remake("", 1, 1, {impression()}));
}

TEST(TarnLumoTimelineTest, DescribesItselfPieceByPiece) {
  EXPECT_THAT(
      drawTimeline("a.", {.contentImpressions = {1}})->description(),
      ::testing::MatchesRegex("<TarnLumoTimeline: 0x[0-9a-f]+; lumoURL = https://cdn.example/stream.m3u8; "
                              "payloadLength = [^;]*; contentLength = [^;]*; "
                              "adSequences = \\(<TarnLumoAdSequence: .*>\\); "
                              "contentImpressions = \\(<TarnLumoContentImpression: .*>\\);>"));
}

TEST(TarnLumoTimelineTest, MakesTheOperationThatLoadsADocument) {
  const auto operation = TarnLumoTimeline::timelineOperationForLumoUXURL(tarn::test::beacon("vmap"));
  EXPECT_EQ(operation->lumoUXURL(), tarn::test::beacon("vmap"));
  EXPECT_FALSE(operation->isExecuting());
  EXPECT_FALSE(operation->isFinished());
}

}  // namespace
