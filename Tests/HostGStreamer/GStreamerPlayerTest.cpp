#include "HostGStreamer/GStreamerPlayer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Queue.h"
#include "StreamServer.h"
#include "Support/ChildProcess.h"
#include "Support/TimePrinter.h"

namespace tarn::test {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

const CMTime kZero = kCMTimeZero;

/// Limits that a busy machine keeps too.
GStreamerPlayerOptions patient() {
  GStreamerPlayerOptions options;
  options.loadLimit = options.stallLimit = 60s;
  return options;
}

/// A player with everything that it told.
class Viewer {
 public:
  explicit Viewer(const GStreamerPlayerOptions& options = patient())
      : player(std::make_unique<GStreamerPlayer>(options)) {
    tokens_.push_back(player->progress().observe([this](const CMTime& time) { progress.push_back(time); }));
    tokens_.push_back(player->state().observe([this](const auto& state) { states.push_back(state); }));
  }

  bool waitFor(const std::function<bool()>& done) { return MainQueue::shared().runUntil(done, 100s); }
  ::testing::AssertionResult reaches(TarnPlayerState state) {
    const auto now = [this] { return player->state().get(); };
    waitFor([&] { return now() == state || now() == TarnPlayerState::failed; });
    if (now() == state) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "state " << static_cast<int>(now()) << " at " << ::testing::PrintToString(player->currentTime())
           << (player->error() ? ", " + chainDescription(*player->error()) : "");
  }
  /// Waits for a seek; absent when it never completed.
  std::optional<bool> seek(CMTime time, CMTime before = kZero, CMTime after = kZero) {
    std::optional<bool> answer;
    player->seekToTime(time, before, after, [&](bool finished) { answer = finished; });
    EXPECT_FALSE(answer) << "completed inside the call";
    waitFor([&] { return answer.has_value(); });
    return answer;
  }
  [[nodiscard]] CMTime duration() const { return *player->currentItemDuration().get(); }

  std::unique_ptr<GStreamerPlayer> player;
  std::vector<CMTime> progress;
  std::vector<TarnPlayerState> states;

 private:
  std::vector<Token> tokens_;
};

class GStreamerPlayerTest : public ::testing::Test {
 protected:
  void loadPaused() {
    viewer.player->loadURL(server.url("/index.m3u8"));
    ASSERT_TRUE(viewer.reaches(TarnPlayerState::ready));
  }

