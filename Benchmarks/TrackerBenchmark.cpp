#include <benchmark/benchmark.h>

#include <algorithm>

#include "AllocationCounter.h"
#include "CountingBeaconSink.h"
#include "Lumo/TarnLumoAnalyticsSession.h"
#include "StreamOfBreaks.h"

/// The cost of one progress update, in time and in heap allocations, with the analytics observing.
namespace {

using namespace kyr_benchmarks;

constexpr std::int64_t kBreaks = 1'000;

constexpr std::int64_t kStep = kTimescale / 4;  // players report four times a second

/// `nextPosition` gives the ticks to report next.
template <typename NextPosition>
void measureUpdates(benchmark::State& state, const NextPosition& nextPosition) {
  const auto tracker = std::make_shared<TarnLumoProgressTracker>(streamOfBreaks(kBreaks));
  const auto sink = std::make_shared<CountingBeaconSink>();
  const auto analytics = TarnLumoAnalyticsSession::initWithProgessTracker(
      tracker, std::make_shared<TarnLumoAnalyticsDigester>(sink));
  std::int64_t position = 0;
  const std::size_t allocationsBefore = allocationCount();
  for (auto _ : state) {
    position = nextPosition(position);
    tracker->setAbsoluteTime(CMTimeMake(position, kTimescale));
  }
  const auto updates = static_cast<double>(state.iterations());
  state.counters["allocations"] = static_cast<double>(allocationCount() - allocationsBefore) / updates;
  state.counters["beacons"] = static_cast<double>(sink->beacons) / updates;
}

void updateInContent(benchmark::State& state) {
  constexpr std::int64_t kBegin = (kBreaks / 2 * kPeriodSeconds + 1) * kTimescale;
  constexpr std::int64_t kEnd = kBegin + (kContentSeconds - 2) * kTimescale;
  measureUpdates(state, [](std::int64_t position) {
    return position >= kBegin && position + kStep < kEnd ? position + kStep : kBegin;
  });
}

/// From break to break, one transition in sixty updates. It starts again from the content after the last
/// break, because the tracker does not move back inside an ad.
void updateInAd(benchmark::State& state) {
  constexpr std::int64_t kPeriod = kPeriodSeconds * kTimescale;
  static constexpr std::int64_t kIntoBreak = kContentSeconds * kTimescale;
  measureUpdates(state, [](std::int64_t position) {
    if (position >= kBreaks * kPeriod) return kIntoBreak;
    const std::int64_t next = position + kStep;
    const bool breakEnds = next % kPeriod == 0 && next < kBreaks * kPeriod;
    return breakEnds ? next + kIntoBreak : std::max(next, kIntoBreak);
  });
}

/// With many impressions before the playhead, an update must not examine them all again.
void contentAnalyticsAtTheEndOfManyImpressions(benchmark::State& state) {
  TarnLumoTimeline::ContentImpressions impressions;
  for (std::int64_t i = 0; i < state.range(0); ++i) {
    impressions.push_back(std::make_shared<const TarnLumoContentImpression>(
        tarn::URL::fromString("https://t.example/i"), seconds(i)));
  }
  const auto timeline =
      TarnLumoTimeline::make(std::nullopt, seconds(state.range(0)), seconds(state.range(0)), {}, impressions);
  TarnLumoContentAnalyticsSession session(
      timeline, std::make_shared<TarnLumoAnalyticsDigester>(std::make_shared<CountingBeaconSink>()));
  std::int64_t turn = 0;
  for (auto _ : state) {
    turn ^= 1;
    session.trackProgressToTime(CMTimeMake((state.range(0) - 2) * kTimescale + turn, kTimescale));
  }
}

BENCHMARK(updateInContent);
BENCHMARK(updateInAd);
BENCHMARK(contentAnalyticsAtTheEndOfManyImpressions)->Arg(100)->Arg(100'000);

}  // namespace
