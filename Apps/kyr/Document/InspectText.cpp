#include "Document/InspectText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "Document/Placement.h"
#include "Lumo/TarnLumoCommon.h"
#include "Terminal/Table.h"
#include "Terminal/Text.h"

namespace tarn::cli {
namespace {

constexpr std::size_t kMaxNameLength = 48;

std::string urlText(const std::optional<URL>& url) {
  return url ? printable(url->absoluteString()) : "none";
}

std::string adName(const TarnLumoAd& ad) {
  auto id = ad.adId() ? clipped(printable(*ad.adId()), kMaxNameLength) : std::string("no id");
  if (!ad.title()) return id;
  return fmt::format("{} “{}”", id, clipped(printable(*ad.title()), kMaxNameLength));
}

std::string offsetText(CMTime offset) {
  return CMTIME_IS_POSITIVE_INFINITY(offset) ? "end" : clockText(offset);
}

std::string skipText(CMTime skip) {
  return CMTIME_IS_VALID(skip) ? secondsText(skip) : "–";
}

std::size_t urlCount(const std::shared_ptr<const TarnLumoTrackingEventsCollection>& events) {
  std::size_t count = 0;
  if (!events) return count;
  for (const auto& [name, list] : events->eventsByName()) {
    for (const auto& event : list) count += event->url() ? 1 : 0;
  }
  return count;
}

/// The beacons that one complete play of the ad could send.
std::size_t beaconCount(const TarnLumoAd& ad) {
  std::size_t count = ad.impressionURLs().size() + ad.clickTrackingURLs().size();
  count += urlCount(ad.trackingEventsCollection());
  if (!ad.companionsCollection()) return count;
  for (const auto& companion : ad.companionsCollection()->orderedCompanionAdsWithWidthThenHeight()) {
    count += companion->clickTrackingURLs().size() + urlCount(companion->trackingEventsCollection());
  }
  return count;
}

std::size_t adCount(const TarnLumoTimeline& timeline) {
  std::size_t count = 0;
  for (const auto& sequence : timeline.adSequences()) count += sequence->ads().size();
  return count;
}

std::string facts(const LoadedTimeline& loaded, const std::string& source, const Terminal& terminal) {
  const auto& timeline = *loaded.timeline;
  const std::size_t width = terminal.width > 14 ? terminal.width - 14 : terminal.width;
  std::string text = terminal.styled(clipped(printable(source), terminal.width), Style::strong) + "\n";
  const auto fact = [&](std::string_view name, const std::string& value) {
    text += fmt::format("  {:<10}  {}\n", name, clipped(value, width));
  };
  fact("stream", urlText(timeline.lumoURL()));
  fact("extension",
       loaded.vmapExtensionsNamespace.empty() ? "none declared" : loaded.vmapExtensionsNamespace);
  fact("payload", clockText(timeline.payloadLength()));
  fact("content",
       fmt::format("{}, between the breaks {}", clockText(timeline.contentLength()),
                   clockText(CMTimeMakeWithSeconds(contentSeconds(timeline), kDocumentTimescale))));
  fact("holds", fmt::format("{}, {}, {}, {}", counted(timeline.adSequences().size(), "break"),
                            counted(adCount(timeline), "ad"),
                            counted(timeline.contentImpressions().size(), "content impression"),
                            counted(loaded.warnings.size(), "warning")));
  return text;
}

/// The cells of the stream's bar that a sequence touches.
struct Cells {
  std::size_t first;
  std::size_t last;
};

Cells cellsOf(const TarnLumoAdSequence& sequence, const Span& span, std::size_t width) {
  const auto cellAt = [&](CMTime time, double nudge) {
    const double cell = (CMTimeGetSeconds(time) - span.begin) / span.length() * static_cast<double>(width);
    return static_cast<std::size_t>(std::clamp(cell - nudge, 0.0, static_cast<double>(width - 1)));
  };
  const std::size_t first = cellAt(sequence.beginTime(), 0);
  return {first, std::max(first, cellAt(sequence.endTime(), 1e-9))};
}

/// The stream in one line, and below it the numbers of the breaks for which there is room.
std::string bar(const TarnLumoTimeline& timeline, const Terminal& terminal) {
  const Span span = spanOf(timeline);
  if (!(span.length() > 0)) return {};
  const auto begin = clockText(CMTimeMakeWithSeconds(span.begin, kDocumentTimescale));
  const auto end = clockText(CMTimeMakeWithSeconds(span.end, kDocumentTimescale));
  const std::size_t taken = columns(begin) + columns(end) + 6;
  const std::size_t width = terminal.width > taken + 20 ? terminal.width - taken : 20;

  std::vector<bool> isAd(width, false);
  std::string numbers;
  const auto& sequences = timeline.adSequences();
  for (std::size_t i = 0; i < sequences.size(); ++i) {
    if (!isPlaced(sequences[i]->beginTime(), sequences[i]->endTime())) continue;
    const Cells cells = cellsOf(*sequences[i], span, width);
    std::fill(isAd.begin() + static_cast<std::ptrdiff_t>(cells.first),
              isAd.begin() + static_cast<std::ptrdiff_t>(cells.last) + 1, true);
    const bool hasRoom = numbers.empty() || cells.first > numbers.size();
    if (hasRoom) numbers.append(cells.first - numbers.size(), ' ').append(std::to_string(i));
  }
  std::string blocks;
  for (std::size_t i = 0; i < width;) {
    std::size_t runEnd = i;
    while (runEnd < width && isAd[runEnd] == isAd[i]) ++runEnd;
    blocks +=
        terminal.styled(repeated(isAd[i] ? "█" : "░", runEnd - i), isAd[i] ? Style::ad : Style::content);
    i = runEnd;
  }
  return fmt::format("\n  {} ▕{}▏ {}\n{}{}\n", begin, blocks, end, std::string(columns(begin) + 4, ' '),
                     terminal.styled(numbers, Style::faint));
}

std::string breaks(const TarnLumoTimeline& timeline, const Terminal& terminal) {
  const auto& sequences = timeline.adSequences();
  if (sequences.empty()) return {};
  Table table({{"#", Align::left},
               {"begin", Align::right},
               {"end", Align::right},
               {"duration", Align::right},
               {"content", Align::right},
               {"skip", Align::right},
               {"beacons", Align::right},
               {"ad", Align::left}});
  for (std::size_t i = 0; i < sequences.size(); ++i) {
    const auto& sequence = *sequences[i];
    table.addRow({std::to_string(i), clockText(sequence.beginTime()), clockText(sequence.endTime()),
                  secondsText(sequence.duration()), offsetText(sequence.logicalOffset()), "", "",
                  counted(sequence.ads().size(), "ad")},
                 Style::ad);
    for (std::size_t j = 0; j < sequence.ads().size(); ++j) {
      const auto& ad = *sequence.ads()[j];
      table.addRow({fmt::format("{}.{}", i, j), clockText(ad.beginTime()), clockText(ad.endTime()),
                    secondsText(ad.duration()), "", skipText(ad.skipOffset()),
                    std::to_string(beaconCount(ad)), adName(ad)});
    }
  }
  return "\nAd breaks (absolute times)\n" + table.text(terminal);
}

std::string segments(const TarnLumoTimeline& timeline, const Terminal& terminal) {
  if (timeline.contentSegments().empty()) return {};
  Table table({{"begin", Align::right}, {"duration", Align::right}, {"from content time", Align::right}});
  CMTime content = kCMTimeZero;
  for (const auto& segment : timeline.contentSegments()) {
    table.addRow({clockText(segment.beginTime()), clockText(segment.duration()), clockText(content)});
    content = CMTimeAdd(content, segment.duration());
  }
  return "\nContent segments (absolute times)\n" + table.text(terminal);
}

std::string impressions(const TarnLumoTimeline& timeline, const Terminal& terminal) {
  if (timeline.contentImpressions().empty()) return {};
  Table table({{"content time", Align::right}, {"stream position", Align::right}, {"URL", Align::left}});
  for (const auto& impression : timeline.contentImpressions()) {
    table.addRow({clockText(impression->logicalTime()),
                  clockText(timeline.absoluteTimeAtContentTime(impression->logicalTime())),
                  urlText(impression->url())});
  }
  return "\nContent impressions\n" + table.text(terminal);
}

std::string warnings(const LoadedTimeline& loaded, const Terminal& terminal) {
  if (loaded.warnings.empty()) return {};
  std::string text = "\nWarnings\n";
  for (const auto& warning : loaded.warnings) {
    const auto line = warning.line ? fmt::format("line {:>5}", *warning.line) : std::string(10, ' ');
    text += fmt::format("  {}  {}\n", terminal.styled(line, Style::warning), printable(warning.message));
  }
  return text;
}

}  // namespace

std::string inspectText(const LoadedTimeline& loaded, const std::string& source, const Terminal& terminal) {
  const auto& timeline = *loaded.timeline;
  return facts(loaded, source, terminal) + bar(timeline, terminal) + breaks(timeline, terminal) +
         segments(timeline, terminal) + impressions(timeline, terminal) + warnings(loaded, terminal);
}

}  // namespace tarn::cli
