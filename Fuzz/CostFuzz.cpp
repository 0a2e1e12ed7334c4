#include <time.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>

#include "FuzzTarget.h"
#include "Lumo/ReadTimeline.h"
#include "Lumo/TarnLumoCommon.h"
#include "XML/TarnLumoONOXMLDocument.h"

namespace {

constexpr std::size_t kSmall = 48 << 10;
constexpr std::size_t kTimesLarger = 4;
constexpr std::size_t kLarge = kTimesLarger * kSmall;
constexpr double kMaxGrowth = 2.5;  // of the cost per byte, from the small document to the large one
constexpr double kMaxFactor = 100;  // of the cost of a plain document of the same size
constexpr double kMinSecondsOfInterest = 0.02;
constexpr int kMaxAttempts = 4;

constexpr char kSeparator = '\x1e';
constexpr char kCounter = '\x1f';

/// The text before the repeated part, the part, and the text after it.
struct Pattern {
  std::string_view before;
  std::string_view unit;
  std::string_view after;
};

constexpr Pattern kPlain = {
    "<vmap:VMAP xmlns:vmap='urn:v' xmlns:mh='urn:m'>",
    "<vmap:AdBreak timeOffset='00:00:0\x1f'><vmap:AdSource><vmap:VASTData><VAST><Ad id='\x1f'><InLine>"
    "<Impression>http://b.example/\x1f</Impression><Creatives><Creative><Linear><Duration>00:00:01</Duration>"
    "<TrackingEvents><Tracking event='start' offset='0'>http://b.example/s</Tracking></TrackingEvents>"
    "</Linear></Creative></Creatives></InLine></Ad></VAST></vmap:VASTData></vmap:AdSource></vmap:AdBreak>\n",
    "</vmap:VMAP>"};

std::string documentOf(const Pattern& pattern, std::size_t size) {
  std::string text(pattern.before);
  for (std::size_t count = 0; text.size() < size; ++count) {
    for (const char c : pattern.unit) text += c == kCounter ? std::to_string(count) : std::string(1, c);
  }
  return text.append(pattern.after);
}

/// Of this thread alone, so that a busy machine does not count.
double cpuSeconds() {
  timespec now{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

struct Cost {
  double small = 0;
  double large = 0;
};

double secondsFor(const std::string& document) {
  const double begin = cpuSeconds();
  static_cast<void>(tarn::readTimeline(document));
  static_cast<void>(TarnLumoONOXMLDocument::HTMLDocumentWithData(document));
  return cpuSeconds() - begin;
}

Cost costOf(const Pattern& pattern) {
  return {secondsFor(documentOf(pattern, kSmall)), secondsFor(documentOf(pattern, kLarge))};
}

bool isOutOfProportion(const Cost& cost, const Cost& plain) {
  if (cost.large < kMinSecondsOfInterest || cost.large < 2 * plain.large) return false;
  return cost.large > kMaxGrowth * kTimesLarger * cost.small || cost.large > kMaxFactor * plain.large;
}

}  // namespace

/// Three parts, separated by 0x1e; a document is made by repeating the second (0x1f in it becomes a number).
/// Four times the size may take about four times as long, and not much longer than a plain document takes.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  TarnLumoLogConfigure(TarnLumoLogConfigDisabled);
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::size_t first = input.find(kSeparator);
  const std::size_t second = input.find(kSeparator, std::min(first, input.size() - 1) + 1);
  if (second == std::string_view::npos || second == first + 1 || size > kSmall / 4) return 0;
  const Pattern pattern{input.substr(0, first), input.substr(first + 1, second - first - 1),
                        input.substr(second + 1)};
  // A busy machine can spoil a measurement, but hardly several in a row.
  for (int attempt = 1;; ++attempt) {
    const Cost cost = costOf(pattern);
    const Cost plain = costOf(kPlain);
    if (!isOutOfProportion(cost, plain)) return 0;
    std::fprintf(stderr, "%zu bytes take %.4f s, %zu bytes %.4f s, as many plain ones %.4f s\n", kSmall,
                 cost.small, kLarge, cost.large, plain.large);
    if (attempt == kMaxAttempts) std::abort();
  }
}
