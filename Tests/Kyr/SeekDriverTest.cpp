#include <gmock/gmock.h>

#include "KyrStage.h"

namespace {

using namespace tarn::test;
using ::testing::ElementsAre;

constexpr const char* kStream = "..aaa....bbb......";

// From content 5 s over breaks at absolute 10..25 s and 45..60 s, which is content 10 s and 30 s, to content
// 50 s, absolute 80 s.
TEST(SeekDriverTest, PlaysTheForcedBreakBeforeTheTargetAsOneSeek) {
  KyrStage(kStream).tell(R"(
    @5 | >>50          => calls: cannotSeek, pause, seek 45.2 -0 +0
                       => lines: Pause
    ?suspended turn    => calls: play
                       => lines: Play, WillPauseForAd, Pause, AdSequenceEnter, AdEnter, AdProgress
    ?following 14 | >1 => calls: unfinished
                       => lines:
    2 ?following       => calls: canSeek, pause, seek 80 -2 +2, play, finished
                       => events: AdExit, AdSequenceExit, Play, Pause, Play
    | 0.25             => lines: progress 50.25
    >5 >50 | 20        => calls: canSeek, pause, seek 80 -2 +2, play, finished
    >5 >50 | skip turn => calls: pause, seek 60.2 -0 +0, play, canSeek, pause, seek 80 -2 +2, play, finished
    >5 >50 | terminate leaveBreak => calls: pause)");
}

// The playhead is reported four times a second, so the break is left at absolute 60.2 s.
TEST(SeekDriverTest, MakesNoSecondSeekWhenTheForcedBreakEndsAtTheTargetOrAfterIt) {
  KyrStage(kStream).tell(R"(
    @5 >30+1 | 20   => calls: canSeek, pause, play, finished
    @5 >30.2 | 20   => calls: canSeek, pause, play, finished
    | 0.25          => lines: progress 35.45
    @5 >30.2+1 | 20 => calls: canSeek, pause, seek 60.20166666666667 -0 +2, play, finished)");
  // The second stream ends in the content, the third in the break.
  KyrStage("..aaa....bb").tell(R"(
    >1000 | out     => calls: canSeek, pause, play, finished
                    => events: AdExit, AdSequenceExit, Play, Pause, Play, End)");
  KyrStage("..aaa....bb", {}, -10).tell(">1000 | out => calls: canSeek, unfinished");
  KyrStage("..aaa....bb", {}, -2).tell(">1000 | out => calls: canSeek, pause, play, finished");
}

TEST(SeekDriverTest, LeavesPauseAndCanSeekToTheNewerForcedSeek) {
  KyrStage("..aaa....bbb......c").tell(R"(
    @5 >50 | 15~ ?suspended => calls: canSeek, pause, seek 80 -2 +2
    >>70           => calls: cannotSeek, pause, seek 90.2 -0 +0, unfinished
    turn >3        => calls: play, unfinished
    out            => calls: canSeek, pause, play, finished)");
  KyrStage stage("..aaa....bbb......c");
  stage.tell("@5 >50 15~ |");
  stage.when("Play", [&stage] { stage.tell(">>70"); });
  stage.tell("turn >3 => calls: play, cannotSeek, pause, seek 90.2 -0 +0, finished, play, unfinished");
  KyrStage(kStream).tell(R"(
    @5 >50 15~ | >>3 => calls: cannotSeek, canSeek, seek 3.2 -2 +2, unfinished
    ?suspended turn ?following => calls: play, finished
    60             => calls: cannotSeek, canSeek, cannotSeek, canSeek)");
  KyrStage(kStream).tell(R"(
    @5 >>50 resumeAt20 | >>50 turn => calls: cannotSeek, pause, seek 45.2 -0 +0, play)");
}

TEST(SeekDriverTest, AbandonsTheForcedSeekWhenThePlayheadIsSentElsewhereInItsPause) {
  for (const auto& [before, after] :
       {std::pair("@5 |", ">50 => calls: cannotSeek, pause, seek 35 -0 +0, canSeek, unfinished"),
        std::pair("@5 >50 14 |", "2 => calls: canSeek, pause, seek 35 -0 +0, unfinished")}) {
    KyrStage stage(kStream);
    stage.tell(before);
    stage.when("Pause", [&stage] { stage.tell("resumeAt20"); });
    stage.tell(after);
  }
}

// On the way to the break, inside it, and on the way from it to the target.
TEST(SeekDriverTest, AbandonsTheForcedSeekWhenThePlayheadIsSentElsewhereOrThePlayerFails) {
  for (const auto& [before, landing] :
       {std::pair("@5 >>50", ", play"), std::pair("@5 >50 3", ""), std::pair("@5 >50 15~", ", play")}) {
    SCOPED_TRACE(before);
    const std::string unlock = std::string(before).ends_with('~') ? "" : "canSeek, ";
    const std::string locked = std::string(before) + " | ";
    KyrStage(kStream).tell(locked + "resumeAt20 turn => calls: seek 35 -0 +0, " + unlock + "unfinished" +
                           landing);
    KyrStage(kStream).tell(locked + "load turn => calls: load http://s/, " + unlock + "unfinished" + landing);
    KyrStage(kStream).tell(locked + "fail turn => calls: " + unlock + "unfinished, pause");
  }
  // The abandoned seek does not pause at the end of its break.
  KyrStage(kStream).tell("@5 >50 3 resumeAt20 turn | 40 => calls:");
}

// The player stays in content and reaches the break by itself.
TEST(SeekDriverTest, AwaitsTheForcedBreakAlsoWhenTheSeekToItFailed) {
  KyrStage(kStream).tell(R"(
    @5 breakSeeking | >50 => calls: cannotSeek, pause, seek 45.2 -0 +0, play
    | 3                   => lines:
    39                    => calls: canSeek, cannotSeek
    20 ?following         => calls: canSeek, pause, seek 80 -2 +2, play, unfinished)");
}

TEST(SeekDriverTest, SuspendsTheTrackerUntilTheLastOfSeveralSeeksHasLanded) {
  KyrStage stage(kStream);
  stage.tell("1 |");
  std::vector<std::pair<bool, bool>> completions;  // finished, and whether the tracker is still suspended
  for (const double target : {4, 8, 2}) {
    stage.session->seekToTime(
        at(target), [&](bool finished) { completions.emplace_back(finished, stage.isSuspended()); });
  }
  drainAll();
  EXPECT_THAT(completions,
              ElementsAre(std::pair(false, true), std::pair(false, true), std::pair(true, false)));
  EXPECT_THAT(stage.lines(), ElementsAre("progress 2"));
}

TEST(SeekDriverTest, SuspendsTheTrackerBeforeItReportsASeekAndUntilTheForcedBreakPlays) {
  KyrStage stage("..aaa...bb");
  auto reports =
      stage.session->canSeekProperty().observe([&stage](bool can) { EXPECT_EQ(stage.isSuspended(), can); });
  stage.tell("5 >3");
  reports =
      stage.player().layerHidden().observe([&stage](bool hidden) { EXPECT_EQ(stage.isSuspended(), hidden); });
  stage.when("Play", [&stage] { stage.tell("?suspended"); });
  stage.tell(">1000 ?following 2 skip turn turn ?following");
}

TEST(SeekDriverTest, PlaysAfterASeekFromTheItemsEndWhenPlayFollowsAtOnce) {
  KyrStage(kStream).tell("@89 play out | >>0 play turn 1 => events: Play");
}

TEST(SeekDriverTest, ContinuesWhereItWasWhenASeekFails) {
  KyrStage(kStream).tell(R"(
    1 breakSeeking | >4 ?following => calls: cannotSeek, canSeek, seek 4 -2 +2, unfinished
    | 0.5 => lines: progress 1.25, progress 1.5)");
}

}  // namespace
