#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "Host/PlayerContractTest.h"
#include "Platform/MainQueue.h"
#include "Support/ChildProcess.h"
#include "Support/TestStream.h"
#include "Support/TimePrinter.h"

/// What every player of real streams does besides its contract: suites to instantiate with a maker of
/// players.
namespace tarn::test {

/// Makes a player that waits so long for its stream.
using MakeStreamPlayer = std::function<std::shared_ptr<TarnPlayer>(std::chrono::milliseconds limit)>;

template <typename Player, typename Options>
[[nodiscard]] std::shared_ptr<TarnPlayer> makeStreamPlayer(std::chrono::milliseconds limit) {
  Options options;
  options.loadLimit = options.stallLimit = limit;
  return std::make_shared<Player>(options);
}

/// Enough for a busy machine.
inline constexpr std::chrono::seconds kPatientLimit{60};

template <typename Player, typename Options>
class StreamPlayerStage final : public PlayerContractStage {
 public:
  std::shared_ptr<TarnPlayer> makePlayer() override {
    return makeStreamPlayer<Player, Options>(kPatientLimit);
  }
  URL stream() override { return server_.url("/index.m3u8"); }
  URL brokenStream() override { return server_.url("/nowhere.m3u8"); }

 private:
  StreamServer server_;
};

/// A player with its reports.
class StreamViewer {
 public:
  explicit StreamViewer(std::shared_ptr<TarnPlayer> made)
      : player(std::move(made)),
        token_(player->progress().observe([this](const CMTime& time) { progress.push_back(time); })) {}

  static bool waitFor(const std::function<bool()>& done) {
    return MainQueue::shared().runUntil(done, std::chrono::seconds(100));
  }
  ::testing::AssertionResult reaches(TarnPlayerState state) const {
    const auto now = [this] { return player->state().get(); };
    waitFor([&] { return now() == state || now() == TarnPlayerState::failed; });
    if (now() == state) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "state " << static_cast<int>(now()) << " at " << ::testing::PrintToString(player->currentTime())
           << (player->error() ? ", " + chainDescription(*player->error()) : "");
  }
  /// Absent when it never completed.
  std::optional<bool> seek(CMTime time) const {
    std::optional<bool> result;
    player->seekToTime(time, kCMTimeZero, kCMTimeZero, [&](bool finished) { result = finished; });
    waitFor([&] { return result.has_value(); });
    return result;
  }

  std::shared_ptr<TarnPlayer> player;
  std::vector<CMTime> progress;

 private:
  const Token token_;
};

class StreamPlayerTest : public ::testing::TestWithParam<MakeStreamPlayer> {
 protected:
  void loadPaused() {
    viewer.player->loadURL(server.url("/index.m3u8"));
    ASSERT_TRUE(viewer.reaches(TarnPlayerState::ready));
  }

