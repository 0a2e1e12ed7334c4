#include "Host/TarnBasicPlaybackSession.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <functional>
#include <map>
#include <optional>

#include "Host/TarnErrorSession.h"
#include "Platform/MainQueue.h"
#include "Support/FakePlayer.h"
#include "Support/Script.h"
#include "Support/SessionRecorder.h"
#include "Support/TimePrinter.h"

namespace {

using tarn::test::FakePlayer;
using tarn::test::runScript;
using tarn::test::ScriptCommand;
using tarn::test::SessionRecorder;
using ::testing::ElementsAre;
using Lines = std::vector<std::string>;

const tarn::Error kBrokenOff = {.domain = "Player", .code = 7, .description = "The stream broke off"};

std::shared_ptr<const TarnVideo> videoWithCuePoint() {
  const auto cuePoint = std::make_shared<const TarnCuePoint>("chapter", tarn::test::seconds(5));
  return std::make_shared<const TarnVideo>(TarnMutableVideo{
      .title = "Film", .cuePoints = TarnCuePointCollection::collectionWithArray({cuePoint})});
}

/// The commands of a script; "player" goes before the name of one of the player. "forget" clears the record.
const std::map<std::string, std::function<void(TarnBasicPlaybackSession&)>> kSessionSteps = {
    {"load", [](auto& s) { s.loadVideoURL(*tarn::URL::fromString("http://host/stream.m3u8")); }},
    {"begin", [](auto& s) { s.begin(); }},
    {"play", [](auto& s) { s.avPlayerPlay(); }},
    {"pause", [](auto& s) { s.avPlayerPause(); }},
    {"resume", [](auto& s) { s.resumeVideoAtTime(tarn::test::seconds(0.5), true); }},
    {"resumePaused", [](auto& s) { s.resumeVideoAtTime(tarn::test::seconds(0.5), false); }},
    {"terminate", [](auto& s) { s.terminate(); }},
    {"turn", [](auto&) { tarn::MainQueue::shared().drain(); }},
};
const std::map<std::string, std::function<void(FakePlayer&)>> kPlayerSteps = {
    {"ready", [](auto& p) { p.becomeReady(1); }},
    {"play", [](auto& p) { p.play(); }},
    {"pause", [](auto& p) { p.pause(); }},
    {"advance", [](auto& p) { p.advance(0.5); }},
    {"loadedTo", [](auto& p) { p.setLoadedTo(0.75); }},
    {"starve", [](auto& p) { p.starve(true); }},
    {"feed", [](auto& p) { p.starve(false); }},
    {"seek", [](auto& p) { p.seekToTime(tarn::test::seconds(0.25), kCMTimeZero, kCMTimeZero, nullptr); }},
    {"fail", [](auto& p) { p.fail(kBrokenOff); }},
};

struct Stage {
  std::shared_ptr<FakePlayer> player = std::make_shared<FakePlayer>(0.5);
  std::shared_ptr<TarnBasicPlaybackSession> session =
      std::make_shared<TarnBasicPlaybackSession>(videoWithCuePoint(), nullptr, player);
  SessionRecorder recorder{*session};

  void perform(const ScriptCommand& command) {
    if (command.name == "forget") return (void)recorder.take();
    if (command.name == "player") return kPlayerSteps.at(command.argument())(*player);
    kSessionSteps.at(command.name)(*session);
  }
  void play(const std::string& script) {
    runScript(
        script, [this](const ScriptCommand& command) { perform(command); }, nullptr);
  }
};

TEST(TarnBasicPlaybackSessionTest, SendsItsEventsInTheDocumentedOrder) {
  std::optional<Stage> stage;
  const auto perform = [&stage](const ScriptCommand& command) {
    if (command.name == "ready") return stage.emplace().play("load; begin; player ready; forget");
    command.name == "new" ? (void)stage.emplace() : stage->perform(command);
  };
  const auto observe = [&stage](const std::string&) {
    return fmt::format("{}", fmt::join(stage->recorder.take(), ", "));
  };
  runScript(R"(
    // It sends nothing until it begins, then its current state without the values not known yet.
    new; load; player ready; play; player advance; player loadedTo => lines:
    begin; begin                     => lines: Begin, cuePoints 1, Ready, duration 1, seekable 0+1, loaded 0+0.75, Play, progress 0.5
    new; load; begin                 => lines: Begin, cuePoints 1
    // Reaching the end sends no pause, and playback continues after a seek back.
    ready; play; player advance; player advance; player advance => lines: Play, progress 0.5, progress 1, End
    resume; turn; player advance     => lines: Play, progress 0.5, progress 1, End
    // A repeated state is sent once, whatever its origin.
    ready; player play; play; player pause; pause => lines: Play, Pause
    ready; player starve; player starve; player feed; player feed => lines: BufferingEnter, BufferingExit
    // A failure, also one before the beginning, is followed only by Terminate.
    ready; play; player fail; player starve; terminate => lines: Play, Error, Terminate
    new; load; player fail; begin    => lines: Begin, cuePoints 1, Error, Terminate
    // Another stream becomes ready again.
    ready; load; player ready        => lines: duration nan, seekable unknown, duration 1, seekable 0+1, Ready
    // `resumePlaybackAtTime` can keep the pause, and keeps it if a newer seek supersedes it.
    ready; resumePaused; turn        => lines: progress 0.5
    ready; resume; player seek; turn => lines: progress 0.25
    // Nothing is sent after termination.
    ready; play; resume; terminate; terminate; begin; play; load; turn => lines: Play, Terminate)",
            perform, observe);
}

