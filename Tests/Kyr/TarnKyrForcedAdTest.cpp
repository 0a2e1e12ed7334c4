#include <gmock/gmock.h>

#include <algorithm>

#include "KyrStage.h"

namespace {

using namespace tarn::test;
using ::testing::Contains;
using ::testing::Not;

constexpr const char* kStream = "..aaa....bbb......";

// From content 5 s over breaks at absolute 10..25 s and 45..60 s, which is content 10 s and 30 s, to content
// 50 s, absolute 80 s.
TEST(AForcedAd, IsPlayedBeforeTheTargetIsReachedAndLooksLikeOneSeek) {
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
TEST(AForcedAd, IsNotFollowedByASeekWhenItEndsAtTheTargetOrBehindIt) {
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

TEST(AForcedAd, OfAnOvertakenSeekLeavesTheLockToTheNewerSeek) {
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
}

// On the way to the break, inside it, and on the way from it to the target.
TEST(AForcedAd, IsGivenUpWhenThePlayheadIsSentElsewhereOrThePlayerFails) {
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
}

// The player stays where it was, in content, and comes to the break by itself.
TEST(AForcedAd, IsAwaitedAlsoWhenTheSeekToItFailed) {
  KyrStage(kStream).tell(R"(
    @5 breakSeeking | >50 => calls: cannotSeek, pause, seek 45.2 -0 +0, play
    | 3                   => lines:
    39                    => calls: canSeek, cannotSeek
    20 ?following         => calls: canSeek, pause, seek 80 -2 +2, play, unfinished)");
}

/// When the events of the list have come, each after the one before.
void letGoAfter(const std::string& events, KyrStage& stage) {
  if (events.empty()) return stage.session.reset();
  const auto end = std::min(events.find(' '), events.size());
  stage.when(events.substr(0, end),
             [&stage, rest = events.substr(std::min(end + 1, events.size()))] { letGoAfter(rest, stage); });
}

TEST(LettingGo, EndsEverythingWhereverItHappens) {
  for (const auto* const events :
       {"Pause", "Play", "WillPauseForAd", "WillPauseForAd Pause", "AdSequenceEnter", "AdEnter", "AdProgress",
        "AdExit", "AdSequenceExit", "AdSequenceExit Play", "AdSequenceExit Play Pause", "AdPause"}) {
    SCOPED_TRACE(events);
    KyrStage stage(kStream);
    stage.tell("@5 |");
    const std::weak_ptr<TarnKyrSession> session = stage.session;
    const std::weak_ptr<TarnPlayer> player = stage.session->player();
    letGoAfter(events, stage);
    stage.tell(std::string(events) == "AdPause" ? "6 skip turn" : ">50 out");
    EXPECT_TRUE(session.expired());
    EXPECT_TRUE(player.expired());
    EXPECT_THAT(stage.calls(), Not(Contains("finished")));
  }
}

TEST(LettingGo, OrTerminatingInsideAChangeOfCanSeekEndsTheSeek) {
  for (const auto* const target : {"2", "8", "50"}) {  // backward, forward, over breaks
    for (const bool terminates : {false, true}) {
      KyrStage stage(kStream);
      stage.tell("5 |");
      const std::weak_ptr<TarnKyrSession> session = stage.session;
      const auto token = stage.session->canSeekProperty().observe(
          [&](bool) { terminates ? stage.session->terminate() : stage.session.reset(); });
      stage.tell(">" + std::string(target));
      EXPECT_EQ(session.expired(), !terminates);
      if (terminates) stage.tell("turn => calls: cannotSeek, pause");
      EXPECT_THAT(stage.calls(), Not(Contains("finished")));
    }
  }
}

TEST(LettingGo, IsPossibleInTheAnswerToASeek) {
  KyrStage stage(kStream);
  const std::weak_ptr<TarnKyrSession> weak = stage.session;
  stage.session->seekToTime(at(50), [&stage](bool finished) {
    EXPECT_TRUE(finished);
    stage.session.reset();
  });
  stage.tell("out");
  EXPECT_TRUE(weak.expired());
}

TEST(LettingGo, WhileASeekIsUnderWayLeavesItUnanswered) {
  KyrStage(kStream).tell("@5 >>8 | gone turn => calls: pause");
}

}  // namespace
