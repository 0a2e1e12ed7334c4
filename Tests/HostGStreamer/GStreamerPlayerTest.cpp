#include "HostGStreamer/GStreamerPlayer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Platform/Queue.h"
#include "Support/ChildProcess.h"
#include "Support/StreamServer.h"
#include "Support/TimePrinter.h"

namespace tarn::test {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;

const CMTime kZero = kCMTimeZero;

/// Limits that a busy machine keeps too.
GStreamerPlayerOptions patient() {
  GStreamerPlayerOptions options;
  options.loadLimit = options.stallLimit = 60s;
  return options;
}

/// A player with its reports.
class Viewer {
 public:
  explicit Viewer(const GStreamerPlayerOptions& options = patient())
      : player(std::make_unique<GStreamerPlayer>(options)) {
    tokens_.push_back(player->progress().observe([this](const CMTime& time) { progress.push_back(time); }));
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

  std::unique_ptr<GStreamerPlayer> player;
  std::vector<CMTime> progress;

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

TEST_F(GStreamerPlayerTest, ReportsTheLoadedRangeFromThePlayheadOn) {
  loadPaused();
  EXPECT_EQ(viewer.seek(seconds(1)), true);
  viewer.player->play();
  const auto hasLoadedAll = [&] {
    const auto& loaded = viewer.player->loadedTimeRanges().get();
    if (!loaded || loaded->size() != 1 || loaded->front().start < seconds(1)) return false;
    return CMTimeGetSeconds(CMTimeRangeGetEnd(loaded->front())) > 3.5;
  };
  EXPECT_TRUE(viewer.waitFor(hasLoadedAll));
}

struct FaultRow {
  const char* name;
  std::function<URL(StreamServer&)> prepare;
  TarnPlayerErrorCode code;
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
  EXPECT_TRUE(error.underlying || error.failureReason) << chainDescription(error);
  const CMTime reached = viewer.progress.empty() ? kZero : viewer.progress.back();
  EXPECT_GT(CMTimeGetSeconds(reached), GetParam().played - 0.1);
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
    {"NotThere", [](auto& s) { return s.url("/nowhere.m3u8"); }, cannotOpen},
    {"NoServer", [](auto&) { return StreamServer().url("/index.m3u8"); }, cannotOpen},
    {"WebPage", with([](auto& s) { s.serve("/index.m3u8", "<!DOCTYPE html><html>No</html>", "text/html"); }),
     notPlayable},
    {"Nothing", with([](auto& s) { s.serve("/index.m3u8", "", "video/mp2t"); }), notPlayable},
    {"NoSegments", with([](auto& s) {
       for (const char* n : {"0", "1", "2", "3"}) s.refuse(std::string("/segment00") + n + ".ts", 404);
     }),
     cannotOpen},
    {"SegmentsGoneHalfWay", hanging("/segment002.ts"), brokenOff,
     [](auto& s) { s.refuse("/segment003.ts", 404), s.refuse("/segment002.ts", 404); }, 2.0},
    {"ConnectionCutHalfWay", hanging("/segment002.ts"), brokenOff,
     [](auto& s) { s.refuse("/segment003.ts", 404), s.breakOff("/segment002.ts"); }, 2.0},
    {"PlaylistNeverComes", hanging("/index.m3u8"), stalled},
    {"SegmentNeverComes", hanging("/segment001.ts"), stalled}};

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

TEST_F(GStreamerPlayerTest, AMissingSinkIsReportedWithThePackageToInstall) {
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

}  // namespace
}  // namespace tarn::test
