#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "KeepAliveResponder.h"
#include "Lumo/HTTPBeaconSink.h"
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

/// The time until the calls return to the caller, as measured by a playhead event.
void BM_DigestEventCall(benchmark::State& state) {
  const KeepAliveResponder server;
  const auto url = tarn::URL::fromString(server.url("/beacon"));
  TarnLumoAnalyticsDigester digester;
  for (auto _ : state) {
    for (int i = 0; i < kBeacons; ++i) digester.digestEvent(url);
    state.PauseTiming();
    if (!tarn::HTTPBeaconSink::shared()->flush(kPatience))
      return state.SkipWithError("the beacons did not get through");
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

/// The baseline: as many reused handles as connections; each takes the next URL when it is free.
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

/// The baseline's handles, kept between rounds as the digester keeps its own.
class BareLoop {
 public:
  BareLoop() {
    for (int i = 0; i < kConnections; ++i) {
      handles_.emplace_back(curl_easy_init(), &curl_easy_cleanup);
      curl_easy_setopt(handles_.back().get(), CURLOPT_WRITEFUNCTION, &discard);
    }
  }
  void send(const std::vector<std::string>& urls) { sendBare(multi_.get(), handles_, urls); }

 private:
  Multi multi_{curl_multi_init(), &curl_multi_cleanup};
  std::vector<Easy> handles_;
};

double secondsOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// Digester and baseline take turns, so that a machine that slows down affects both; the medians are
/// compared.
void BM_Beacons(benchmark::State& state) {
  const KeepAliveResponder server;
  const auto texts = beaconURLs(server);
  std::vector<tarn::URL> urls;
  urls.reserve(texts.size());
  for (const auto& text : texts) urls.push_back(*tarn::URL::fromString(text));
  TarnLumoAnalyticsDigester digester;
  BareLoop bare;
  std::vector<double> digesterSeconds;
  std::vector<double> bareSeconds;
  for (auto _ : state) {
    bool sent = false;
    digesterSeconds.push_back(secondsOf([&] {
      for (const auto& url : urls) digester.digestEvent(url);
      sent = tarn::HTTPBeaconSink::shared()->flush(kPatience);
    }));
    if (!sent) return state.SkipWithError("the beacons did not get through");
    bareSeconds.push_back(secondsOf([&] { bare.send(texts); }));
    state.SetIterationTime(digesterSeconds.back());
  }
  state.counters["beacons_per_second"] = kBeacons / median(digesterSeconds);
  state.counters["throughput_ratio"] = median(bareSeconds) / median(digesterSeconds);
}
BENCHMARK(BM_Beacons)->Iterations(9)->Unit(benchmark::kMillisecond)->UseManualTime();

}  // namespace
