#include <gmock/gmock.h>

#include "KyrStage.h"

namespace {

using namespace tarn::test;
using ::testing::IsEmpty;

constexpr const char* kStream = "..ab..";

/// What plays the stream up to each moment, which is a lifecycle event, a beacon or a value.
constexpr std::pair<const char*, const char*> kMoments[] = {
    {"progress", "1"},
    {"Pause", "pause"},
    {"WillPauseForAd", "12"},
    {"AdSequenceEnter", "12"},
    {"AdEnter", "12"},
    {"AdProgress", "12"},
    {"a-impression", "12"},
    {"a-creativeView", "12"},
    {"AdPause", "12 pauseAd"},
    {"AdResume", "12 pauseAd resumeAd"},
    {"a-skip", "12 skip"},
    {"AdExit", "17"},
    {"a-complete", "17"},
    {"AdSequenceExit", "22"},
    {"Play", "22"},
    {"End", "out"},
};

TEST(Termination, IsTheLastThingThatEverySubscriberReceives) {
  for (const auto& [moment, story] : kMoments) {
    SCOPED_TRACE(moment);
    KyrStage stage(kStream, {.contentImpressions = {1, 19, 20}});
    Lines beaconsBefore;
    stage.when(moment, [&] {
      stage.session->terminate();
      beaconsBefore = stage.beacons();
    });
    SessionRecorder late(*stage.session);
    stage.tell(story);
    const bool couldSeek = stage.session->canSeek();
    Lines early = stage.lines();
    ASSERT_FALSE(early.empty());
    EXPECT_EQ(early.back(), "Terminate");
    if (std::string(moment)[1] != '-') early.erase(early.end() - 2);  // did not reach the later subscriber
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
