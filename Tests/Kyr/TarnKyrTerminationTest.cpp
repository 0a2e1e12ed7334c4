#include <gmock/gmock.h>

#include "KyrStage.h"

namespace {

using namespace tarn::test;
using ::testing::IsEmpty;

TEST(Termination, IsTheLastThingThatEverySubscriberReceives) {
  // What plays the stream up to moments, which are lifecycle events, beacons and values.
  const std::pair<const char*, Lines> stories[] = {
      {"1", {"progress"}},
      {"pause", {"Pause"}},
      {"12",
       {"WillPauseForAd", "AdSequenceEnter", "AdEnter", "AdProgress", "a-impression", "a-creativeView"}},
      {"12 pauseAd resumeAd", {"AdPause", "AdResume"}},
      {"12 skip", {"a-skip"}},
      {"17", {"AdExit", "a-complete"}},
      {"22", {"AdSequenceExit", "Play"}},
      {"out", {"End"}},
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

      stage.tell("turn | >>1 turn load play pauseAd resumeAd => calls: unfinished");
      if (stage.lastEvent("AdEnter")) stage.tell("skip turn => calls:");
      stage.session->tracker()->setAbsoluteTime(at(25));
      stage.session->tracker()->setAbsoluteTime(at(11));
      EXPECT_EQ(stage.session->canSeek(), couldSeek);
      EXPECT_THAT(stage.lines(), IsEmpty());
      EXPECT_THAT(late.take(), IsEmpty());
      EXPECT_THAT(stage.beacons(), IsEmpty());
    }
}

}  // namespace
