#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <tuple>

#include "AllocationCounter.h"
#include "Platform/MediaTime.h"
#include "Reactive/Tarn_RACObserve.h"
#include "Reactive/Tarn_RACSubject.h"

/// The cost of delivering one progress update from its source to the application.
namespace {

/// Sends a new number for each iteration and counts the allocations of one delivery.
template <typename Send>
void measureDelivery(benchmark::State& state, const Send& send) {
  std::int64_t number = 0;
  const std::size_t before = kyr_benchmarks::allocationCount();
  for (auto _ : state) send(++number);
  state.counters["allocations"] = static_cast<double>(kyr_benchmarks::allocationCount() - before) /
                                  static_cast<double>(state.iterations());
}

CMTime addOne(const CMTime& time) {
  return CMTimeMake(time.value + 1, time.timescale);
}

bool isValid(const CMTime& time) {
  return CMTIME_IS_VALID(time);
}

/// The baseline: the same steps as plain callbacks, each behind a std::function.
void fiveCallbacks(benchmark::State& state) {
  using Callback = std::function<void(const CMTime&)>;
  std::int64_t sum = 0;
  const Callback application = [&sum](const CMTime& time) { sum += time.value; };
  const Callback publish = [&application](const CMTime& time) { application(time); };
  const Callback second = [&publish](const CMTime& time) { publish(addOne(time)); };
  const Callback filter = [&second](const CMTime& time) {
    if (isValid(time)) second(time);
  };
  const Callback first = [&filter](const CMTime& time) { filter(addOne(time)); };
  measureDelivery(state, [&](std::int64_t ticks) { first(CMTimeMake(ticks, 600)); });
  benchmark::DoNotOptimize(sum);
}

/// A subject, map, filter, map, and a second subject that the application subscribes to.
void chainOfFive(benchmark::State& state) {
  const Tarn_RACSubject<CMTime> source;
  const Tarn_RACSubject<CMTime> published;
  std::int64_t sum = 0;
  published.subscribeNext([&sum](const CMTime& time) { sum += time.value; });
  source.map(addOne).filter(isValid).map(addOne).subscribeNext(published);
  measureDelivery(state, [&](std::int64_t ticks) { source.sendNext(CMTimeMake(ticks, 600)); });
  benchmark::DoNotOptimize(sum);
}

/// From an observed property, as the tracker publishes.
void propertyToSubject(benchmark::State& state) {
  tarn::Observable<CMTime> property;
  const Tarn_RACSubject<CMTime> published;
  std::int64_t sum = 0;
  published.subscribeNext([&sum](const CMTime& time) { sum += time.value; });
  tarn::observe(property).filter(isValid).subscribeNext(published);
  measureDelivery(state, [&](std::int64_t ticks) { property.set(CMTimeMake(ticks, 600)); });
  benchmark::DoNotOptimize(sum);
}

void subjectToManySubscribers(benchmark::State& state) {
  const Tarn_RACSubject<CMTime> subject;
  std::int64_t sum = 0;
  for (std::int64_t i = 0; i < state.range(0); ++i) {
    subject.subscribeNext([&sum](const CMTime& time) { sum += time.value; });
  }
  measureDelivery(state, [&](std::int64_t ticks) { subject.sendNext(CMTimeMake(ticks, 600)); });
  benchmark::DoNotOptimize(sum);
}

/// A lifecycle event paired with the newest state.
void eventWithSampledState(benchmark::State& state) {
  const Tarn_RACSubject<std::int64_t> events;
  const Tarn_RACSubject<int> states;
  std::int64_t sum = 0;
  tarn::zip(events, states.startWith(0).sample(events)).subscribeNext([&sum](const auto& pair) {
    sum += std::get<0>(pair);
  });
  measureDelivery(state, [&](std::int64_t number) { events.sendNext(number); });
  benchmark::DoNotOptimize(sum);
}

void subscribeAndDispose(benchmark::State& state) {
  const Tarn_RACSubject<CMTime> source;
  const auto signal = source.map(addOne).filter(isValid).map(addOne);
  for (auto _ : state) signal.subscribeNext([](const CMTime&) {}).dispose();
}

BENCHMARK(fiveCallbacks);
BENCHMARK(chainOfFive);
BENCHMARK(propertyToSubject);
BENCHMARK(subjectToManySubscribers)->Arg(1)->Arg(10)->Arg(100);
BENCHMARK(eventWithSampledState);
BENCHMARK(subscribeAndDispose);

}  // namespace