  StreamServer server;
  Viewer viewer;
};

TEST_F(GStreamerPlayerTest, PlaysAnItemFromItsStartToItsDurationExactly) {
  EXPECT_THAT(viewer.player->currentTime(), TimeEq(kZero));
  viewer.player->play();
  viewer.player->loadURL(server.url("/index.m3u8"));
  bool endsBeforeItStops = false;
  const auto observation = viewer.player->playing().observe(
      [&](bool) { endsBeforeItStops = viewer.player->state().get() == TarnPlayerState::ended; });
  ASSERT_TRUE(viewer.reaches(TarnPlayerState::ended));

  EXPECT_TRUE(endsBeforeItStops);
  EXPECT_THAT(viewer.states,
              ElementsAre(TarnPlayerState::loading, TarnPlayerState::ready, TarnPlayerState::ended));
  EXPECT_NEAR(CMTimeGetSeconds(viewer.duration()), 4.0, 0.04);
  ASSERT_GT(viewer.progress.size(), 10U);
  EXPECT_LT(CMTimeGetSeconds(viewer.progress.front()), 1.0);
  for (std::size_t i = 1; i < viewer.progress.size(); ++i) {
    EXPECT_LT(CMTimeCompare(viewer.progress[i - 1], viewer.progress[i]), 0) << "report " << i;
  }
  EXPECT_THAT(viewer.progress.back(), IdenticalTo(viewer.duration()));
  EXPECT_THAT(viewer.player->currentTime(), TimeEq(viewer.duration()));
  EXPECT_FALSE(viewer.player->playing().get());
  const auto seekable = viewer.player->seekableTimeRanges().get();
  ASSERT_TRUE(seekable && seekable->size() == 1);
  EXPECT_THAT(CMTimeRangeGetEnd(seekable->front()), TimeEq(viewer.duration()));
}

TEST_F(GStreamerPlayerTest, SeeksWithoutToleranceLandOnTheTimeItself) {
  loadPaused();
  for (const double target : {1.0, 0.2, 0.0, 2.999, 3.5, 2.0, 1.0 + 1.0 / 600}) {
    SCOPED_TRACE(target);
    viewer.progress.clear();
    EXPECT_EQ(viewer.seek(seconds(target)), true);
    EXPECT_THAT(viewer.progress, ElementsAre(TimeEq(seconds(target))));
    EXPECT_THAT(viewer.player->currentTime(), TimeEq(seconds(target)));
  }
  EXPECT_EQ(viewer.seek(seconds(-3)), true);
  EXPECT_THAT(viewer.player->currentTime(), TimeEq(kZero));
}

TEST_F(GStreamerPlayerTest, LooseSeeksLandWithinTheirTolerances) {
  loadPaused();
  struct Row {
    double target, before, after;
  };
  for (const auto& row : {Row{1.7, 2, 2}, Row{2.3, 2, 0}, Row{2.3, 0, 2}, Row{1.7, 0.01, 0.01},
                          Row{3.3, 0.1, 0}, Row{0.1, 2, 2}}) {
    SCOPED_TRACE(::testing::PrintToString(row.target));
    EXPECT_EQ(viewer.seek(seconds(row.target), seconds(row.before), seconds(row.after)), true);
    const double landing = CMTimeGetSeconds(viewer.player->currentTime());
    EXPECT_GE(landing, row.target - row.before - 1e-4);
    EXPECT_LE(landing, row.target + row.after + 1e-4);
  }
}

TEST_F(GStreamerPlayerTest, ASeekToTheEndLandsOnTheDurationAndPlayingThereEndsTheItem) {
  loadPaused();
  for (const CMTime& target : {viewer.duration(), seconds(1000), kCMTimePositiveInfinity}) {
    EXPECT_EQ(viewer.seek(target), true);
    EXPECT_THAT(viewer.progress.back(), IdenticalTo(viewer.duration()));
    EXPECT_EQ(viewer.player->state().get(), TarnPlayerState::ready);
    viewer.player->play();
    ASSERT_TRUE(viewer.reaches(TarnPlayerState::ended));
    EXPECT_FALSE(viewer.player->playing().get());
  }
  viewer.player->play();
  EXPECT_FALSE(viewer.player->playing().get()) << "an ended item plays on only after a seek";

  const auto replay = [&](CMTime from) {
    viewer.player->seekToTime(from, kZero, kZero, nullptr);
    viewer.player->play();
  };
  replay(seconds(3));
  EXPECT_TRUE(viewer.player->playing().get());
  std::vector<bool> playing;
  const auto observation = viewer.player->playing().observe([&](bool plays) { playing.push_back(plays); });
  const auto end = viewer.player->state().observe([&](TarnPlayerState state) {
    if (state == TarnPlayerState::ended) replay(seconds(1));
  });
  viewer.progress.clear();
  const auto isBehind = [&](double time) { return viewer.player->currentTime() > seconds(time); };
  EXPECT_TRUE(viewer.waitFor([&] { return isBehind(3.5); }));
  EXPECT_TRUE(viewer.waitFor([&] { return !isBehind(2) && isBehind(1.2); }));
  EXPECT_THAT(playing, ElementsAre(false, true));
}

TEST_F(GStreamerPlayerTest, ANewerSeekSupersedesTheOlderOnceBeforeAndAfterTheItemIsReady) {
  viewer.player->loadURL(server.url("/index.m3u8"));
  for (const char* moment : {"loading", "ready"}) {
    SCOPED_TRACE(moment);
    std::vector<std::string> answers;
    for (const double target : {3.0, 1.0, 2.0}) {
      viewer.player->seekToTime(seconds(target), kZero, kZero, [&answers, target](bool finished) {
        answers.push_back(std::to_string(static_cast<int>(target)) + (finished ? " yes" : " no"));
      });
    }
    EXPECT_TRUE(viewer.waitFor([&] { return answers.size() == 3; }));
    EXPECT_THAT(answers, ElementsAre("3 no", "1 no", "2 yes"));
    EXPECT_THAT(viewer.player->currentTime(), TimeEq(seconds(2)));
  }
  EXPECT_THAT(viewer.progress, ElementsAre(TimeEq(seconds(2)), TimeEq(seconds(2))));
}

TEST_F(GStreamerPlayerTest, SeeksThatLeadNowhereCompleteUnfinished) {
  EXPECT_EQ(viewer.seek(kZero), false) << "no item";
  loadPaused();
  for (const CMTime& time : {kCMTimeInvalid, kCMTimeIndefinite, kCMTimeNegativeInfinity}) {
    EXPECT_EQ(viewer.seek(time), false) << CMTimeCopyDescription(time);
  }
  std::optional<bool> answer;
  viewer.player->seekToTime(seconds(1), kZero, kZero, [&](bool finished) { answer = finished; });
  viewer.player->loadURL(server.url("/nowhere.m3u8"));
  EXPECT_TRUE(viewer.waitFor([&] { return answer.has_value(); }));
  EXPECT_EQ(answer, false) << "another item";
}

TEST_F(GStreamerPlayerTest, CompletesASeekBeforeItReportsThePositionAndPlaysOnFromThere) {
  loadPaused();
  viewer.player->play();
  ASSERT_TRUE(viewer.waitFor([&] { return viewer.progress.size() > 2; }));
  std::vector<CMTime> atCompletion;
  viewer.player->seekToTime(seconds(3), kZero, kZero, [&](bool) { atCompletion = viewer.progress; });
  ASSERT_TRUE(viewer.waitFor(
      [&] { return viewer.progress.size() > atCompletion.size() + 2 && !atCompletion.empty(); }));
  EXPECT_LT(CMTimeCompare(atCompletion.back(), seconds(3)), 0);
  EXPECT_THAT(viewer.progress[atCompletion.size()], TimeEq(seconds(3)));
  EXPECT_TRUE(viewer.player->playing().get());
}

TEST_F(GStreamerPlayerTest, APausedPlayheadStandsAndGoesOnFromThere) {
  loadPaused();
  viewer.player->play();
  ASSERT_TRUE(viewer.waitFor([&] { return viewer.progress.size() > 4; }));
  viewer.player->pause();
  const CMTime stood = viewer.player->currentTime();
  EXPECT_EQ(viewer.seek(seconds(1000)), true);  // the queue turns for a while
  EXPECT_EQ(viewer.player->state().get(), TarnPlayerState::ready);
  EXPECT_EQ(viewer.seek(stood), true);
  viewer.progress.clear();
  viewer.player->play();
  ASSERT_TRUE(viewer.waitFor([&] { return viewer.progress.size() > 2; }));
  EXPECT_GE(CMTimeCompare(viewer.progress.front(), stood), 0);
}

TEST_F(GStreamerPlayerTest, TellsTheRangeInHandFromThePlayheadOn) {
  loadPaused();
  EXPECT_EQ(viewer.seek(seconds(1)), true);
  viewer.player->play();
  const auto hasAllInHand = [&] {
    const auto& loaded = viewer.player->loadedTimeRanges().get();
    if (!loaded || loaded->size() != 1 || loaded->front().start < seconds(1)) return false;
    return CMTimeGetSeconds(CMTimeRangeGetEnd(loaded->front())) > 3.5;
  };
  EXPECT_TRUE(viewer.waitFor(hasAllInHand));
}

struct FaultRow {
  const char* name;
  std::function<URL(StreamServer&)> prepare;
  TarnPlayerErrorCode code;
  bool hasCause;
  std::function<void(StreamServer&)> onceReady = nullptr;  // what happens half way
  double played = 0;                                       // seconds, before it
};

void PrintTo(const FaultRow& row, std::ostream* out) {
  *out << row.name;
}

class GStreamerPlayerFault : public ::testing::TestWithParam<FaultRow> {};

TEST_P(GStreamerPlayerFault, EndsInAnErrorThatNamesTheStreamAndItsCause) {
  StreamServer server;
  GStreamerPlayerOptions options = patient();
  if (GetParam().code == TarnPlayerErrorCode::stalled) options.loadLimit = options.stallLimit = 2s;
  Viewer viewer(options);
  const URL url = GetParam().prepare(server);
  viewer.player->play();
  viewer.player->loadURL(url);
  if (GetParam().onceReady) {
    ASSERT_TRUE(viewer.reaches(TarnPlayerState::ready));
    GetParam().onceReady(server);
  }
  ASSERT_TRUE(viewer.waitFor([&] {
    const auto state = viewer.player->state().get();
    return state == TarnPlayerState::failed || state == TarnPlayerState::ended;
  }));
  ASSERT_EQ(viewer.player->state().get(), TarnPlayerState::failed);
  const Error& error = *viewer.player->error();
  EXPECT_EQ(error.domain, TarnPlayerErrorDomain);
  EXPECT_EQ(static_cast<TarnPlayerErrorCode>(error.code), GetParam().code) << chainDescription(error);
  EXPECT_THAT(chainDescription(error), HasSubstr(url.absoluteString()));
  EXPECT_EQ(error.underlying != nullptr || error.failureReason.has_value(), GetParam().hasCause)
      << chainDescription(error);
  EXPECT_FALSE(viewer.player->playing().get());
  const CMTime reached = viewer.progress.empty() ? kZero : viewer.progress.back();
  EXPECT_GT(CMTimeGetSeconds(reached), GetParam().played - 0.1);
  EXPECT_EQ(viewer.seek(kZero), false);

  // Another item heals it.
  viewer.player->loadURL(StreamServer().url("/x"));
  EXPECT_FALSE(viewer.player->error());
}

/// The stream, in which that happens.
const auto with = [](auto change) {
  return [change](StreamServer& server) {
    change(server);
    return server.url("/index.m3u8");
  };
};
const auto hanging = [](const char* path) { return with([path](auto& s) { s.hang(path); }); };

using enum TarnPlayerErrorCode;
const FaultRow kFaults[] = {
    {"NotThere", [](auto& s) { return s.url("/nowhere.m3u8"); }, cannotOpen, true},
    {"NoServer", [](auto&) { return StreamServer().url("/index.m3u8"); }, cannotOpen, true},
    {"LocalFile", [](auto&) { return *URL::fromString("file:///etc/hostname"); }, unsupportedScheme, false},
    {"WebPage", with([](auto& s) { s.serve("/index.m3u8", "<!DOCTYPE html><html>No</html>", "text/html"); }),
     notPlayable, true},
    {"Nothing", with([](auto& s) { s.serve("/index.m3u8", "", "video/mp2t"); }), notPlayable, true},
    {"NoSegments", with([](auto& s) {
       for (const char* n : {"0", "1", "2", "3"}) s.refuse(std::string("/segment00") + n + ".ts", 404);
     }),
     cannotOpen, true},
    {"SegmentsGoneHalfWay", hanging("/segment002.ts"), brokenOff, true,
     [](auto& s) { s.refuse("/segment003.ts", 404), s.refuse("/segment002.ts", 404); }, 2.0},
    {"ConnectionCutHalfWay", hanging("/segment002.ts"), brokenOff, true,
     [](auto& s) { s.refuse("/segment003.ts", 404), s.breakOff("/segment002.ts"); }, 2.0},
    {"PlaylistNeverComes", hanging("/index.m3u8"), stalled, true},
    {"SegmentNeverComes", hanging("/segment001.ts"), stalled, true}};

INSTANTIATE_TEST_SUITE_P(, GStreamerPlayerFault, ::testing::ValuesIn(kFaults),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(GStreamerPlayerTest, SurvivesFaultsThatPass) {
  server.refuse("/segment001.ts", 503, true);
  server.breakOff("/segment002.ts", true);
  server.hang("/segment003.ts");
  viewer.player->play();
  viewer.player->loadURL(server.url("/index.m3u8"));
  EXPECT_TRUE(viewer.waitFor([&] { return server.requests("/segment003.ts") > 0; }));
  server.heal("/segment003.ts");
  EXPECT_TRUE(viewer.reaches(TarnPlayerState::ended));
  for (const char* path : {"/segment001.ts", "/segment002.ts"}) EXPECT_EQ(server.requests(path), 2) << path;
}

TEST_F(GStreamerPlayerTest, FailsInAForkedChildWhichExits) {
  loadPaused();
  const std::pair<const char*, std::function<void()>> table[] = {
      {"nothing", [] {}},
      {"destroyed", [this] { viewer.player.reset(); }},
      {"played", [this] { viewer.player->play(); }},
      {"sought", [this] { EXPECT_EQ(viewer.seek(seconds(1)), false); }},
      {"paused", [this] { viewer.player->pause(); }},
      {"loaded", [this] { viewer.player->loadURL(server.url("/index.m3u8")); }},
  };
  viewer.player->play();
  for (const auto& [what, work] : table) {
    EXPECT_EQ(statusOfChild([&] {
                EXPECT_THAT(viewer.player->currentTime(),
                            TimeEq(viewer.progress.empty() ? kZero : viewer.progress.back()));
                work();
                if (what == table[0].first || !viewer.player) return;
                EXPECT_FALSE(viewer.reaches(TarnPlayerState::ready)) << what;
                EXPECT_THAT(chainDescription(*viewer.player->error()), HasSubstr("forked"));
              }),
              0)
        << what;
  }
}

TEST_F(GStreamerPlayerTest, AMissingSinkIsToldWithWhatToInstall) {
  GStreamerPlayerOptions options;
  options.audioSink = "nosuchsink";
  Viewer lacking(options);
  lacking.player->loadURL(server.url("/index.m3u8"));
  ASSERT_TRUE(lacking.reaches(TarnPlayerState::failed));
  EXPECT_EQ(static_cast<TarnPlayerErrorCode>(lacking.player->error()->code),
            TarnPlayerErrorCode::missingComponent);
  EXPECT_THAT(chainDescription(*lacking.player->error()), HasSubstr("nosuchsink"));
  EXPECT_TRUE(lacking.player->error()->underlying->recoverySuggestion);
}

TEST_F(GStreamerPlayerTest, MayBeDestroyedInsideAnyOfItsCallbacks) {
  for (const char* path : {"/index.m3u8", "/nowhere.m3u8"}) {
    int calls = 0;
    for (int last = 1; calls >= last - 1; ++last) {  // each callback in turn, until it ends before
      SCOPED_TRACE(path + std::to_string(last));
      Viewer one;
      calls = 0;
      const auto count = [&](const auto&) {
        if (++calls == last) one.player.reset();
      };
      GStreamerPlayer& player = *one.player;
      const Token tokens[] = {player.state().observe(count),
                              player.progress().observe(count),
                              player.playing().observe(count),
                              player.buffering().observe(count),
                              player.currentItemDuration().observe(count),
                              player.seekableTimeRanges().observe(count),
                              player.loadedTimeRanges().observe(count)};
      player.loadURL(server.url(path));
      if (one.player) player.seekToTime(kCMTimePositiveInfinity, kZero, kZero, count);
      if (one.player) player.play();
      const auto hasStopped = [&] {
        return player.state().get() != TarnPlayerState::loading && !player.playing().get();
      };
      EXPECT_TRUE(one.waitFor([&] { return !one.player || hasStopped(); }));
      MainQueue::shared().drain();
      EXPECT_LE(calls, last);
    }
    EXPECT_GT(calls, 4);
  }
}

TEST_F(GStreamerPlayerTest, ALoadDropsTheItemBeforeWhateverItWasDoing) {
  server.hang("/hang.m3u8");
  for (int i = 0; i < 5; ++i) {
    viewer.player->loadURL(server.url("/index.m3u8"));
    for (int turn = 0; turn < i; ++turn) MainQueue::shared().drain();
    viewer.player->loadURL(server.url(i % 2 ? "/nowhere.m3u8" : "/hang.m3u8"));
  }
  viewer.player->play();
  viewer.player->loadURL(server.url("/index.m3u8"));
  ASSERT_TRUE(viewer.waitFor([&] { return viewer.progress.size() > 3; }));
  EXPECT_FALSE(viewer.player->error());
}

}  // namespace
}  // namespace tarn::test
