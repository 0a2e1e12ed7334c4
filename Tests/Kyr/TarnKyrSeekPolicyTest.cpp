#include "Kyr/TarnKyrSeekPolicy.h"

#include <gmock/gmock.h>

#include "KyrStage.h"
#include "Support/TimePrinter.h"

namespace {

using namespace tarn::test;
using ::testing::ElementsAre;

/// Content 60 s, five seconds a character; the breaks stand at content 10 s and 30 s:
///
///     absolute   0    10        25        45        60              90
///                . .  a  a  a   . . . .   b  b  b   . . . . . .
///     content    0    10                  30                        60
constexpr const char* kStream = "..aaa....bbb......";
/// The post-roll stands at absolute 45 s.
constexpr const char* kWithPostRoll = "..aaa....bbb";

struct ToleranceCase {
  CMTime target;
  double before;
  double after;
};

TEST(SeekTolerances, AreNarrowedWithinThreeSecondsOfABreak) {
  const auto stream = drawTimeline(kStream, {.secondsPerCell = 5});
  const ToleranceCase cases[] = {
      {at(0), 2, 2},       {at(7, -1), 2, 2}, {at(7), 2, 0},     {at(10), 2, 0},        {at(17), 2, 0},
      {at(25), 2, 0},  // Its end belongs to the break: the way back into it stays open.
      {at(25, 1), 0, 2},   {at(28), 0, 2},    {at(28, 1), 2, 2}, {at(42, -1), 2, 2},    {at(42), 2, 0},
      {at(59, 599), 2, 0}, {at(60, 1), 0, 2}, {at(63, 1), 2, 2}, {at(1'000'000), 2, 2},
  };
  for (const auto& [target, before, after] : cases) {
    const auto tolerance = tarn::seekTolerances(*stream, target, at(2), at(3));
    EXPECT_THAT(tolerance.beforeTolerance, SecondsEq(before)) << ::testing::PrintToString(target);
    EXPECT_THAT(tolerance.afterTolerance, SecondsEq(after)) << ::testing::PrintToString(target);
  }
}

TEST(SeekTolerances, AreNarrowedOnBothSidesBetweenTwoCloseBreaks) {
  const auto stream = drawTimeline("..a.b..", {.secondsPerCell = 4});
  const auto tolerance = tarn::seekTolerances(*stream, at(14), at(2), at(3));
  EXPECT_THAT(tolerance.beforeTolerance, SecondsEq(0));
  EXPECT_THAT(tolerance.afterTolerance, SecondsEq(0));
}

struct PlanCase {
  const char* drawing;
  CMTime current;
  CMTime target;
  const char* forced;  // the ad's letter
};

TEST(AForwardSeek, PlaysTheLastBreakThatItPasses) {
  const PlanCase cases[] = {
      {kStream, at(5), at(80), "b"},      {kStream, at(0), at(44), "a"},
      {kStream, at(5), at(9), ""},        {kStream, at(5), at(25), ""},
      {kStream, at(5), at(25, 1), "a"},   {kStream, at(25), at(44), ""},
      {kStream, at(25, -1), at(44), "a"}, {kStream, at(5), at(60), "a"},
      {kStream, at(5), at(60, 1), "b"},   {kStream, at(60), at(90), ""},
      {kStream, at(60, -1), at(90), "b"}, {"", at(0), at(0), ""},
      {"aa..", at(0), at(15), "a"},       {"aa..", at(10), at(15), ""},
      {"..a|b..", at(0), at(25), "b"},
  };
  for (const auto& [drawing, current, target, forced] : cases) {
    const auto stream = drawTimeline(drawing, {.secondsPerCell = 5});
    const auto plan =
        tarn::planForwardSeek(*stream, current, target, stream->contentTimeAtAbsoluteTime(target));
    const auto& adSequence = plan.forcedAdSequence;
    EXPECT_EQ(adSequence ? adSequence->ads()[0]->adId().value() : "", forced)
        << drawing << ::testing::PrintToString(current) << ::testing::PrintToString(target);
    EXPECT_THAT(plan.absoluteTarget, TimeEq(target));
  }
}

struct SeekCase {
  const char* name;
  const char* drawing;
  CMTime from;  // absolute
  CMTime to;    // content
  Lines calls;
  bool adsDisabled = false;
};

void PrintTo(const SeekCase& seek, std::ostream* out) {
  *out << seek.name;
}

class ASeek : public ::testing::TestWithParam<SeekCase> {};

TEST_P(ASeek, AsksThePlayerForWhatThePolicySays) {
  const auto& seek = GetParam();
  KyrStage stage(seek.drawing);
  stage.common->adsDisabled.set(seek.adsDisabled);
  stage.jump(seek.from);
  stage.seek(seek.to);
  drainAll();
  EXPECT_EQ(stage.calls(), seek.calls);
}

Lines plain(std::string seek) {
  return {"cannotSeek", "canSeek", std::move(seek), "finished"};
}
Lines forced(std::string seek) {
  return {"cannotSeek", "pause", std::move(seek), "play"};
}
const Lines kRefused{"unfinished"};

INSTANTIATE_TEST_SUITE_P(
    Seeks, ASeek,
    ::testing::Values(
        // Forward without a break to pass.
        SeekCase{"InContent", kStream, at(27), at(20), plain("seek 35 -2 +2")},
        SeekCase{"CloseToABreak", kStream, at(27), at(29), plain("seek 44 -2 +0")},
        SeekCase{"ThreeSecondsBeforeABreak", kStream, at(26), at(27), plain("seek 42 -2 +0")},
        SeekCase{"ThreeSecondsAfterABreak", kStream, at(26), at(13), plain("seek 28 -0 +2")},
        SeekCase{"ToABreaksPlace", kStream, at(5), at(10), plain("seek 25 -2 +0")},
        SeekCase{"ToWhereItIs", kStream, at(0), at(0), plain("seek 0 -2 +2")},
        SeekCase{"ToTheEnd", kStream, at(70), at(60), plain("seek 90 -2 +2")},
        SeekCase{"BeyondTheEnd", kStream, at(70), at(61), plain("seek 90 -2 +2")},
        SeekCase{"ToInfinity", kStream, at(70), kCMTimePositiveInfinity, plain("seek 90 -2 +2")},
        SeekCase{"OverBreaksWithAdsDisabled", kStream, at(5), at(50), plain("seek 80 -0 +0"), true},
        SeekCase{"ToThePostRollWithAdsDisabled", kWithPostRoll, at(5), at(99), plain("seek 60 -0 +0"), true},
        // Forward over breaks.
        SeekCase{"OverTwoBreaks", kStream, at(5), at(50), forced("seek 45.2 -0 +0")},
        SeekCase{"OverOneBreak", kStream, at(5), at(20), forced("seek 10.2 -0 +0")},
        SeekCase{"ToTheNextBreaksPlace", kStream, at(5), at(30), forced("seek 10.2 -0 +0")},
        SeekCase{"ToThePostRoll", kWithPostRoll, at(5), at(30), forced("seek 45.2 -0 +0")},
        SeekCase{"BeyondThePostRoll", kWithPostRoll, at(5), at(1'000), forced("seek 45.2 -0 +0")},
        SeekCase{"ATickBeforeThePostRoll", kWithPostRoll, at(26), at(30, -1),
                 plain("seek 44.998333333333335 -2 +0")},
        // Backward.
        SeekCase{"Back", kStream, at(80), at(20), plain("seek 35.2 -2 +2")},
        SeekCase{"BackOverBreaks", kStream, at(80), at(5), plain("seek 5.2 -2 +2")},
        SeekCase{"BackBehindABreak", kStream, at(80), at(10), plain("seek 25.2 -0 +2")},
        SeekCase{"BackBeforeABreak", kStream, at(80), at(9), plain("seek 9.2 -2 +0")},
        SeekCase{"BackToTheStart", kStream, at(80), at(0), plain("seek 0.2 -0 +0")},
        SeekCase{"BackToTheStartBehindAPreRoll", "aa....", at(20), at(0), plain("seek 10.2 -0 +0")},
        SeekCase{"BackWithAdsDisabled", kStream, at(80), at(20), plain("seek 35.2 -2 +2"), true},
        // Refused.
        SeekCase{"ToANegativeTime", kStream, at(5), at(0, -1), kRefused},
        SeekCase{"ToNegativeInfinity", kStream, at(5), kCMTimeNegativeInfinity, kRefused},
        SeekCase{"ToAnInvalidTime", kStream, at(5), kCMTimeInvalid, kRefused},
        SeekCase{"DuringABreak", kStream, at(12), at(50), kRefused}),
    [](const auto& test) { return test.param.name; });

TEST(ASeek, IsRefusedWhereTheDocumentPromisesMoreContentThanItHas) {
  KyrStage stage("....", {.contentLength = 30});
  stage.seek(at(25));
  EXPECT_THAT(stage.calls(), ElementsAre("cannotSeek", "canSeek", "unfinished"));
  stage.seek(at(15));
  drainAll();
  EXPECT_THAT(stage.calls(), ElementsAre("cannotSeek", "canSeek", "seek 15 -2 +2", "finished"));
}

TEST(ASeek, IsRefusedBeforeTheTimelineIsKnown) {
  const auto session = std::make_shared<TarnKyrSession>(nullptr, TarnLumoHTTPHeaders{});
  Lines answers;
  session->seekToTime(at(1), [&](bool finished) { answers.emplace_back(finished ? "finished" : "refused"); });
  session->seekToTime(at(1), nullptr);
  EXPECT_THAT(answers, ElementsAre("refused"));
  EXPECT_TRUE(session->canSeek());
}

TEST(ASeek, LeadsBackFromTheEnd) {
  KyrStage stage("....");
  stage.playOut();
  stage.forget();
  stage.seek(at(5));
  drainAll();
  EXPECT_THAT(stage.calls(), ElementsAre("cannotSeek", "canSeek", "seek 5.2 -2 +2", "finished"));
}

TEST(ASeek, HidesItsJumpFromTheTrackerUntilTheLastOfSeveralHasLanded) {
  KyrStage stage(kStream);
  stage.play(1);
  stage.forget();
  std::vector<std::pair<bool, bool>> answers;  // finished, and whether the tracker is still kept from looking
  for (const double target : {4, 8, 2}) {
    stage.session->seekToTime(at(target),
                              [&](bool finished) { answers.emplace_back(finished, stage.isSuspended()); });
  }
  drainAll();
  EXPECT_THAT(answers, ElementsAre(std::pair(false, true), std::pair(false, true), std::pair(true, false)));
  EXPECT_THAT(stage.lines(), ElementsAre("progress 2"));
}

TEST(ASeek, ThatFailsLeavesEverythingAsItWas) {
  KyrStage stage(kStream);
  stage.play(1);
  stage.player().breakSeeking();
  stage.forget();
  stage.seek(at(4));
  drainAll();
  EXPECT_THAT(stage.calls(), ElementsAre("cannotSeek", "canSeek", "seek 4 -2 +2", "unfinished"));
  EXPECT_FALSE(stage.isSuspended());
  stage.forget();
  stage.play(0.5);
  EXPECT_THAT(stage.lines(), ElementsAre("progress 1.25", "progress 1.5"));
}

}  // namespace
