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
    place 5; forget; request 50              => calls: cannotSeek, pause, seek 45.2 -0 +0
                                             => lines: Pause
    expect suspended; turn                   => calls: play
                                             => lines: Play, WillPauseForAd, Pause, AdSequenceEnter, AdEnter, AdProgress
    expect following; run 14; forget; seek 1 => calls: unfinished
                                             => lines:
    run 2; expect following                  => calls: canSeek, pause, seek 80 -2 +2, play, finished
                                             => events: AdExit, AdSequenceExit, Play, Pause, Play
    forget; run 0.25                         => lines: progress 50.25
    seek 5; seek 50; forget; run 20          => calls: canSeek, pause, seek 80 -2 +2, play, finished
    seek 5; seek 50; forget; skip; turn      => calls: pause, seek 60.2 -0 +0, play, canSeek, pause, seek 80 -2 +2, play, finished
    seek 5; seek 50; forget; terminate; leaveBreak => calls: pause)");
}

// The playhead is reported four times a second, so the break is left at absolute 60.2 s.
TEST(SeekDriverTest, MakesNoSecondSeekWhenTheForcedBreakEndsAtTheTargetOrAfterIt) {
  KyrStage(kStream).tell(R"(
    place 5; seek 30+1tick; forget; run 20   => calls: canSeek, pause, play, finished
    place 5; seek 30.2; forget; run 20       => calls: canSeek, pause, play, finished
    forget; run 0.25                         => lines: progress 35.45
    place 5; seek 30.2+1tick; forget; run 20 => calls: canSeek, pause, seek 60.20166666666667 -0 +2, play, finished)");
  // The second stream ends in the content, the third in the break.
  KyrStage("..aaa....bb").tell(R"(
    seek 1000; forget; runOut => calls: canSeek, pause, play, finished
                              => events: AdExit, AdSequenceExit, Play, Pause, Play, End)");
  KyrStage("..aaa....bb", {}, -10).tell("seek 1000; forget; runOut => calls: canSeek, unfinished");
  KyrStage("..aaa....bb", {}, -2).tell("seek 1000; forget; runOut => calls: canSeek, pause, play, finished");
}

TEST(SeekDriverTest, LeavesPauseAndCanSeekToTheNewerForcedSeek) {
  KyrStage("..aaa....bbb......c").tell(R"(
    place 5; seek 50; forget; advance 15; expect suspended => calls: canSeek, pause, seek 80 -2 +2
    request 70   => calls: cannotSeek, pause, seek 90.2 -0 +0, unfinished
    turn; seek 3 => calls: play, unfinished
    runOut       => calls: canSeek, pause, play, finished)");
  KyrStage stage("..aaa....bbb......c");
  stage.tell("place 5; seek 50; advance 15; forget");
  stage.when("Play", [&stage] { stage.tell("request 70"); });
  stage.tell("turn; seek 3 => calls: play, cannotSeek, pause, seek 90.2 -0 +0, finished, play, unfinished");
  KyrStage(kStream).tell(R"(
    place 5; seek 50; advance 15; forget; request 3 => calls: cannotSeek, canSeek, seek 3.2 -2 +2, unfinished
    expect suspended; turn; expect following => calls: play, finished
    run 60                                   => calls: cannotSeek, canSeek, cannotSeek, canSeek)");
  KyrStage(kStream).tell(R"(
    place 5; request 50; resumeAt 20 no; forget; request 50; turn => calls: cannotSeek, pause, seek 45.2 -0 +0, play)");
}

TEST(SeekDriverTest, AbandonsTheForcedSeekWhenThePlayheadIsSentElsewhereInItsPause) {
  for (const auto& [before, after] :
       {std::pair("place 5; forget",
                  "seek 50 => calls: cannotSeek, pause, seek 35 -0 +0, canSeek, unfinished"),
        std::pair("place 5; seek 50; run 14; forget",
                  "run 2 => calls: canSeek, pause, seek 35 -0 +0, unfinished")}) {
    KyrStage stage(kStream);
    stage.tell(before);
    stage.when("Pause", [&stage] { stage.tell("resumeAt 20 no"); });
    stage.tell(after);
  }
}

// On the way to the break, inside it, and on the way from it to the target.
TEST(SeekDriverTest, AbandonsTheForcedSeekWhenThePlayheadIsSentElsewhereOrThePlayerFails) {
  for (const auto& [before, landing] :
       {std::pair("place 5; request 50", ", play"), std::pair("place 5; seek 50; run 3", ""),
        std::pair("place 5; seek 50; advance 15", ", play")}) {
    SCOPED_TRACE(before);
    const std::string unlock = std::string(before).ends_with("advance 15") ? "" : "canSeek, ";
    const std::string locked = std::string(before) + "; forget; ";
    KyrStage(kStream).tell(locked + "resumeAt 20 no; turn => calls: seek 35 -0 +0, " + unlock + "unfinished" +
                           landing);
    KyrStage(kStream).tell(locked + "load http://s/; turn => calls: load http://s/, " + unlock +
                           "unfinished" + landing);
    KyrStage(kStream).tell(locked + "fail; turn => calls: " + unlock + "unfinished, pause");
  }
  // The abandoned seek does not pause at the end of its break.
  KyrStage(kStream).tell("place 5; seek 50; run 3; resumeAt 20 no; turn; forget; run 40 => calls:");
}

// The player stays in content and reaches the break by itself.
TEST(SeekDriverTest, AwaitsTheForcedBreakAlsoWhenTheSeekToItFailed) {
  KyrStage(kStream).tell(R"(
    place 5; breakSeeking; forget; seek 50 => calls: cannotSeek, pause, seek 45.2 -0 +0, play
    forget; run 3                          => lines:
    run 39                                 => calls: canSeek, cannotSeek
    run 20; expect following               => calls: canSeek, pause, seek 80 -2 +2, play, unfinished)");
}

TEST(SeekDriverTest, SuspendsTheTrackerUntilTheLastOfSeveralSeeksHasLanded) {
  KyrStage stage(kStream);
  stage.tell("run 1; forget");
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
  stage.tell("run 5; seek 3");
  reports =
      stage.player().layerHidden().observe([&stage](bool hidden) { EXPECT_EQ(stage.isSuspended(), hidden); });
  stage.when("Play", [&stage] { stage.tell("expect suspended"); });
  stage.tell("seek 1000; expect following; run 2; skip; turn; turn; expect following");
}

TEST(SeekDriverTest, PlaysAfterASeekFromTheItemsEndWhenPlayFollowsAtOnce) {
  KyrStage(kStream).tell("place 89; play; runOut; forget; request 0; play; turn; run 1 => events: Play");
}

TEST(SeekDriverTest, ContinuesWhereItWasWhenASeekFails) {
  KyrStage(kStream).tell(R"(
    run 1; breakSeeking; forget; seek 4; expect following => calls: cannotSeek, canSeek, seek 4 -2 +2, unfinished
    forget; run 0.5 => lines: progress 1.25, progress 1.5)");
}

}  // namespace
