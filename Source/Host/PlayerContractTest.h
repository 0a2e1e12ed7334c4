#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "Host/TarnPlayer.h"
#include "Platform/MainQueue.h"

/// The promises of `TarnPlayer` as a suite that any player can be run against. Needs googletest, which the
/// including program provides. Include it in one source file of a test program, derive a stage, and
/// instantiate:
///
///     class MyStage final : public tarn::PlayerContractStage { … };
///     INSTANTIATE_TEST_SUITE_P(MyPlayer, PlayerContractTest,
///     testing::Values(tarn::playerContract<MyStage>()));
namespace tarn {

/// What the suite needs to know of a player. One stage is made for each test.
class PlayerContractStage {
 public:
  PlayerContractStage() = default;
  PlayerContractStage(const PlayerContractStage&) = delete;
  PlayerContractStage& operator=(const PlayerContractStage&) = delete;
  virtual ~PlayerContractStage() = default;

  [[nodiscard]] virtual std::shared_ptr<TarnPlayer> makePlayer() = 0;
  /// A stream that the player can play and seek in; four seconds long, give or take a tenth.
  [[nodiscard]] virtual URL stream() = 0;
  /// A stream that fails to load.
  [[nodiscard]] virtual URL brokenStream() { return *URL::fromString("file:///nowhere"); }
  /// Lets time pass, running the main queue, until `done` returns true or patience is exhausted. Returns
  /// whether `done` was reached.
  virtual bool waitUntil(const std::function<bool()>& done) {
    return MainQueue::shared().runUntil(done, std::chrono::seconds(100));
  }
};

using MakePlayerContractStage = std::function<std::unique_ptr<PlayerContractStage>()>;

template <typename Stage>
[[nodiscard]] MakePlayerContractStage playerContract() {
  return [] { return std::make_unique<Stage>(); };
}

}  // namespace tarn

class PlayerContractTest : public ::testing::TestWithParam<tarn::MakePlayerContractStage> {
 protected:
  /// The player, and everything that it reports, as lines: "loading", "ready", "ended", "failed", "plays",
  /// "stops".
  struct Viewer {
    explicit Viewer(std::shared_ptr<TarnPlayer> made) : player(std::move(made)) {
      tokens.push_back(player->progress().observe([this](CMTime time) { progress.push_back(time); }));
      tokens.push_back(player->state().observe([this](TarnPlayerState state) {
        EXPECT_EQ(player->error().has_value(), state == TarnPlayerState::failed);
        lines.push_back(nameOf(state));
      }));
      tokens.push_back(
          player->playing().observe([this](bool plays) { lines.push_back(plays ? "plays" : "stops"); }));
    }
    static std::string nameOf(TarnPlayerState state) {
      const char* const names[] = {"empty", "loading", "ready", "ended", "failed"};
      return names[static_cast<int>(state)];
    }

    std::shared_ptr<TarnPlayer> player;
    std::vector<CMTime> progress;
    std::vector<std::string> lines;
    std::vector<tarn::Token> tokens;
  };
  using Lines = std::vector<std::string>;