  StreamServer server;
  StreamViewer viewer{GetParam()(kPatientLimit)};
};

TEST_P(StreamPlayerTest, ReportsTheLoadedRangeFromThePlayheadOn) {
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

TEST_P(StreamPlayerTest, FailsInAForkedChildWhichExits) {
  loadPaused();
  const std::pair<const char*, std::function<void()>> table[] = {
      {"nothing", [] {}},
      {"destroyed", [this] { viewer.player.reset(); }},
      {"played", [this] { viewer.player->play(); }},
      {"seeking", [this] { EXPECT_EQ(viewer.seek(seconds(1)), false); }},
      {"paused", [this] { viewer.player->pause(); }},
      {"loaded", [this] { viewer.player->loadURL(server.url("/index.m3u8")); }},
  };
  viewer.player->play();
  for (const auto& [what, work] : table) {
    EXPECT_EQ(statusOfChild([&] {
                EXPECT_THAT(viewer.player->currentTime(),
                            TimeEq(viewer.progress.empty() ? kCMTimeZero : viewer.progress.back()));
                work();
                if (what == table[0].first || !viewer.player) return;
                EXPECT_FALSE(viewer.reaches(TarnPlayerState::ready)) << what;
                EXPECT_THAT(chainDescription(*viewer.player->error()), ::testing::HasSubstr("forked"));
              }),
              0)
        << what;
  }
}

TEST_P(StreamPlayerTest, ReadsNoLocalFilesThatAPlaylistNames) {
  const std::string segment = "file://" + (testStreamFolder() / "segment000.ts").string();
  server.setResponse("/index.m3u8",
                     {200,
                      "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" + segment + "\n#EXT-X-ENDLIST\n",
                      {{"Content-Type", "application/vnd.apple.mpegurl"}}});
  viewer.player->loadURL(server.url("/index.m3u8"));
  EXPECT_FALSE(viewer.reaches(TarnPlayerState::ready));
}

struct StreamFault {
  const char* name;
  std::function<URL(LoopbackServer&)> prepare;
  TarnPlayerErrorCode code;
  std::function<void(LoopbackServer&)> onceReady = nullptr;  // what happens half way
  double played = 0;                                         // seconds, before it
};

inline void PrintTo(const StreamFault& row, std::ostream* out) {
  *out << row.name;
}

class StreamPlayerFaultTest : public ::testing::TestWithParam<std::tuple<MakeStreamPlayer, StreamFault>> {};

TEST_P(StreamPlayerFaultTest, EndsInAnErrorThatNamesTheStreamAndItsCause) {
  const auto& [makePlayer, fault] = GetParam();
  StreamServer server;
  const bool isStall = fault.code == TarnPlayerErrorCode::stalled;
  StreamViewer viewer(makePlayer(isStall ? std::chrono::seconds(2) : kPatientLimit));
  const URL url = fault.prepare(server);
  viewer.player->play();
  viewer.player->loadURL(url);
  if (fault.onceReady) {
    ASSERT_TRUE(viewer.reaches(TarnPlayerState::ready));
    fault.onceReady(server);
  }
  ASSERT_TRUE(viewer.waitFor([&] {
    const auto state = viewer.player->state().get();
    return state == TarnPlayerState::failed || state == TarnPlayerState::ended;
  }));
  ASSERT_EQ(viewer.player->state().get(), TarnPlayerState::failed);
  const Error& error = *viewer.player->error();
  EXPECT_EQ(error.domain, TarnPlayerErrorDomain);
  EXPECT_EQ(static_cast<TarnPlayerErrorCode>(error.code), fault.code) << chainDescription(error);
  EXPECT_THAT(chainDescription(error), ::testing::HasSubstr(url.absoluteString()));
  EXPECT_TRUE(error.underlying || error.failureReason) << chainDescription(error);
  const CMTime reached = viewer.progress.empty() ? kCMTimeZero : viewer.progress.back();
  EXPECT_GT(CMTimeGetSeconds(reached), fault.played - 0.1);
}

/// Each fault with this maker of players.
[[nodiscard]] inline auto allStreamFaults(MakeStreamPlayer makePlayer) {
  using enum TarnPlayerErrorCode;
  const auto with = [](auto change) {
    return [change](LoopbackServer& server) {
      change(server);
      return server.url("/index.m3u8");
    };
  };
  const auto holding = [with](const char* path) { return with([path](auto& s) { s.hold(path); }); };
  const auto returning = [with](const char* body, const char* type) {
    return with([=](auto& s) { s.setResponse("/index.m3u8", {200, body, {{"Content-Type", type}}}); });
  };
  const LoopbackServer::Response missing{.status = 404};
  const std::vector<StreamFault> faults{
      {"NotThere", [](auto& s) { return s.url("/nowhere.m3u8"); }, cannotOpen},
      {"NoServer", [](auto&) { return LoopbackServer().url("/index.m3u8"); }, cannotOpen},
      {"WebPage", returning("<!DOCTYPE html><html>No</html>", "text/html"), notPlayable},
      {"Nothing", returning("", "video/mp2t"), notPlayable},
      {"NoSegments", with([=](auto& s) {
         for (const char* n : {"0", "1", "2", "3"})
           s.setResponse(std::string("/segment00") + n + ".ts", missing);
       }),
       cannotOpen},
      {"SegmentsGoneHalfWay", holding("/segment002.ts"), brokenOff,
       [=](auto& s) { s.setResponse("/segment003.ts", missing), s.setResponse("/segment002.ts", missing); },
       2.0},
      {"ConnectionCutHalfWay", holding("/segment002.ts"), brokenOff,
       [=](auto& s) {
         s.setResponse("/segment003.ts", missing);
         s.setResponse("/segment002.ts", testStreamFile("/segment002.ts", /*isCutOff=*/true));
       },
       2.0},
      {"PlaylistNeverComes", holding("/index.m3u8"), stalled},
      {"SegmentNeverComes", holding("/segment001.ts"), stalled}};
  return ::testing::Combine(::testing::Values(std::move(makePlayer)), ::testing::ValuesIn(faults));
}

[[nodiscard]] inline std::string nameOfStreamFault(
    const ::testing::TestParamInfo<StreamPlayerFaultTest::ParamType>& row) {
  return std::get<1>(row.param).name;
}

}  // namespace tarn::test
