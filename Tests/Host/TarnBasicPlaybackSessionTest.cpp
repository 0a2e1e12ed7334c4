#include "Host/TarnBasicPlaybackSession.h"

#include <gmock/gmock.h>

#include <functional>

#include "Host/TarnErrorSession.h"
#include "Platform/Queue.h"
#include "Support/FakePlayer.h"
#include "Support/SessionRecorder.h"
#include "Support/TimePrinter.h"

namespace {

using tarn::test::FakePlayer;
using tarn::test::SessionRecorder;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Lines = std::vector<std::string>;

tarn::URL streamURL() {
  return *tarn::URL::fromString("http://host/stream.m3u8");
}

tarn::Error brokenOff() {
  tarn::Error error;
  error.domain = TarnPlayerErrorDomain;
  error.code = static_cast<std::int64_t>(TarnPlayerErrorCode::brokenOff);
  error.description = "The stream broke off";
  return error;
}

std::shared_ptr<const TarnVideo> videoWithCuePoint() {
  const auto cuePoint = std::make_shared<const TarnCuePoint>("chapter", tarn::test::seconds(5));
  return std::make_shared<const TarnVideo>(TarnMutableVideo{
      .title = "Film", .cuePoints = TarnCuePointCollection::collectionWithArray({cuePoint})});
}

class TarnBasicPlaybackSessionTest : public ::testing::Test {
 protected:
  std::shared_ptr<FakePlayer> player = std::make_shared<FakePlayer>();
  std::shared_ptr<TarnBasicPlaybackSession> session =
      std::make_shared<TarnBasicPlaybackSession>(videoWithCuePoint(), nullptr, player);
  SessionRecorder recorder{*session};

