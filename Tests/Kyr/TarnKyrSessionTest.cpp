#include "Kyr/TarnKyrSession.h"

#include <gmock/gmock.h>

#include <future>

#include "Host/TarnBasicPlaybackSession.h"
#include "KyrStage.h"
#include "Support/ScriptedServer.h"

namespace {

using namespace tarn::test;
using ::testing::ElementsAre;

/// A session around one that has not begun, over a document that is served.
class TarnKyrSessionTest : public ::testing::Test {
 protected:
  TarnKyrSessionTest() { server.answer("/vmap", {.body = drawVMAP("a..b..c")}); }
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
  server.answer("/vmap", {.body = ""});
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
  ScriptedServer silent([&](ScriptedServer::Connection& connection) {
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

}  // namespace
