#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <libxml/parser.h>
#include <malloc.h>
#include <time.h>

#include <memory>
#include <string>

#include "Lumo/ReadTimeline.h"
#include "Lumo/TarnLumoTimeline.h"

namespace {

/// The thread's own processor time, so that a busy machine does not affect the comparison.
double cpuSeconds() {
  timespec now{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// A document of about `size` bytes, written as ad servers write them: breaks a minute apart with one ad
/// each.
std::string documentOfSize(std::size_t size) {
  std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<vmap:VMAP xmlns:vmap=\"http://www.iab.net/videosuite/vmap\" xmlns:mh=\"urn:mh\" version=\"1.0\">\n"
      "  <vmap:Extensions>\n"
      "    <mh:Marlith contenturi=\"https://stream.example.com/m.m3u8\" payloadlength=\"9\" "
      "contentlength=\"9\"/>\n"
      "  </vmap:Extensions>\n";
  constexpr const char* kEvents[] = {"start", "firstQuartile", "midpoint", "thirdQuartile", "complete"};
  for (std::size_t i = 0; text.size() < size; ++i) {
    text += fmt::format(
        "  <vmap:AdBreak timeOffset=\"{:02}:{:02}:00.000\" breakType=\"linear\" breakId=\"b{}\">\n"
        "    <vmap:AdSource id=\"s{}\">\n      <vmap:VASTAdData>\n        <VAST version=\"3.0\">\n"
        "          <Ad id=\"ad-{}\">\n            <InLine>\n              <AdSystem>Example</AdSystem>\n"
        "              <AdTitle>Spot {}</AdTitle>\n"
        "              "
        "<Impression><![CDATA[https://beacon.example.com/imp?ad={}&cb=[CACHEBUSTING]]]></Impression>\n"
        "              <Creatives>\n                <Creative id=\"c{}\">\n                  <Linear>\n"
        "                    <Duration>00:00:15.000</Duration>\n                    <TrackingEvents>\n",
        i / 60 % 100, i % 60, i, i, i, i, i, i);
    int quarter = 0;
    for (const char* event : kEvents)
      text += fmt::format(
          "                      <Tracking event=\"{}\" offset=\"{}\"><![CDATA[\n"
          "                        https://beacon.example.com/t?ad={}&e={}&session=0123456789abcdef\n"
          "                      ]]></Tracking>\n",
          event, 3.75 * quarter++, i, event);
    text += fmt::format(
        "                    </TrackingEvents>\n                    <VideoClicks>\n"
        "                      <ClickThrough><![CDATA[https://shop.example.com/{}]]></ClickThrough>\n"
        "                      "
        "<ClickTracking><![CDATA[https://beacon.example.com/c?ad={}]]></ClickTracking>\n"
        "                    </VideoClicks>\n                    <MediaFiles>\n"
        "                      <MediaFile type=\"video/mp4\" width=\"1280\" height=\"720\">"
        "<![CDATA[https://media.example.com/{}.mp4]]></MediaFile>\n                    </MediaFiles>\n"
        "                  </Linear>\n                  <CompanionAds>\n"
        "                    <Companion id=\"k{}\" width=\"300\" height=\"250\">\n"
        "                      <StaticResource "
        "creativeType=\"image/png\"><![CDATA[https://media.example.com/{}.png]]>"
        "</StaticResource>\n"
        "                      <CompanionClickThrough><![CDATA[https://shop.example.com/b/{}]]>"
        "</CompanionClickThrough>\n"
        "                    </Companion>\n                  </CompanionAds>\n                </Creative>\n"
        "              </Creatives>\n              <Extensions>\n"
        "                <Extension type=\"geo\"><Country>DE</Country><Price "
        "currency=\"EUR\">1.25</Price></Extension>\n"
        "              </Extensions>\n            </InLine>\n          </Ad>\n        </VAST>\n"
        "      </vmap:VASTAdData>\n    </vmap:AdSource>\n  </vmap:AdBreak>\n",
        i, i, i, i, i, i);
  }
  return text + "</vmap:VMAP>\n";
}

std::shared_ptr<const TarnLumoTimeline> timelineOf(const std::string& bytes) {
  return tarn::readTimeline(bytes).timeline.value();
}

void parseBare(const std::string& bytes) {
  constexpr int kOptions = XML_PARSE_RECOVER | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
  xmlFreeDoc(xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), "", nullptr, kOptions));
}

/// Bytes to timeline; after each reading, libxml2 parses the same bytes and frees the tree, for comparison.
void BM_ReadDocument(benchmark::State& state) {
  const std::string bytes = documentOfSize(static_cast<std::size_t>(state.range(0)));
  double reading = 0;
  double parsing = 0;
  for (auto _ : state) {
    const double begin = cpuSeconds();
    const auto timeline = timelineOf(bytes);
    const double middle = cpuSeconds();
    parseBare(bytes);
    const double end = cpuSeconds();
    reading += middle - begin;
    parsing += end - middle;
    state.SetIterationTime(middle - begin);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(bytes.size()));
  state.counters["libxml2"] = parsing / static_cast<double>(state.iterations());
  state.counters["ratio"] = reading / parsing;
}
BENCHMARK(BM_ReadDocument)
    ->Arg(20 << 10)
    ->Arg(1 << 20)
    ->Arg(16 << 20)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

/// Heap memory of a timeline after its document was destroyed.
void BM_TimelineMemory(benchmark::State& state) {
  const std::string bytes = documentOfSize(static_cast<std::size_t>(state.range(0)));
  static_cast<void>(timelineOf(bytes));  // objects made on first use are not counted
  const std::size_t before = mallinfo2().uordblks;
  const auto timeline = timelineOf(bytes);
  const auto held = static_cast<double>(mallinfo2().uordblks - before);
  for (auto _ : state) benchmark::DoNotOptimize(timeline.get());
  state.counters["bytes"] = held;
  state.counters["ratio"] = held / static_cast<double>(bytes.size());
}
BENCHMARK(BM_TimelineMemory)->Arg(20 << 10)->Arg(1 << 20)->Arg(16 << 20)->Iterations(1);

}  // namespace