TEST(TarnBasicPlaybackSessionTest, SendsThePlayersErrorAndReleasesThePlayer) {
  Stage stage;
  stage.play("load; begin; player ready; player fail");
  const std::weak_ptr<FakePlayer> weak = std::exchange(stage.player, nullptr);
  EXPECT_EQ(stage.recorder.lastEvent(kTarnPlaybackSessionLifecycleEventError)->error(), kBrokenOff);
  EXPECT_EQ(stage.session->player(), nullptr);
  EXPECT_TRUE(weak.expired());
}

TEST(TarnBasicPlaybackSessionTest, StopsItsPlayerWhenDestroyedEvenIfThePlayerIsStillHeld) {
  Stage stage;
  stage.play("load; begin; player ready; play");
  const auto extension = stage.session->providerExtension();
  EXPECT_EQ(extension.playbackSession(), stage.session);
  stage.session.reset();
  EXPECT_EQ(stage.player->calls()->back(), "pause");
  EXPECT_EQ(extension.playbackSession(), nullptr);
}

TEST(TarnBasicPlaybackSessionTest, HidesThePictureWhileItHasAPlayer) {
  const Stage stage;
  stage.session->setPlayerLayerHidden(true);
  stage.session->terminate();
  stage.session->setPlayerLayerHidden(false);
  EXPECT_THAT(*stage.player->calls(), ElementsAre("hideLayer", "pause"));
}

TEST(TarnBasicPlaybackSessionTest, FailsWhenItBeginsWithoutAPlayerOrASource) {
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

/// The events that two subscribers receive, in the order in which they subscribed.
using Received = std::pair<Lines, Lines>;

/// Plays a session to its end; the first subscriber terminates or releases it inside its report number
/// `fatal`.
Received endInside(std::size_t fatal, bool terminates) {
  Stage stage;
  auto* const player = stage.player.get();
  const std::weak_ptr<FakePlayer> alive = std::exchange(stage.player, nullptr);
  Received received;
  Lines& early = received.first;
  const auto report = [&](const std::string& what) {
    early.push_back(what);
    if (early.size() != fatal + 1) return;
    terminates ? stage.session->terminate() : stage.session.reset();
  };
  const auto follow = [](const TarnPlaybackSession& session, const auto& write) {
    session.lifecycle().subscribeNext([=](const auto& event) { write(event->eventType()); });
    session.progress().subscribeNext([=](CMTime) { write("progress"); });
    session.durationChanges().subscribeNext([=](CMTime) { write("duration"); });
    session.seekableRangesChanges().subscribeNext([=](const auto&) { write("seekable"); });
    session.loadedTimeRangesChanges().subscribeNext([=](const auto&) { write("loaded"); });
    session.cuePoints().subscribeNext([=](const auto&) { write("cuePoints"); });
  };
  follow(*stage.session, report);
  follow(*stage.session, [&received](const std::string& what) { received.second.push_back(what); });
  stage.play("load; begin");
  for (const auto* const step : {"ready", "loadedTo", "starve", "feed", "play", "advance", "advance"}) {
    if (!alive.expired()) kPlayerSteps.at(step)(*player);
  }
  EXPECT_EQ(alive.expired(), fatal < early.size());
  return received;
}

TEST(TarnBasicPlaybackSessionTest, CanBeTerminatedOrReleasedInsideEveryReport) {
  const auto whole = endInside(100, false).first;
  EXPECT_EQ(whole.size(), 12U);
  for (std::size_t fatal = 0; fatal < whole.size(); ++fatal) {
    SCOPED_TRACE(whole[fatal]);
    Lines late(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(fatal));
    Lines early(late);
    early.push_back(whole[fatal]);
    for (auto* lines : {&early, &late}) lines->emplace_back(kTarnPlaybackSessionLifecycleEventTerminate);
    EXPECT_EQ(endInside(fatal, true), Received(early, late));
    (void)endInside(fatal, false);
  }
}

TEST(TarnBasicPlaybackSessionTest, ErrorSessionSendsItsErrorWhenItBeginsAndTerminatesTheFailedSession) {
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

  const auto ended = std::make_shared<TarnErrorSession>(failed, event);
  ended->lifecycle().subscribeNext([&ended](const auto&) { ended->terminate(); });
  SessionRecorder late(*ended);
  ended->begin();
  EXPECT_THAT(late.take(), ElementsAre("Terminate"));
}

}  // namespace