  void beginReady(double seconds) {
    session->loadVideoURL(streamURL());
    session->begin();
    player->becomeReady(seconds);
    (void)recorder.take();
  }
};

TEST_F(TarnBasicPlaybackSessionTest, IsSilentUntilItBeginsAndThenTellsWhereItStands) {
  session->loadVideoURL(streamURL());
  player->becomeReady(60);
  session->avPlayerPlay();
  player->advance(0.5);
  player->setLoadedTo(10);
  EXPECT_THAT(recorder.take(), IsEmpty());

  session->begin();
  session->begin();
  EXPECT_THAT(recorder.take(), ElementsAre("Begin", "cuePoints 1", "Ready", "duration 60", "seekable 0+60",
                                           "loaded 0+10", "Play", "progress 0.5"));
}

TEST_F(TarnBasicPlaybackSessionTest, SaysNothingOfWhatIsNotKnownYet) {
  session->loadVideoURL(streamURL());
  session->begin();
  EXPECT_THAT(recorder.take(), ElementsAre("Begin", "cuePoints 1"));
}

struct Story {
  const char* name;
  std::function<void(TarnBasicPlaybackSession&, FakePlayer&)> tell;
  Lines heard;
};

void PrintTo(const Story& story, std::ostream* out) {
  *out << story.name;
}

class LifecycleOfABasicSession : public TarnBasicPlaybackSessionTest,
                                 public ::testing::WithParamInterface<Story> {};

TEST_P(LifecycleOfABasicSession, IsToldInTheOrderOfItsGrammar) {
  beginReady(1);
  GetParam().tell(*session, *player);
  EXPECT_EQ(recorder.take(), GetParam().heard);
}

INSTANTIATE_TEST_SUITE_P(
    Stories, LifecycleOfABasicSession,
    ::testing::Values(Story{"PlayingToTheEndIsNoPause",
                            [](auto& session, auto& player) {
                              session.avPlayerPlay();
                              player.advance(2, 0.5);
                            },
                            {"Play", "progress 0.5", "progress 1", "End"}},
                      Story{"PlayingGoesOnAfterASeekBackFromTheEnd",
                            [](auto& session, auto& player) {
                              session.avPlayerPlay();
                              player.advance(2, 1);
                              session.resumeVideoAtTime(tarn::test::seconds(0.5), true);
                              tarn::MainQueue::shared().drain();
                              player.advance(2, 1);
                            },
                            {"Play", "progress 1", "End", "Play", "progress 0.5", "progress 1", "End"}},
                      Story{"PlayAndPauseFromOutsideAreToldOnce",
                            [](auto& session, auto& player) {
                              player.play();
                              session.avPlayerPlay();
                              player.pause();
                              session.avPlayerPause();
                            },
                            {"Play", "Pause"}},
                      Story{"WaitingForDataIsToldOnce",
                            [](auto&, auto& player) {
                              player.starve(true);
                              player.starve(true);
                              player.starve(false);
                              player.starve(false);
                            },
                            {"BufferingEnter", "BufferingExit"}},
                      Story{"AFailureIsTheLastThingBeforeTermination",
                            [](auto& session, auto& player) {
                              session.avPlayerPlay();
                              player.fail(brokenOff());
                              player.starve(true);
                              session.terminate();
                            },
                            {"Play", "Error", "Terminate"}},
                      Story{"AnotherStreamIsReadyAnew",
                            [](auto& session, auto& player) {
                              session.loadVideoURL(streamURL());
                              player.becomeReady(2);
                            },
                            {"duration nan", "seekable unknown", "duration 2", "seekable 0+2", "Ready"}},
                      Story{"ResumingWithoutAutoPlayStaysPaused",
                            [](auto& session, auto&) {
                              session.resumeVideoAtTime(tarn::test::seconds(0.5), false);
                              tarn::MainQueue::shared().drain();
                            },
                            {"progress 0.5"}},
                      Story{"AResumeThatIsOvertakenDoesNotPlay",
                            [](auto& session, auto& player) {
                              session.resumeVideoAtTime(tarn::test::seconds(0.5), true);
                              player.seekToTime(tarn::test::seconds(0.25), kCMTimeZero, kCMTimeZero, nullptr);
                              tarn::MainQueue::shared().drain();
                            },
                            {"progress 0.25"}},
                      Story{"NothingComesAfterTermination",
                            [](auto& session, auto& player) {
                              session.avPlayerPlay();
                              session.resumeVideoAtTime(tarn::test::seconds(0.5), true);
                              session.terminate();
                              session.terminate();
                              session.begin();
                              session.avPlayerPlay();
                              session.loadVideoURL(streamURL());
                              tarn::MainQueue::shared().drain();
                              player.play();
                            },
                            {"Play", "Terminate"}}),
    [](const auto& story) { return story.param.name; });

TEST_F(TarnBasicPlaybackSessionTest, TellsThePlayersReasonForAFailureAndLetsGoOfThePlayer) {
  beginReady(60);
  const std::weak_ptr<FakePlayer> weak = player;
  player->fail(brokenOff());
  player.reset();
  EXPECT_EQ(recorder.lastEvent(kTarnPlaybackSessionLifecycleEventError)->error(), brokenOff());
  EXPECT_EQ(session->player(), nullptr);
  EXPECT_TRUE(weak.expired());
}

TEST_F(TarnBasicPlaybackSessionTest, TellsAFailureFromBeforeItsBeginning) {
  session->loadVideoURL(streamURL());
  player->fail(brokenOff());
  session->begin();
  EXPECT_THAT(recorder.take(), ElementsAre("Begin", "cuePoints 1", "Error", "Terminate"));
}

TEST_F(TarnBasicPlaybackSessionTest, StopsAPlayerThatOutlivesIt) {
  beginReady(60);
  session->avPlayerPlay();
  session.reset();
  EXPECT_EQ(player->calls()->back(), "pause");
}

TEST_F(TarnBasicPlaybackSessionTest, HidesThePictureWhileThereIsOne) {
  session->setPlayerLayerHidden(true);
  EXPECT_THAT(*player->calls(), ElementsAre("hideLayer"));
  session->terminate();
  session->setPlayerLayerHidden(false);
  EXPECT_EQ(player->calls()->back(), "pause");
}

TEST_F(TarnBasicPlaybackSessionTest, IsReachedWeaklyThroughItsExtensionAndCanDoNothingFurther) {
  const auto extension = session->providerExtension();
  EXPECT_EQ(extension.playbackSession(), session);
  EXPECT_EQ(session->seeking(), nullptr);
  EXPECT_EQ(session->timeMapping(), nullptr);
  session.reset();
  EXPECT_EQ(extension.playbackSession(), nullptr);
}

TEST(TarnBasicPlaybackSession, FailsAtItsBeginningWithoutAPlayerOrASource) {
  const auto codeWith = [](std::shared_ptr<TarnPlayer> player) {
    const auto session = std::make_shared<TarnBasicPlaybackSession>(nullptr, nullptr, std::move(player));
    SessionRecorder recorder(*session);
    session->begin();
    EXPECT_THAT(recorder.take(), ElementsAre("Begin", "Error", "Terminate"));
    return static_cast<TarnPlaybackSessionErrorCode>(
        recorder.lastEvent(kTarnPlaybackSessionLifecycleEventError)->error()->code);
  };
  EXPECT_EQ(codeWith(nullptr), TarnPlaybackSessionErrorCode::noPlayer);
  EXPECT_EQ(codeWith(std::make_shared<FakePlayer>()), TarnPlaybackSessionErrorCode::noSource);
}

/// Whoever hears a session may end it or let go of it, whatever it hears.
class LettingGoInsideASignal : public ::testing::TestWithParam<const char*> {};

TEST_P(LettingGoInsideASignal, IsSafe) {
  for (const bool terminates : {true, false}) {
    auto player = std::make_shared<FakePlayer>();
    auto* stream = player.get();
    const std::weak_ptr<FakePlayer> alive = player;
    auto session =
        std::make_shared<TarnBasicPlaybackSession>(videoWithCuePoint(), nullptr, std::move(player));
    Lines heard;
    const auto hear = [&](const std::string& what) {
      heard.push_back(what);
      if (what != GetParam() || !session) return;
      if (terminates) {
        session->terminate();
      } else {
        session.reset();
      }
    };
    session->lifecycle().subscribeNext([&](const auto& event) { hear(event->eventType()); });
    session->progress().subscribeNext([&](CMTime) { hear("progress"); });
    session->durationChanges().subscribeNext([&](CMTime) { hear("duration"); });
    session->seekableRangesChanges().subscribeNext([&](const auto&) { hear("seekable"); });
    session->cuePoints().subscribeNext([&](const auto&) { hear("cuePoints"); });

    session->loadVideoURL(streamURL());
    session->begin();
    if (!alive.expired()) stream->becomeReady(1);
    if (!alive.expired()) stream->starve(true);
    if (!alive.expired()) stream->starve(false);
    if (!alive.expired()) stream->play();
    if (!alive.expired()) stream->advance(2, 0.5);
    EXPECT_THAT(heard, Contains(std::string(GetParam())));
    if (terminates) {
      EXPECT_EQ(heard.back(), kTarnPlaybackSessionLifecycleEventTerminate);
    }
    EXPECT_TRUE(alive.expired());
  }
}

INSTANTIATE_TEST_SUITE_P(EveryReport, LettingGoInsideASignal,
                         ::testing::Values(kTarnPlaybackSessionLifecycleEventBegin, "cuePoints", "duration",
                                           "seekable", kTarnPlaybackSessionLifecycleEventReady,
                                           kTarnPlaybackSessionLifecycleEventBufferingEnter,
                                           kTarnPlaybackSessionLifecycleEventPlay, "progress",
                                           kTarnPlaybackSessionLifecycleEventEnd));

TEST(TarnErrorSession, TellsItsErrorWhenItBeginsAndTerminatesTheSessionThatFailed) {
  const auto failed = std::make_shared<TarnBasicPlaybackSession>(videoWithCuePoint(), nullptr,
                                                                 std::make_shared<FakePlayer>());
  const auto event = std::make_shared<const TarnPlaybackSessionLifecycleEvent>("kSomePluginsErrorEvent");
  const auto session = std::make_shared<TarnErrorSession>(failed, event);
  SessionRecorder recorder(*session);
  EXPECT_EQ(session->video(), failed->video());
  session->avPlayerPlay();
  session->begin();
  session->begin();
  EXPECT_THAT(recorder.take(), ElementsAre("Begin", "kSomePluginsErrorEvent", "Terminate"));
  EXPECT_EQ(failed->player(), nullptr);
}

}  // namespace
