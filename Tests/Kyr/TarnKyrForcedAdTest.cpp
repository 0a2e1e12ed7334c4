#include <gmock/gmock.h>

#include "KyrStage.h"

namespace {

using namespace tarn::test;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

/// Stands at content 5 s of a stream with breaks at absolute 10..25 s and 45..60 s, which is content 10 s and
/// 30 s; content 50 s is absolute 80 s.
class AForcedAd : public ::testing::Test {
 protected:
  AForcedAd() { stage.jump(at(5)); }
  ~AForcedAd() override { drainAll(); }

  /// Until the second break plays from its beginning.
  void forceSecondBreak() {
    stage.seek(at(50));
    drainAll();
    stage.forget();
  }

  KyrStage stage{"..aaa....bbb......"};
  std::weak_ptr<TarnKyrSession> weak = stage.session;
};

TEST_F(AForcedAd, IsPlayedBeforeTheTargetIsReachedAndLooksLikeOneSeek) {
  stage.seek(at(50));
  EXPECT_THAT(stage.calls(), ElementsAre("cannotSeek", "pause", "seek 45.2 -0 +0"));
  EXPECT_THAT(stage.lines(), ElementsAre("Pause"));
  EXPECT_TRUE(stage.isSuspended());
  drainAll();
  EXPECT_THAT(stage.calls(), ElementsAre("play"));
  EXPECT_THAT(stage.lines(),
              ElementsAre("Play", "WillPauseForAd", "Pause", "AdSequenceEnter", "AdEnter", "AdProgress"));
  EXPECT_FALSE(stage.isSuspended());
  EXPECT_EQ(stage.lastAd()->adId(), "b");

  stage.play(14);
  EXPECT_THAT(stage.lines(), Each("AdProgress"));
  stage.seek(at(1));
  EXPECT_THAT(stage.calls(), ElementsAre("unfinished"));

  stage.player().advance(2);
  EXPECT_THAT(stage.calls(), ElementsAre("canSeek", "pause", "seek 80 -2 +2"));
  EXPECT_THAT(stage.events(), ElementsAre("AdExit", "AdSequenceExit", "Play", "Pause"));
  drainAll();
  EXPECT_THAT(stage.calls(), ElementsAre("play", "finished"));
  EXPECT_THAT(stage.lines(), ElementsAre("Play", "progress 50"));
  EXPECT_FALSE(stage.isSuspended());
}

// The playhead is reported four times a second, so the break is left at absolute 60.2 s.
TEST_F(AForcedAd, IsNotFollowedByASeekWhenItEndsAtTheTargetOrBehindIt) {
  for (const auto& [target, calls] :
       {std::pair(at(30, 1), Lines{"canSeek", "pause", "play", "finished"}),
        std::pair(at(30.2), Lines{"canSeek", "pause", "play", "finished"}),
        std::pair(at(30.2, 1),
                  Lines{"canSeek", "pause", "seek 60.20166666666667 -0 +2", "play", "finished"})}) {
    stage.jump(at(5));
    stage.seek(target);
    drainAll();
    stage.forget();
    stage.play(20);
    EXPECT_EQ(stage.calls(), calls);
    stage.play(1);
    EXPECT_THAT(stage.lines(), Contains(StartsWith("progress 31.2")));
  }
}

TEST_F(AForcedAd, MayBeThePostRoll) {
  KyrStage another("..aaa....bb");
  another.seek(at(1'000));
  drainAll();
  another.forget();
  another.playOut();
  EXPECT_THAT(another.calls(), ElementsAre("canSeek", "pause", "play", "finished"));
  EXPECT_THAT(another.events(), ElementsAre("AdExit", "AdSequenceExit", "Play", "Pause", "Play", "End"));
}

TEST_F(AForcedAd, IsAwaitedAlsoWhenTheSeekToItFailed) {
  stage.player().breakSeeking();
  stage.seek(at(50));
  drainAll();
  EXPECT_THAT(stage.calls(), ElementsAre("cannotSeek", "pause", "seek 45.2 -0 +0", "play"));
  stage.forget();
  stage.play(3);  // the player stayed where it was, in content
  EXPECT_THAT(stage.lines(), IsEmpty());
  stage.play(39);  // and comes to that break by itself
  EXPECT_THAT(stage.calls(), ElementsAre("canSeek", "cannotSeek"));
  stage.play(20);
  EXPECT_THAT(stage.calls(), ElementsAre("canSeek", "pause", "seek 80 -2 +2", "play", "unfinished"));
  EXPECT_FALSE(stage.isSuspended());
}

TEST_F(AForcedAd, IsPlayedAgainWhenItWasTheLastBreakThatWasLeft) {
  for (int time = 0; time < 2; ++time) {
    forceSecondBreak();
    stage.play(20);
    EXPECT_THAT(stage.calls(), ElementsAre("canSeek", "pause", "seek 80 -2 +2", "play", "finished"));
    stage.seek(at(5));
    drainAll();
  }
}

TEST_F(AForcedAd, IsNotAnsweredWhenTheSessionTerminatesOnTheWay) {
  forceSecondBreak();
  stage.session->terminate();
  stage.play(20);
  EXPECT_THAT(stage.calls(), ElementsAre("pause"));
  EXPECT_FALSE(stage.session->canSeek());
}

TEST_F(AForcedAd, CanBeSkipped) {
  forceSecondBreak();
  stage.pressSkip();
  drainAll();
  EXPECT_THAT(stage.calls(), ElementsAre("pause", "seek 60.2 -0 +0", "play",  //
                                         "canSeek", "pause", "seek 80 -2 +2", "play", "finished"));
}

class LettingGo : public AForcedAd, public ::testing::WithParamInterface<std::vector<const char*>> {
 protected:
  /// When the events of the parameter have come, each after the one before.
  void letGoAfter(std::vector<const char*> events) {
    if (events.empty()) return stage.session.reset();
    const auto* const first = events.front();
    events.erase(events.begin());
    stage.when(first, [this, events] { letGoAfter(events); });
  }
};

TEST_P(LettingGo, EndsEverythingThere) {
  const std::weak_ptr<TarnPlayer> player = stage.session->player();
  letGoAfter(GetParam());
  stage.seek(at(50));
  stage.playOut();
  EXPECT_TRUE(weak.expired());
  EXPECT_TRUE(player.expired());
  EXPECT_THAT(stage.calls(), Not(Contains("finished")));
}

INSTANTIATE_TEST_SUITE_P(DuringAForcedAd, LettingGo,
                         ::testing::ValuesIn(std::vector<std::vector<const char*>>{
                             {"Pause"},
                             {"Play"},
                             {"WillPauseForAd"},
                             {"WillPauseForAd", "Pause"},
                             {"AdSequenceEnter"},
                             {"AdEnter"},
                             {"AdProgress"},
                             {"AdExit"},
                             {"AdSequenceExit"},
                             {"AdSequenceExit", "Play"},
                             {"AdSequenceExit", "Play", "Pause"}}));

TEST_F(LettingGo, InsideAChangeOfCanSeekEndsTheSeek) {
  for (const double target : {2.0, 8.0, 50.0}) {  // backward, forward, over breaks
    KyrStage another("..aaa....bbb......");
    another.play(5);
    const std::weak_ptr<TarnKyrSession> gone = another.session;
    const auto token = another.session->canSeekProperty().observe([&](bool) { another.session.reset(); });
    another.seek(at(target));
    drainAll();
    EXPECT_TRUE(gone.expired());
    EXPECT_THAT(another.calls(), Not(Contains("finished")));
  }
}

TEST_F(LettingGo, IsPossibleInTheAnswerToASeek) {
  stage.session->seekToTime(at(50), [this](bool finished) {
    EXPECT_TRUE(finished);
    stage.session.reset();
  });
  stage.playOut();
  EXPECT_TRUE(weak.expired());
}

TEST_F(LettingGo, WhileASeekIsUnderWayLeavesItUnanswered) {
  stage.seek(at(8));
  stage.forget();
  stage.session.reset();
  drainAll();
  EXPECT_THAT(stage.calls(), ElementsAre("pause"));
}

TEST_F(LettingGo, IsPossibleInsideWhatASkipCauses) {
  stage.play(6);
  stage.when("AdPause", [this] { stage.session.reset(); });
  stage.pressSkip();
  EXPECT_TRUE(weak.expired());
}

}  // namespace
