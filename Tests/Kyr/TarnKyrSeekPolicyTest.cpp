#include "Kyr/TarnKyrSeekPolicy.h"

#include <gmock/gmock.h>

#include <sstream>

#include "KyrStage.h"
#include "Support/TimePrinter.h"

namespace {

using namespace tarn::test;
using ::testing::ElementsAre;

/// Content 60 s, five seconds a character; the breaks are at content 10 s and 30 s:
///
///     absolute   0    10        25        45        60              90
///                . .  a  a  a   . . . .   b  b  b   . . . . . .
///     content    0    10                  30                        60
constexpr const char* kStream = "..aaa....bbb......";
/// The post-roll is at absolute 45 s.
constexpr const char* kWithPostRoll = "..aaa....bbb";

// The end of a break, 25 s, belongs to it: the way back into it stays open.
TEST(TarnKyrSeekPolicyTest, NarrowsTolerancesWithinThreeSecondsOfABreak) {
  const std::tuple<const char*, CMTime, double, double> cases[] = {
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

TEST(TarnKyrSeekPolicyTest, ForcesTheLastBreakThatASeekPasses) {
  const std::tuple<const char*, CMTime, CMTime, const char*> cases[] = {
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
    const auto [absoluteTarget, adSequence] =
        tarn::planForwardSeek(*stream, current, target, stream->contentTimeAtAbsoluteTime(target));
    EXPECT_EQ(adSequence ? adSequence->ads()[0]->adId().value() : "", forced)
        << drawing << ::testing::PrintToString(current) << ::testing::PrintToString(target);
    EXPECT_THAT(absoluteTarget, TimeEq(target));
  }
}

/// Each line is a story of its own stage.
TEST(TarnKyrSeekPolicyTest, DecidesTheSeeksOfThePlayer) {
  const auto tellEach = [](const char* drawing, const std::string& stories) {
    std::istringstream lines(stories);
    for (std::string line; std::getline(lines, line);) KyrStage(drawing).tell(line);
  };
  tellEach(kStream, R"(
    // Forward without a break to pass.
    place 27; forget; seek 20                  => calls: cannotSeek, canSeek, seek 35 -2 +2, finished
    place 5; forget; seek 10                   => calls: cannotSeek, canSeek, seek 25 -2 +0, finished
    place 0; forget; seek 0                    => calls: cannotSeek, canSeek, seek 0 -2 +2, finished
    place 70; forget; seek 61                  => calls: cannotSeek, canSeek, seek 90 -2 +2, finished
    place 70; forget; seek inf                 => calls: cannotSeek, canSeek, seek 90 -2 +2, finished
    adsDisabled yes; place 5; forget; seek 50  => calls: cannotSeek, canSeek, seek 80 -0 +0, finished
    // Forward over breaks.
    place 5; forget; seek 50                   => calls: cannotSeek, pause, seek 45.2 -0 +0, play
    place 5; forget; seek 30                   => calls: cannotSeek, pause, seek 10.2 -0 +0, play
    // Backward.
    place 80; forget; seek 20                  => calls: cannotSeek, canSeek, seek 35.2 -2 +2, finished
    place 80; forget; seek 10                  => calls: cannotSeek, canSeek, seek 25.2 -0 +2, finished
    place 80; forget; seek 9                   => calls: cannotSeek, canSeek, seek 9.2 -2 +0, finished
    place 80; forget; seek 0                   => calls: cannotSeek, canSeek, seek 0.2 -0 +0, finished
    adsDisabled yes; place 80; forget; seek 20 => calls: cannotSeek, canSeek, seek 35.2 -2 +2, finished
    // Refused: invalid times, and seeks inside a break.
    place 5; forget; seek 0-1tick              => calls: unfinished
    place 5; forget; seek -inf                 => calls: unfinished
    place 5; forget; seek nan                  => calls: unfinished
    place 12; forget; seek 50                  => calls: unfinished)");
  tellEach(kWithPostRoll, R"(
    place 5; forget; seek 30                  => calls: cannotSeek, pause, seek 45.2 -0 +0, play
    place 5; forget; seek 1000                => calls: cannotSeek, pause, seek 45.2 -0 +0, play
    place 26; forget; seek 30-1tick           => calls: cannotSeek, canSeek, seek 44.998333333333335 -2 +0, finished
    adsDisabled yes; place 5; forget; seek 99 => calls: cannotSeek, canSeek, seek 60 -0 +0, finished)");
  tellEach("aa....", "place 20; forget; seek 0 => calls: cannotSeek, canSeek, seek 10.2 -0 +0, finished");
}

TEST(TarnKyrSeekPolicyTest, RefusesATargetPastTheContentOfTheDocument) {
  KyrStage("....", {.contentLength = 30}).tell(R"(
    seek 25 => calls: cannotSeek, canSeek, unfinished
    seek 15 => calls: cannotSeek, canSeek, seek 15 -2 +2, finished)");
}

TEST(TarnKyrSeekPolicyTest, RefusesSeeksBeforeTheTimelineIsLoaded) {
  const auto session = std::make_shared<TarnKyrSession>(nullptr, TarnLumoHTTPHeaders{});
  Lines answers;
  session->seekToTime(at(1), [&](bool finished) { answers.emplace_back(finished ? "finished" : "refused"); });
  session->seekToTime(at(1), nullptr);
  EXPECT_THAT(answers, ElementsAre("refused"));
  EXPECT_TRUE(session->canSeek());
}

}  // namespace
