#include "Kyr/TarnKyrSession.h"

#include <gmock/gmock.h>

#include <future>
#include <set>

#include "Host/TarnBasicPlaybackSession.h"
#include "KyrStage.h"
#include "Support/LoopbackServer.h"

namespace {

using namespace tarn::test;
using ::testing::Contains;
using ::testing::ElementsAre;

/// A session around one that has not begun, over a document that is served.
class TarnKyrSessionTest : public ::testing::Test {
 protected:
  TarnKyrSessionTest() { server.setResponse("/vmap", {.body = drawVMAP("a..b..c")}); }
  ~TarnKyrSessionTest() override { drainAll(); }

  void load(TarnKyrSessionLoadState outcome = TarnKyrLoadStateComplete) {
    session->load();
    EXPECT_TRUE(await([&] { return session->loadState().get() == outcome; }));
  }

  LoopbackServer server;
  std::shared_ptr<const TarnCuePoint> chapter = std::make_shared<const TarnCuePoint>("chapter", at(2));
  std::shared_ptr<FakePlayer> player = std::make_shared<FakePlayer>();
  std::shared_ptr<Lines> calls = player->calls();
  std::shared_ptr<TarnBasicPlaybackSession> inner = std::make_shared<TarnBasicPlaybackSession>(
      ssaiVideo(server.url("/vmap"), {chapter}),
      std::make_shared<const TarnSource>(server.url("/vmap"), kTarnSourceDeliveryHLS), player);
  std::shared_ptr<TarnKyrSession> session = std::make_shared<TarnKyrSession>(inner, TarnLumoHTTPHeaders{});
};

TEST_F(TarnKyrSessionTest, PutsItsAdSlotsBeforeTheVideosOwnCuePoints) {
  EXPECT_EQ(session->video(), nullptr);
  const auto common = std::make_shared<TarnSessionCommonProperties>();
  session->setSessionCommonProperties(common);
  EXPECT_EQ(inner->sessionCommonProperties(), common);
  load();
  ASSERT_NE(session->video(), nullptr);
  const auto slotAt = [](CMTime time) {
    return ::testing::Pointee(TarnCuePoint(kTarnCuePointTypeAdSlot, time));
  };
  EXPECT_THAT(session->video()->cuePoints()->array(),
              ElementsAre(slotAt(at(0)), slotAt(at(10)), slotAt(kCMTimePositiveInfinity), chapter));
  EXPECT_EQ(session->video()->identifier(), inner->video()->identifier());
  EXPECT_THAT(inner->video()->cuePoints()->array(), ElementsAre(chapter));
}

TEST_F(TarnKyrSessionTest, LoadsOnceAndIsCompleteWhenItReportsSo) {
  std::vector<TarnKyrSessionLoadState> states;
  const auto token = session->loadState().observe([&](TarnKyrSessionLoadState state) {
    states.push_back(state);
    if (state != TarnKyrLoadStateComplete) return;
    EXPECT_TRUE(session->tracker() && session->analyticsSession() && session->video());
    EXPECT_THAT(*calls, ElementsAre("load http://stream.example/m.m3u8"));
  });
  session->load();
  load();
  load();
  drainAll();
  EXPECT_THAT(states, ElementsAre(TarnKyrLoadStateLoading, TarnKyrLoadStateComplete));
  EXPECT_THAT(server.targets(), ElementsAre("/vmap"));

  SessionRecorder recorder(*session);
  session->begin();
  player->becomeReady(35);
  EXPECT_THAT(recorder.take(), ElementsAre("Begin", "duration 20", "seekable 0+20", "Ready"));
}

TEST_F(TarnKyrSessionTest, EntersNoAdWhileThePlayerDoesNotKnowTheDuration) {
  load();
  SessionRecorder recorder(*session);
  session->begin();
  player->becomeReady(0);
  player->seekToTime(kCMTimeZero, kCMTimeZero, kCMTimeZero, nullptr);
  drainAll();
  EXPECT_THAT(recorder.take(), ElementsAre("Begin", "duration -15", "seekable 0+0", "Ready", "progress 0"));
  player->becomeReady(35);
  EXPECT_THAT(recorder.take(), ElementsAre("duration 20", "WillPauseForAd", "Pause", "AdSequenceEnter",
                                           "AdEnter", "AdProgress", "seekable 0+20"));
}

TEST_F(TarnKyrSessionTest, StopsAtTheErrorOfADocumentThatCannotBeRead) {
  server.setResponse("/vmap", {.body = ""});
  load(TarnKyrLoadStateError);
  EXPECT_EQ(session->loadError().value().code, 4011);
  EXPECT_FALSE(session->tracker() || session->video());
  EXPECT_THAT(*calls, ::testing::IsEmpty());
}

TEST_F(TarnKyrSessionTest, LoadsNoStreamWhenReleasedOrTerminatedWhileLoading) {
  server.hold("/vmap");
  const auto other = std::make_shared<TarnKyrSession>(inner, TarnLumoHTTPHeaders{});
  other->load();
  session->load();
  ASSERT_TRUE(server.waitForRequests(2));
  const std::weak_ptr<TarnKyrSession> weak = session;
  session.reset();
  EXPECT_TRUE(weak.expired());
  SessionRecorder recorder(*other);
  other->begin();
  other->terminate();
  EXPECT_THAT(recorder.take(), ElementsAre("Begin", "Terminate"));
  server.release();
  EXPECT_TRUE(await([&] { return other->loadState().get() == TarnKyrLoadStateComplete; }));
  EXPECT_THAT(*calls, ElementsAre("pause"));
}

TEST_F(TarnKyrSessionTest, AbortsItsRequestWhenItIsReleased) {
  std::promise<void> asked;
  std::promise<void> hungUp;
  LoopbackServer silent([&](LoopbackServer::Connection& connection) {
    connection.readRequest();
    asked.set_value();
    connection.waitForHangUp();
    hungUp.set_value();
  });
  const auto source = std::make_shared<const TarnSource>(silent.url("/vmap"), kTarnSourceDeliveryHLS);
  inner = std::make_shared<TarnBasicPlaybackSession>(ssaiVideo(silent.url("/vmap")), source, player);
  session = std::make_shared<TarnKyrSession>(inner, TarnLumoHTTPHeaders{});
  session->load();
  asked.get_future().wait();
  session.reset();
  EXPECT_EQ(hungUp.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
}

TEST_F(TarnKyrSessionTest, ResumesAtTheGivenTimeWithoutTheAdPolicy) {
  load();
  player->becomeReady(35);
  session->resumeVideoAtTime(at(12), true);
  drainAll();
  EXPECT_THAT(*calls, ElementsAre("load http://stream.example/m.m3u8", "seek 22 -0 +0", "play"));
}

TEST_F(TarnKyrSessionTest, LogsCallsWithoutAnInnerSession) {
  session = std::make_shared<TarnKyrSession>(nullptr, TarnLumoHTTPHeaders{});
  LogLines log;
  session->begin();
  session->terminate();
  EXPECT_THAT(log.take(),
              ElementsAre("`-[TarnKyrSession begin]` called with nil inner playback session; ignoring.",
                          "`-[TarnKyrSession terminate]` called with nil inner playback session; ignoring."));
  session->avPlayerPlay();
  session->loadVideoURL(server.url("/"));
  session->resumeVideoAtTime(at(1), true);
  const auto message = ::testing::StartsWith(
      "TarnKyrSession: Cannot `-forwardInvocation:` to nonexistent inner playback session. (Invocation: ");
  EXPECT_THAT(log.take(), ElementsAre(message, message, message));
  EXPECT_EQ(session->player(), nullptr);
  load(TarnKyrLoadStateError);
  EXPECT_EQ(session->loadError(), std::nullopt);
}

TEST_F(TarnKyrSessionTest, SendsDurationsWithoutTheAds) {
  KyrStage("a...b.").tell(R"(
    load http://s/ => lines: duration nan, seekable unknown
    ready 30       => lines: duration 20, seekable 0+20, Ready)");
}

TEST_F(TarnKyrSessionTest, ExitsEveryAdOnceWhenTheStreamIsNotAsLongAsItsDocument) {
  for (const auto& [drawing, difference] :
       {std::pair("...aa", -0.1), std::pair("...aa", -2.0), std::pair("...aa", 0.0), std::pair("...aa", 4.0),
        std::pair("...aa.", -0.1)}) {
    SCOPED_TRACE(::testing::Message() << drawing << " and " << difference << " s");
    KyrStage stage(drawing, {}, difference);
    for (int viewing = 0; viewing < 2; ++viewing) {
      stage.tell(R"(
        runOut => events: WillPauseForAd, Pause, AdSequenceEnter, AdEnter, AdExit, AdSequenceExit, Play, End
               => beacons: a-impression, a-creativeView, a-start, a-firstQuartile, a-midpoint, a-thirdQuartile, a-complete
        seek 1; play; forget)");
    }
  }
}

TEST_F(TarnKyrSessionTest, EntersNoAdAtTheEndOfAStreamThatIsShorterThanItsDocument) {
  KyrStage("...aa", {}, -0.1).tell(R"(
    run 24.5; forget; runOut => lines: AdProgress, AdProgress, AdExit, AdSequenceExit, Play, progress 25, End)");
  KyrStage("....", {}, -1).tell("place 18.5; forget; runOut => lines: progress 18.75, progress 19, End");
  KyrStage("...aa", {}, -0.1).tell(R"(
    place 24.9 => events:
    runOut     => events: End
               => beacons:)");
}

TEST_F(TarnKyrSessionTest, SendsNoBeaconTwiceInOneViewing) {
  KyrStage stage("..aaa....bbb......", {.contentImpressions = {1, 9}});
  stage.tell(R"(
    run 5; pause; play; seek 50; run 2; pauseAd; resumeAd; starve; feed; runOut
 => beacons: impression-1, b-impression, b-creativeView, b-start, b-firstQuartile, b-midpoint, b-thirdQuartile, b-complete
    seek 8; play; run 22)");  // back, and through the first break
  const Lines beacons = stage.beacons();
  EXPECT_THAT(beacons,
              ::testing::AllOf(Contains("a-impression"), Contains("a-complete"), Contains("impression-9"),
                               ::testing::Not(Contains(::testing::StartsWith("b")))));
  EXPECT_EQ(std::set(beacons.begin(), beacons.end()).size(), beacons.size());
}

}  // namespace
