#include <gmock/gmock.h>

#include <algorithm>

#include "KyrStage.h"

namespace {

using namespace tarn::test;
using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* kStream = "..aaa....bbb......";

TEST(SessionLifetimeTest, SendsTerminateAsTheLastEventToEverySubscriber) {
  // Steps, and the lifecycle events, beacons and values that are sent during them.
  const std::pair<const char*, Lines> stories[] = {
      {"run 1", {"progress"}},
      {"pause", {"Pause"}},
      {"run 12",
       {"WillPauseForAd", "AdSequenceEnter", "AdEnter", "AdProgress", "a-impression", "a-creativeView"}},
      {"run 12; pauseAd; resumeAd", {"AdPause", "AdResume"}},
      {"run 12; skip", {"a-skip"}},
      {"run 17", {"AdExit", "a-complete"}},
      {"run 22", {"AdSequenceExit", "Play"}},
      {"runOut", {"End"}},
  };
  for (const auto& [story, moments] : stories)
    for (const auto& moment : moments) {
      SCOPED_TRACE(moment);
      KyrStage stage("..ab..", {.contentImpressions = {1, 19, 20}});
      stage.when(moment, [&] { stage.session->terminate(); });
      SessionRecorder late(*stage.session);
      stage.tell(story);
      const bool couldSeek = stage.session->canSeek();
      Lines early = stage.lines();
      ASSERT_FALSE(early.empty());
      EXPECT_EQ(early.back(), "Terminate");
      if (moment[1] != '-') early.erase(early.end() - 2);  // did not reach the later subscriber
      EXPECT_EQ(late.take(), early);
      EXPECT_EQ(std::count(early.begin(), early.end(), "Terminate"), 1);

      stage.tell(
          "turn; forget; request 1; turn; load http://s/; play; pauseAd; resumeAd => calls: unfinished");
      if (stage.lastEvent("AdEnter")) stage.tell("skip; turn => calls:");
      stage.session->tracker()->setAbsoluteTime(at(25));
      stage.session->tracker()->setAbsoluteTime(at(11));
      EXPECT_EQ(stage.session->canSeek(), couldSeek);
      EXPECT_THAT(stage.lines(), IsEmpty());
      EXPECT_THAT(late.take(), IsEmpty());
      EXPECT_THAT(stage.beacons(), IsEmpty());
    }
}

/// Releases the session in the last event of the list; each event is awaited after the one before.
void releaseAfter(const std::string& events, KyrStage& stage) {
  if (events.empty()) return stage.session.reset();
  const auto end = std::min(events.find(' '), events.size());
  stage.when(events.substr(0, end),
             [&stage, rest = events.substr(std::min(end + 1, events.size()))] { releaseAfter(rest, stage); });
}

TEST(SessionLifetimeTest, EndsAllWorkWhenReleasedInAnyEvent) {
  for (const auto* const events :
       {"Pause", "Play", "WillPauseForAd", "WillPauseForAd Pause", "AdSequenceEnter", "AdEnter", "AdProgress",
        "AdExit", "AdSequenceExit", "AdSequenceExit Play", "AdSequenceExit Play Pause", "AdPause",
        "Terminate"}) {
    SCOPED_TRACE(events);
    KyrStage stage(kStream);
    stage.tell("place 5; forget");
    const std::weak_ptr<void> parts[] = {stage.session, stage.session->innerPlaybackSession(),
                                         stage.session->tracker(), stage.session->player()};
    releaseAfter(events, stage);
    const std::string name(events);
    stage.tell(name == "AdPause"     ? "run 6; skip; turn"
               : name == "Terminate" ? "run 12; terminate"
                                     : "seek 50; runOut");
    EXPECT_TRUE(std::ranges::all_of(parts, [](const auto& part) { return part.expired(); }));
    EXPECT_THAT(stage.calls(), Not(Contains("finished")));
  }
}

TEST(SessionLifetimeTest, EndsASeekWhenReleasedOrTerminatedInAChangeOfCanSeek) {
  for (const auto* const target : {"2", "8", "50"}) {  // backward, forward, over breaks
    for (const bool terminates : {false, true}) {
      KyrStage stage(kStream);
      stage.tell("run 5; forget");
      const std::weak_ptr<TarnKyrSession> session = stage.session;
      const auto token = stage.session->canSeekProperty().observe(
          [&](bool) { terminates ? stage.session->terminate() : stage.session.reset(); });
      stage.tell("seek " + std::string(target));
      EXPECT_EQ(session.expired(), !terminates);
      if (terminates) stage.tell("turn => calls: cannotSeek, pause");
      EXPECT_THAT(stage.calls(), Not(Contains("finished")));
    }
  }
}

TEST(SessionLifetimeTest, CanBeReleasedInTheCompletionOfASeek) {
  KyrStage stage(kStream);
  const std::weak_ptr<TarnKyrSession> weak = stage.session;
  stage.session->seekToTime(at(50), [&stage](bool) { stage.session.reset(); });
  stage.tell("runOut");
  EXPECT_TRUE(weak.expired());
}

TEST(SessionLifetimeTest, CompletesNoSeekAfterItsReleaseOrTermination) {
  for (const auto* const end : {"releaseSession", "terminate"}) {
    KyrStage stage(kStream);
    const auto player = stage.session->player();  // still lands its seeks
    stage.tell("place 5; request 8; forget; " + std::string(end) + "; turn => calls: pause");
  }
  // The last step ends a seek over a break, and the session is terminated in an event of that.
  for (const auto& [pending, event, last] :
       {std::tuple("place 5; seek 50; advance 15; forget", "Play", "turn"),
        std::tuple("place 5; breakSeeking; seek 50; run 25; forget", "Pause", "request 70")}) {
    KyrStage stage("..aaa....bbb......c");
    stage.tell(pending);
    stage.when(event, [&stage] { stage.session->terminate(); });
    stage.tell(last);
    EXPECT_THAT(stage.calls(), Not(Contains(::testing::EndsWith("finished")))) << last;
  }
}

}  // namespace
