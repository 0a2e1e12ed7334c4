#include <benchmark/benchmark.h>

#include <algorithm>
#include <ctime>

#include "StreamOfBreaks.h"

/// The cost of mapping a time, by the number of breaks, compared with a binary search over as many integers.
namespace {

using kyr_benchmarks::kTimescale;
using kyr_benchmarks::streamOfBreaks;

/// Positions all over the stream, so that branch prediction and caches do not help.
std::vector<std::int64_t> positionsUpTo(std::int64_t ticks) {
  constexpr std::size_t kPositions = 4096;
  std::mt19937_64 random(1);
  std::uniform_int_distribution<std::int64_t> anywhere(0, ticks);
  std::vector<std::int64_t> positions(kPositions);
  for (auto& position : positions) position = anywhere(random);
  return positions;
}

template <typename Ask>
double nanosecondsOf(const std::vector<std::int64_t>& positions, const Ask& ask) {
  constexpr int kRounds = 25;
  const std::clock_t begin =
      std::clock();  // processor time, so that a busy machine does not change the ratios
  for (int round = 0; round < kRounds; ++round) {
    for (const auto position : positions) benchmark::DoNotOptimize(ask(position));
  }
  const double seconds = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
  return seconds * 1e9 / kRounds / static_cast<double>(positions.size());
}

/// The baseline: a binary search over one end a break.
double nanosecondsOfLowerBound(const std::vector<std::int64_t>& positions, std::int64_t breaks,
                               std::int64_t lengthInTicks) {
  std::vector<std::int64_t> ends;
  for (std::int64_t i = 1; i <= breaks; ++i) ends.push_back(lengthInTicks / breaks * i);
  return nanosecondsOf(positions, [&](std::int64_t position) {
    return std::lower_bound(ends.begin(), ends.end(), position) - ends.begin();
  });
}

template <typename Ask>
void measure(benchmark::State& state, CMTime length, const Ask& ask) {
  const auto positions = positionsUpTo(length.value);
  constexpr std::int64_t kWorthComparing = 1'000;  // below, the baseline is too small to compare
  if (state.range(0) >= kWorthComparing) {
    state.counters["lower_bound_ratio"] =
        nanosecondsOf(positions, ask) / nanosecondsOfLowerBound(positions, state.range(0), length.value);
  }
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(ask(positions[next]));
    next = (next + 1) % positions.size();
  }
  state.SetComplexityN(state.range(0));
}

void contentTimeAtAbsoluteTime(benchmark::State& state) {
  const auto timeline = streamOfBreaks(state.range(0));
  measure(state, timeline->payloadLength(), [&](std::int64_t position) {
    return timeline->contentTimeAtAbsoluteTime(CMTimeMake(position, kTimescale));
  });
}

void absoluteTimeAtContentTime(benchmark::State& state) {
  const auto timeline = streamOfBreaks(state.range(0));
  measure(state, timeline->contentLength(), [&](std::int64_t position) {
    return timeline->absoluteTimeAtContentTime(CMTimeMake(position, kTimescale));
  });
}

/// The player's timescale may differ from the document's: 90 kHz and 600.
void contentTimeAtAbsoluteTimeOfAnotherTimescale(benchmark::State& state) {
  const auto timeline = streamOfBreaks(state.range(0));
  measure(state, timeline->payloadLength(), [&](std::int64_t position) {
    return timeline->contentTimeAtAbsoluteTime(CMTimeMake(position * 150 + 1, 90'000));
  });
}

void pathAtTime(benchmark::State& state) {
  const auto timeline = streamOfBreaks(state.range(0));
  measure(state, timeline->payloadLength(),
          [&](std::int64_t position) { return timeline->pathAtTime(CMTimeMake(position, kTimescale)); });
}

void logicalTimeOfPath(benchmark::State& state) {
  const auto timeline = streamOfBreaks(state.range(0));
  measure(state, timeline->payloadLength(), [&](std::int64_t position) {
    return timeline->pathAtTime(CMTimeMake(position, kTimescale)).logicalTime();
  });
}

void breaks(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(1)->Arg(10)->Arg(1'000)->Arg(100'000)->Complexity(benchmark::oLogN);
}

BENCHMARK(contentTimeAtAbsoluteTime)->Apply(breaks);
BENCHMARK(contentTimeAtAbsoluteTimeOfAnotherTimescale)->Apply(breaks);
BENCHMARK(absoluteTimeAtContentTime)->Apply(breaks);
BENCHMARK(pathAtTime)->Apply(breaks);
BENCHMARK(logicalTimeOfPath)->Apply(breaks);

}  // namespace
