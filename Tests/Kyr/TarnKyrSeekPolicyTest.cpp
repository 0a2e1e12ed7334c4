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
  const char* drawing;
  CMTime target;
  double before;
  double after;
};

// The end of a break, 25 s, belongs to it: the way back into it stays open.
TEST(SeekTolerances, AreNarrowedWithinThreeSecondsOfABreak) {
  const ToleranceCase cases[] = {
      {kStream, at(0), 2, 2},      {kStream, at(7, -1), 2, 2}, {kStream, at(7), 2, 0},
      {kStream, at(10), 2, 0},     {kStream, at(17), 2, 0},    {kStream, at(25), 2, 0},
      {kStream, at(25, 1), 0, 2},  {kStream, at(28), 0, 2},    {kStream, at(28, 1), 2, 2},
      {kStream, at(42, -1), 2, 2}, {kStream, at(42), 2, 0},    {kStream, at(59, 599), 2, 0},
      {kStream, at(60, 1), 0, 2},  {kStream, at(63, 1), 2, 2}, {kStream, at(1'000'000), 2, 2},
      {"..a.b..", at(17.5), 0, 0},
  };
  for (const auto& [drawing, target, before, after] : cases) {
    const auto stream = drawTimeline(drawing, {.secondsPerCell = 5});
    const auto tolerance = tarn::seekTolerances(*stream, target, at(2), at(3));
    EXPECT_THAT(tolerance.beforeTolerance, SecondsEq(before)) << ::testing::PrintToString(target);
    EXPECT_THAT(tolerance.afterTolerance, SecondsEq(after)) << ::testing::PrintToString(target);
  }
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

Lines plain(std::string seek) {
  return {"cannotSeek", "canSeek", std::move(seek), "finished"};
}
Lines forced(std::string seek) {
  return {"cannotSeek", "pause", std::move(seek), "play"};
}
const Lines kRefused{"unfinished"};

TEST(ASeek, AsksThePlayerForWhatThePolicySays) {
  const SeekCase cases[] = {
      // Forward without a break to pass.
      {"in content", kStream, at(27), at(20), plain("seek 35 -2 +2")},
      {"close to a break", kStream, at(27), at(29), plain("seek 44 -2 +0")},
      {"three seconds before a break", kStream, at(26), at(27), plain("seek 42 -2 +0")},
      {"three seconds after a break", kStream, at(26), at(13), plain("seek 28 -0 +2")},
      {"to a break's place", kStream, at(5), at(10), plain("seek 25 -2 +0")},
      {"to where it is", kStream, at(0), at(0), plain("seek 0 -2 +2")},
      {"to the end", kStream, at(70), at(60), plain("seek 90 -2 +2")},
      {"beyond the end", kStream, at(70), at(61), plain("seek 90 -2 +2")},
      {"to infinity", kStream, at(70), kCMTimePositiveInfinity, plain("seek 90 -2 +2")},
      {"over breaks with ads disabled", kStream, at(5), at(50), plain("seek 80 -0 +0"), true},
      {"to the post-roll with ads disabled", kWithPostRoll, at(5), at(99), plain("seek 60 -0 +0"), true},
      // Forward over breaks.
      {"over two breaks", kStream, at(5), at(50), forced("seek 45.2 -0 +0")},
      {"over one break", kStream, at(5), at(20), forced("seek 10.2 -0 +0")},
      {"to the next break's place", kStream, at(5), at(30), forced("seek 10.2 -0 +0")},
      {"to the post-roll", kWithPostRoll, at(5), at(30), forced("seek 45.2 -0 +0")},
      {"beyond the post-roll", kWithPostRoll, at(5), at(1'000), forced("seek 45.2 -0 +0")},
      {"a tick before the post-roll", kWithPostRoll, at(26), at(30, -1),
       plain("seek 44.998333333333335 -2 +0")},
      // Backward.
      {"back", kStream, at(80), at(20), plain("seek 35.2 -2 +2")},
      {"back over breaks", kStream, at(80), at(5), plain("seek 5.2 -2 +2")},
      {"back behind a break", kStream, at(80), at(10), plain("seek 25.2 -0 +2")},
      {"back before a break", kStream, at(80), at(9), plain("seek 9.2 -2 +0")},
      {"back to the start", kStream, at(80), at(0), plain("seek 0.2 -0 +0")},
      {"back to the start behind a pre-roll", "aa....", at(20), at(0), plain("seek 10.2 -0 +0")},
      {"back with ads disabled", kStream, at(80), at(20), plain("seek 35.2 -2 +2"), true},
      // Refused.
      {"to a negative time", kStream, at(5), at(0, -1), kRefused},
      {"to negative infinity", kStream, at(5), kCMTimeNegativeInfinity, kRefused},
      {"to an invalid time", kStream, at(5), kCMTimeInvalid, kRefused},
      {"during a break", kStream, at(12), at(50), kRefused},
  };
  for (const auto& seek : cases) {
    SCOPED_TRACE(seek.name);
    KyrStage stage(seek.drawing);
    stage.common->adsDisabled.set(seek.adsDisabled);
    stage.jump(seek.from);
    stage.forget();
    stage.seek(seek.to);
    EXPECT_EQ(stage.calls(), seek.calls);
  }
}

TEST(ASeek, IsRefusedWhereTheDocumentPromisesMoreContentThanItHas) {
  KyrStage("....", {.contentLength = 30}).tell(R"(
    >25 => calls: cannotSeek, canSeek, unfinished
    >15 => calls: cannotSeek, canSeek, seek 15 -2 +2, finished)");
}

TEST(ASeek, IsRefusedBeforeTheTimelineIsKnown) {
  const auto session = std::make_shared<TarnKyrSession>(nullptr, TarnLumoHTTPHeaders{});
  Lines answers;
  session->seekToTime(at(1), [&](bool finished) { answers.emplace_back(finished ? "finished" : "refused"); });
  session->seekToTime(at(1), nullptr);
  EXPECT_THAT(answers, ElementsAre("refused"));
  EXPECT_TRUE(session->canSeek());
}

TEST(ASeek, HidesItsJumpFromTheTrackerUntilTheLastOfSeveralHasLanded) {
  KyrStage stage(kStream);
  stage.tell("1 |");
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
  KyrStage(kStream).tell(R"(
    1 breakSeeking | >4 ?following => calls: cannotSeek, canSeek, seek 4 -2 +2, unfinished
    | 0.5 => lines: progress 1.25, progress 1.5)");
}

}  // namespace
