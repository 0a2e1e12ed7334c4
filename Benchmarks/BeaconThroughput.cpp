#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <memory>
#include <string>
#include <vector>

#include "KeepAliveResponder.h"
#include "Lumo/TarnLumoAnalyticsDigester.h"
#include "Platform/HTTPSession.h"
#include "Platform/URL.h"

namespace {

constexpr int kBeacons = 10'000;
const int kConnections = tarn::HTTPConfiguration{}.maximumConnectionsPerHost;
constexpr std::chrono::seconds kPatience{60};

std::vector<std::string> beaconURLs(const KeepAliveResponder& server) {
  std::vector<std::string> urls;
  urls.reserve(kBeacons);
  for (int i = 0; i < kBeacons; ++i) urls.push_back(server.url("/beacon?event=start&n=" + std::to_string(i)));
  return urls;
}

void BM_BeaconsThroughDigester(benchmark::State& state) {
  const KeepAliveResponder server;
  std::vector<tarn::URL> urls;
  for (const auto& text : beaconURLs(server)) urls.push_back(*tarn::URL::fromString(text));
  TarnLumoAnalyticsDigester digester;
  for (auto _ : state) {
    for (const auto& url : urls) digester.digestEvent(url);
    if (!digester.flush(kPatience)) return state.SkipWithError("the beacons did not get through");
  }
  state.SetItemsProcessed(state.iterations() * kBeacons);
}
BENCHMARK(BM_BeaconsThroughDigester)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

/// How long it takes until the calls are back in the caller's hands, as an event of the playhead sees it.
void BM_DigestEventCall(benchmark::State& state) {
  const KeepAliveResponder server;
  const auto url = tarn::URL::fromString(server.url("/beacon"));
  TarnLumoAnalyticsDigester digester;
  for (auto _ : state) {
    for (int i = 0; i < kBeacons; ++i) digester.digestEvent(url);
    state.PauseTiming();
    if (!digester.flush(kPatience)) return state.SkipWithError("the beacons did not get through");
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kBeacons);
}
BENCHMARK(BM_DigestEventCall)
    ->Iterations(10)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

std::size_t discard(char*, std::size_t size, std::size_t count, void*) {
  return size * count;
}

using Easy = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
using Multi = std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)>;

/// The baseline: as many reused handles as connections, each given the next URL when it is done.
void sendBare(CURLM* multi, const std::vector<Easy>& handles, const std::vector<std::string>& urls) {
  std::size_t next = 0;
  const auto start = [&](CURL* handle) {
    curl_easy_setopt(handle, CURLOPT_URL, urls[next++].c_str());
    curl_multi_add_handle(multi, handle);
  };
  for (const auto& handle : handles) start(handle.get());
  for (std::size_t done = 0; done < urls.size();) {
    int running = 0;
    curl_multi_perform(multi, &running);
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi, &left)) {
      CURL* handle = message->easy_handle;
      curl_multi_remove_handle(multi, handle);
      ++done;
      if (next < urls.size()) start(handle);
    }
    if (done < urls.size()) curl_multi_poll(multi, nullptr, 0, 1'000, nullptr);
  }
}

void BM_BeaconsBareCurl(benchmark::State& state) {
  const KeepAliveResponder server;
  const auto urls = beaconURLs(server);
  const Multi multi(curl_multi_init(), &curl_multi_cleanup);
  std::vector<Easy> handles;
  for (int i = 0; i < kConnections; ++i) {
    handles.emplace_back(curl_easy_init(), &curl_easy_cleanup);
    curl_easy_setopt(handles.back().get(), CURLOPT_WRITEFUNCTION, &discard);
  }
  for (auto _ : state) sendBare(multi.get(), handles, urls);
  state.SetItemsProcessed(state.iterations() * kBeacons);
}
BENCHMARK(BM_BeaconsBareCurl)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

}  // namespace
