#include "Lumo/TarnLumoPath.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Support/TimePrinter.h"
#include "Support/TimelineBuilder.h"

namespace {

using tarn::test::adNamed;
using tarn::test::drawTimeline;
using tarn::test::IdenticalTo;
using tarn::test::seconds;
using tarn::test::TimeEq;

const CMTime kTick = CMTimeMake(1, 600);

CMTime before(double time) {
  return CMTimeSubtract(seconds(time), kTick);
}
CMTime after(double time) {
  return CMTimeAdd(seconds(time), kTick);
}

struct Row {
  CMTime absolute;
  CMTime logical;
};

void expectLogicalTimes(const TarnLumoTimeline& timeline, const std::vector<Row>& table) {
  for (const auto& row : table) {
    EXPECT_THAT(timeline.pathAtTime(row.absolute).logicalTime(), TimeEq(row.logical))
        << "at absolute " << CMTimeCopyDescription(row.absolute);
  }
}

TEST(TarnLumoPathTest, LogicalTimeIsInAdTimeInAnAdAndContentTimeElsewhere) {
  // A cell is 15 s.
  //
  //   absolute  0 15 30                  330 360
  //             |a |b |....................|cc|....
  //   content        0                    300
  const auto timeline = drawTimeline("ab....................cc....", {.secondsPerCell = 15});
  expectLogicalTimes(*timeline, {
                                    {seconds(0), seconds(0)},
                                    {before(15), before(15)},
                                    {seconds(15), seconds(0)},  // the second ad's first instant
                                    {after(15), after(0)},
                                    {before(30), before(15)},
                                    {seconds(30), seconds(15)},  // the instant at which its last ad ends
                                    {after(30), after(0)},
                                    {seconds(100), seconds(70)},
                                    {before(330), before(300)},
                                    {seconds(330), seconds(0)},
                                    {seconds(345), seconds(15)},
                                    {before(360), before(30)},
                                    {seconds(360), seconds(330)},
                                    {after(360), after(300)},
                                    {seconds(360.5), seconds(300.5)},
                                    {seconds(400), seconds(340)},
                                    {seconds(-7), seconds(-7)},
                                });
}

TEST(TarnLumoPathTest, InAGapOfASequenceSubtractsTheAdsThatHaveEnded) {
  //   absolute  0 10 20 30 40
  //             |. |a |- |b |.
  const auto timeline = drawTimeline(".a-b.", {.secondsPerCell = 10});
  const auto gap = timeline->pathAtTime(seconds(25));
  EXPECT_EQ(gap.adSequence(), timeline->adSequences().front());
  EXPECT_EQ(gap.ad(), nullptr);
  expectLogicalTimes(*timeline, {
                                    {seconds(20), seconds(20)},
                                    {after(20), after(10)},
                                    {before(30), before(20)},
                                    {seconds(30), seconds(0)},
                                    {seconds(40), seconds(30)},
                                    {after(40), after(20)},
                                });
}

TEST(TarnLumoPathTest, LogicalTimeOfWhatIsNoNumberIsTheSubtractionsOrTheTimeItself) {
  const auto timeline = drawTimeline("a.a.", {.secondsPerCell = 10});
  for (const CMTime& time : {kCMTimeInvalid, kCMTimeIndefinite, kCMTimePositiveInfinity,
                             kCMTimeNegativeInfinity, CMTime{5, 0, 0, 2}}) {
    EXPECT_THAT(timeline->pathAtTime(time).logicalTime(), IdenticalTo(time));
  }

  // An ad of unknown length has an invalid end, behind every time: the sequence never ends.
  const auto endless = drawTimeline(
      ".a.", {.secondsPerCell = 10, .editAd = [](char, auto& ad) { ad.duration = kCMTimeInvalid; }});
  expectLogicalTimes(*endless, {{seconds(25), seconds(15)}, {seconds(1000), seconds(990)}});
}

TEST(TarnLumoPathTest, StandsOnItsOwnWithoutATimeline) {
  EXPECT_THAT(TarnLumoPath(nullptr, seconds(4), nullptr, nullptr).logicalTime(), TimeEq(seconds(4)));
}

TEST(TarnLumoPathTest, ComparesTimeAdSequenceAndTimelineByValue) {
  const auto timeline = drawTimeline(".a|b.");
  const auto twin = drawTimeline(".a|b.");
  const auto other = drawTimeline(".a|b..");
  const auto sequence = timeline->adSequences().front();
  const auto ad = adNamed(*timeline, 'a');
  const TarnLumoPath path = timeline->pathAtTime(seconds(1));

  EXPECT_EQ(path, twin->pathAtTime(CMTimeMake(1, 1)));
  EXPECT_EQ(path.hash(), twin->pathAtTime(CMTimeMake(1, 1)).hash());
  EXPECT_FALSE(path == timeline->pathAtTime(after(1)));
  EXPECT_FALSE(path == other->pathAtTime(seconds(1)));
  EXPECT_FALSE(path == TarnLumoPath(nullptr, seconds(1), sequence, ad));
  EXPECT_FALSE(path == TarnLumoPath(timeline, seconds(1), nullptr, ad));
  EXPECT_FALSE(path == TarnLumoPath(timeline, seconds(1), timeline->adSequences().back(), ad));
  EXPECT_FALSE(path == TarnLumoPath(timeline, seconds(1), sequence, nullptr));
  EXPECT_FALSE(path == TarnLumoPath(timeline, seconds(1), sequence, adNamed(*timeline, 'b')));
}

TEST(TarnLumoPathTest, DescribesItselfPieceByPiece) {
  EXPECT_THAT(
      drawTimeline("..")->pathAtTime(seconds(1)).description(),
      ::testing::MatchesRegex("<TarnLumoPath: 0x[0-9a-f]+; absoluteTime = [^;]*; logicalTime = [^;]*; "
                              "ad = \\(null\\); adSequence = \\(null\\); "
                              "timeline = <TarnLumoTimeline: .*>;>"));
}

}  // namespace