  [[nodiscard]] static CMTime seconds(double value) { return CMTimeMakeWithSeconds(value, 90'000); }
  [[nodiscard]] static ::testing::AssertionResult areSame(CMTime actual, CMTime expected) {
    if (actual == expected) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << CMTimeCopyDescription(actual) << " instead of " << CMTimeCopyDescription(expected);
  }

  [[nodiscard]] TarnPlayer& player() { return *viewer.player; }
  [[nodiscard]] CMTime duration() { return *player().currentItemDuration().get(); }
  bool waitUntil(const std::function<bool()>& done) { return stage->waitUntil(done); }
  [[nodiscard]] ::testing::AssertionResult reaches(TarnPlayerState expected) {
    const auto& state = player().state();
    waitUntil([&] { return state.get() == expected || state.get() == TarnPlayerState::failed; });
    if (state.get() == expected) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << Viewer::nameOf(state.get()) << " at " << CMTimeCopyDescription(player().currentTime()) << ": "
           << (player().error() ? tarn::chainDescription(*player().error()) : "no error");
  }
  void loadPaused() {
    player().loadURL(stage->stream());
    ASSERT_TRUE(reaches(TarnPlayerState::ready));
  }
  /// Waits for the completion; absent when there is none.
  std::optional<bool> seek(CMTime time, CMTime before = kCMTimeZero, CMTime after = kCMTimeZero) {
    std::optional<bool> result;
    player().seekToTime(time, before, after, [&](bool finished) {
      EXPECT_FALSE(result) << "completed twice";
      result = finished;
    });
    EXPECT_FALSE(result) << "completed inside the call";
    waitUntil([&] { return result.has_value(); });
    return result;
  }
  void replayFrom(double time) {
    player().seekToTime(seconds(time), kCMTimeZero, kCMTimeZero, nullptr);
    player().play();
  }

  const std::unique_ptr<tarn::PlayerContractStage> stage = GetParam()();
  Viewer viewer{stage->makePlayer()};
};

TEST_P(PlayerContractTest, PlaysAnItemFromItsStartToItsDurationExactly) {
  EXPECT_TRUE(areSame(player().currentTime(), kCMTimeZero));
  player().play();
  player().loadURL(stage->stream());
  ASSERT_TRUE(reaches(TarnPlayerState::ended));
  EXPECT_FALSE(player().playing().get());
  EXPECT_EQ(viewer.lines, (Lines{"plays", "loading", "ready", "ended", "stops"}));
  EXPECT_NEAR(CMTimeGetSeconds(duration()), 4, 0.1);
  ASSERT_GT(viewer.progress.size(), 4U);
  EXPECT_LT(CMTimeGetSeconds(viewer.progress.front()), 1.5);
  EXPECT_TRUE(std::is_sorted(viewer.progress.begin(), viewer.progress.end()));
  EXPECT_TRUE(tarn::isIdentical(viewer.progress.back(), duration()));
  EXPECT_TRUE(areSame(player().currentTime(), duration()));
  const auto seekable = player().seekableTimeRanges().get();
  ASSERT_TRUE(seekable && seekable->size() == 1);
  EXPECT_TRUE(areSame(CMTimeRangeGetEnd(seekable->front()), duration()));
}

TEST_P(PlayerContractTest, ASeekWithoutTolerancesLandsOnTheTimeItself) {
  loadPaused();
  for (const double target : {1.0, 0.2, 0.0, 2.999, 3.5, 2.0, 1.0 + 1.0 / 600}) {
    SCOPED_TRACE(target);
    viewer.progress.clear();
    EXPECT_EQ(seek(seconds(target)), true);
    ASSERT_EQ(viewer.progress.size(), 1U);
    EXPECT_TRUE(areSame(viewer.progress.front(), seconds(target)));
    EXPECT_TRUE(areSame(player().currentTime(), seconds(target)));
  }
  EXPECT_EQ(seek(seconds(-3)), true);
  EXPECT_TRUE(areSame(player().currentTime(), kCMTimeZero));
}

TEST_P(PlayerContractTest, ALooseSeekLandsWithinItsTolerances) {
  loadPaused();
  struct Row {
    double target, before, after;
  };
  for (const auto& [target, before, after] : {Row{1.7, 2, 2}, Row{2.3, 2, 0}, Row{2.3, 0, 2},
                                              Row{1.7, 0.01, 0.01}, Row{3.3, 0.1, 0}, Row{0.1, 2, 2}}) {
    SCOPED_TRACE(target);
    EXPECT_EQ(seek(seconds(target), seconds(before), seconds(after)), true);
    EXPECT_GE(CMTimeGetSeconds(player().currentTime()), target - before - 1e-4);
    EXPECT_LE(CMTimeGetSeconds(player().currentTime()), target + after + 1e-4);
  }
}

TEST_P(PlayerContractTest, ASeekToTheEndLandsOnTheDurationAndPlayingThereEndsTheItem) {
  loadPaused();
  for (const CMTime& target : {duration(), seconds(1000), kCMTimePositiveInfinity}) {
    EXPECT_EQ(seek(target), true);
    EXPECT_TRUE(tarn::isIdentical(viewer.progress.back(), duration()));
    viewer.lines.clear();
    EXPECT_EQ(player().state().get(), TarnPlayerState::ready);
    player().play();
    ASSERT_TRUE(reaches(TarnPlayerState::ended));
    EXPECT_EQ(viewer.lines, (Lines{"plays", "ended", "stops"}));
  }
  player().play();
  EXPECT_FALSE(player().playing().get()) << "an ended item plays on only after a seek";
}

TEST_P(PlayerContractTest, AnEndedItemPlaysFromWhereASeekLandsAlsoInsideTheReportOfTheEnd) {
  loadPaused();
  EXPECT_EQ(seek(duration()), true);
  player().play();
  ASSERT_TRUE(reaches(TarnPlayerState::ended));
  viewer.lines.clear();
  replayFrom(3);
  EXPECT_TRUE(player().playing().get());
  const auto again = player().state().observe([&](TarnPlayerState state) {
    if (state == TarnPlayerState::ended) replayFrom(1);
  });
  const auto isPast = [&](double time) { return player().currentTime() > seconds(time); };
  EXPECT_TRUE(waitUntil([&] { return isPast(3.5); }));
  EXPECT_TRUE(waitUntil([&] { return !isPast(2) && isPast(1.2); }));
  EXPECT_EQ(viewer.lines, (Lines{"plays", "ready", "ended", "stops", "plays", "ready"}));
}

TEST_P(PlayerContractTest, ANewerSeekSupersedesTheOlderBeforeAndAfterTheItemIsReady) {
  player().loadURL(stage->stream());
  for (const char* moment : {"loading", "ready"}) {
    SCOPED_TRACE(moment);
    viewer.progress.clear();
    Lines completions;
    for (const int target : {3, 1, 2}) {
      player().seekToTime(seconds(target), kCMTimeZero, kCMTimeZero, [&completions, target](bool finished) {
        completions.push_back(std::to_string(target) + (finished ? " finished" : " unfinished"));
      });
    }
    EXPECT_TRUE(waitUntil([&] { return completions.size() == 3; }));
    EXPECT_EQ(completions, (Lines{"3 unfinished", "1 unfinished", "2 finished"}));
    EXPECT_TRUE(areSame(player().currentTime(), seconds(2)));
    EXPECT_EQ(viewer.progress.size(), 1U);
  }
}

TEST_P(PlayerContractTest, ASeekThatLeadsNowhereCompletesUnfinished) {
  EXPECT_EQ(seek(kCMTimeZero), false) << "no item";
  loadPaused();
  for (const CMTime& time : {kCMTimeInvalid, kCMTimeIndefinite, kCMTimeNegativeInfinity}) {
    EXPECT_EQ(seek(time), false) << CMTimeCopyDescription(time);
  }
  std::optional<bool> result;
  player().seekToTime(seconds(1), kCMTimeZero, kCMTimeZero, [&](bool finished) { result = finished; });
  player().loadURL(stage->stream());
  EXPECT_TRUE(waitUntil([&] { return result.has_value(); }));
  EXPECT_EQ(result, false) << "another item";
}

TEST_P(PlayerContractTest, CompletesASeekBeforeItReportsThePositionAndPlaysOnFromThere) {
  loadPaused();
  player().play();
  ASSERT_TRUE(waitUntil([&] { return viewer.progress.size() > 2; }));
  std::vector<CMTime> atCompletion;
  player().seekToTime(seconds(3), kCMTimeZero, kCMTimeZero, [&](bool) { atCompletion = viewer.progress; });
  ASSERT_TRUE(
      waitUntil([&] { return !atCompletion.empty() && viewer.progress.size() > atCompletion.size() + 2; }));
  EXPECT_LT(atCompletion.back(), seconds(3));
  EXPECT_TRUE(areSame(viewer.progress[atCompletion.size()], seconds(3)));
  EXPECT_TRUE(player().playing().get());
}

TEST_P(PlayerContractTest, APausedPlayheadStaysAndMovesOnFromThere) {
  loadPaused();
  player().play();
  ASSERT_TRUE(waitUntil([&] { return viewer.progress.size() > 2; }));
  player().pause();
  const CMTime paused = player().currentTime();
  EXPECT_EQ(seek(seconds(1000)), true);  // the main queue runs for a while
  EXPECT_EQ(player().state().get(), TarnPlayerState::ready);
  EXPECT_EQ(seek(paused), true);
  viewer.progress.clear();
  player().play();
  ASSERT_TRUE(waitUntil([&] { return viewer.progress.size() > 1; }));
  EXPECT_GE(viewer.progress.front(), paused);
}

TEST_P(PlayerContractTest, AFailureIsFinalUntilAnotherItemIsLoaded) {
  for (const tarn::URL& url : {stage->brokenStream(), *tarn::URL::fromString("file:///etc/hostname")}) {
    SCOPED_TRACE(url.absoluteString());
    viewer.lines.clear();
    player().play();
    player().loadURL(url);
    EXPECT_FALSE(player().error()) << "inside the call";
    waitUntil([&] { return player().state().get() == TarnPlayerState::failed; });
    EXPECT_EQ(viewer.lines, (Lines{"plays", "loading", "failed", "stops"}));
    EXPECT_NE(tarn::chainDescription(*player().error()).find(url.absoluteString()), std::string::npos);
    EXPECT_EQ(seek(kCMTimeZero), false);
    player().play();
    EXPECT_FALSE(player().playing().get());
    loadPaused();
    EXPECT_FALSE(player().error());
  }
}

TEST_P(PlayerContractTest, ALoadDropsTheItemBeforeInAnyOfItsStates) {
  for (int turns = 0; turns < 5; ++turns) {
    player().loadURL(stage->stream());
    for (int turn = 0; turn < turns; ++turn) tarn::MainQueue::shared().drain();
    player().loadURL(turns % 2 != 0 ? stage->brokenStream() : stage->stream());
  }
  loadPaused();
  const auto listener = player().seekableTimeRanges().observe([&](const auto&) { replayFrom(0); });
  player().loadURL(stage->stream());
  ASSERT_TRUE(waitUntil([&] { return viewer.progress.size() > 3; }));
  EXPECT_FALSE(player().error());
}

TEST_P(PlayerContractTest, MayBeDestroyedInsideAnyOfItsCallbacks) {
  for (const tarn::URL& url : {stage->stream(), stage->brokenStream()}) {
    int calls = 0;
    for (int last = 1; calls >= last - 1; ++last) {  // each callback in turn, until there is none left
      SCOPED_TRACE(url.absoluteString() + ", callback " + std::to_string(last));
      auto one = stage->makePlayer();
      calls = 0;
      const auto count = [&](const auto&) {
        if (++calls == last) one.reset();
      };
      TarnPlayer& player = *one;
      const tarn::Token tokens[] = {player.state().observe(count),
                                    player.progress().observe(count),
                                    player.playing().observe(count),
                                    player.buffering().observe(count),
                                    player.currentItemDuration().observe(count),
                                    player.seekableTimeRanges().observe(count),
                                    player.loadedTimeRanges().observe(count)};
      player.loadURL(url);
      if (one) player.seekToTime(kCMTimePositiveInfinity, kCMTimeZero, kCMTimeZero, count);
      if (one) player.play();
      EXPECT_TRUE(waitUntil([&] {
        return !one || (player.state().get() != TarnPlayerState::loading && !player.playing().get());
      }));
      tarn::MainQueue::shared().drain();
      EXPECT_LE(calls, last);
    }
    EXPECT_GT(calls, 4);
  }
}
