#include "Picture/StreamPicture.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "Document/Placement.h"
#include "Picture/PictureStyle.h"
#include "Picture/TimeScale.h"
#include "Terminal/Text.h"

namespace tarn::cli {
namespace {

constexpr double kStreamHeight = 40;
constexpr double kFoldHeight = 58;
constexpr double kContentHeight = 20;
constexpr double kNarrowestBreak = 2;
/// With more, breaks and the content between them are too narrow to distinguish.
constexpr std::size_t kMaxBreaks = 300;
/// The width in pixels of the columns whose share of ads is then drawn.
constexpr double kShareColumn = 4;

/// An interval of pixels.
struct Stretch {
  double begin;
  double end;
};

struct NumberedStretch {
  Stretch stretch;
  std::size_t index;
};

std::vector<NumberedStretch> breakStretches(const TarnLumoTimeline& timeline, const TimeScale& scale) {
  std::vector<NumberedStretch> result;
  const auto& sequences = timeline.adSequences();
  for (std::size_t i = 0; i < sequences.size(); ++i) {
    if (!isPlaced(sequences[i]->beginTime(), sequences[i]->endTime())) continue;
    const double begin = scale.x(CMTimeGetSeconds(sequences[i]->beginTime()));
    const double end = scale.x(CMTimeGetSeconds(sequences[i]->endTime()));
    result.push_back({{std::min(begin, end), std::max(begin, end)}, i});
  }
  return result;
}

void drawAxis(SvgWriter& svg, const TimeScale& scale, double base, bool isAbove) {
  double lastEnd = -kPageWidth;
  for (const auto& tick : scale.ticks()) {
    svg.line({tick.x, base}, {tick.x, isAbove ? base - 5 : base + 5}, "tick");
    const double half = textWidth(tick.label, kSmallFont) / 2;
    const double middle = std::clamp(tick.x, kPageMargin + half - 6, kPageWidth - kPageMargin - half + 6);
    if (middle - half < lastEnd + 4) continue;
    lastEnd = middle + half;
    svg.text({middle, isAbove ? base - 9 : base + 16}, "small middle", tick.label);
  }
}

void drawBreaks(SvgWriter& svg, const std::vector<NumberedStretch>& breaks, double top) {
  double lastEnd = -kPageWidth;
  for (const auto& [stretch, index] : breaks) {
    const double width = std::max(stretch.end - stretch.begin, kNarrowestBreak);
    svg.rectangle({stretch.begin, top, width, kStreamHeight}, "break", fmt::format("break {}", index));
    const auto label = std::to_string(index);
    const double half = textWidth(label, kSmallFont) / 2;
    const double middle = stretch.begin + width / 2;
    if (middle - half < lastEnd + 3) continue;
    lastEnd = middle + half;
    svg.text({middle, top + kStreamHeight + 12}, "adnote middle", label);
  }
}

/// The share of each column that breaks cover, 0 to 1.
std::vector<double> breakShares(const std::vector<NumberedStretch>& breaks) {
  constexpr auto kColumns = static_cast<std::size_t>(kDrawingWidth / kShareColumn);
  std::vector<double> partial(kColumns, 0.0);
  std::vector<int> coverChange(kColumns + 1, 0);  // columns that a break covers completely, as differences
  for (const auto& numbered : breaks) {
    const auto columnOf = [](double x) {
      return std::clamp((x - kPageMargin) / kShareColumn, 0.0, static_cast<double>(kColumns));
    };
    const double begin = columnOf(numbered.stretch.begin);
    const double end = columnOf(numbered.stretch.end);
    const auto first = std::min(static_cast<std::size_t>(begin), kColumns - 1);
    const auto last = std::min(static_cast<std::size_t>(end), kColumns - 1);
    if (first == last) {
      partial[first] += end - begin;
      continue;
    }
    partial[first] += static_cast<double>(first + 1) - begin;
    partial[last] += end - static_cast<double>(last);
    ++coverChange[first + 1];
    --coverChange[last];
  }
  int covers = 0;
  for (std::size_t i = 0; i < kColumns; ++i) {
    covers += coverChange[i];
    partial[i] = std::min(1.0, partial[i] + covers);
  }
  return partial;
}

/// Many breaks: the tint shows the share of ads in that part of the stream.
void drawBreakShares(SvgWriter& svg, const std::vector<NumberedStretch>& breaks, double top) {
  const auto tintOf = [](double share) { return share > 0 ? std::max(1L, std::lround(share * 10)) : 0L; };
  const auto shares = breakShares(breaks);
  svg.rectangle({kPageMargin, top, kDrawingWidth, kStreamHeight}, "page");
  for (std::size_t i = 0; i < shares.size();) {
    const long tint = tintOf(shares[i]);
    std::size_t end = i;
    while (end < shares.size() && tintOf(shares[end]) == tint) ++end;
    if (tint > 0) {
      svg.rectangle({kPageMargin + static_cast<double>(i) * kShareColumn, top,
                     static_cast<double>(end - i) * kShareColumn, kStreamHeight},
                    fmt::format("break tint{}", tint));
    }
    i = end;
  }
  svg.text({kPageMargin + kDrawingWidth / 2, top + kStreamHeight + 13}, "adnote middle",
           counted(breaks.size(), "break") + ", too many to draw each; the deeper the tint, the more ads");
}

/// A segment on both axes and the tinted area that joins them.
struct JoinedSegment {
  Stretch stream;
  Stretch content;
};

std::vector<JoinedSegment> joinedSegments(const TarnLumoTimeline& timeline, const TimeScale& absolute,
                                          const TimeScale& content) {
  std::vector<JoinedSegment> result;
  double sum = 0;
  for (const auto& segment : timeline.contentSegments()) {
    if (!isPlaced(segment.beginTime(), segment.duration())) continue;
    const double begin = CMTimeGetSeconds(segment.beginTime());
    const double duration = CMTimeGetSeconds(segment.duration());
    result.push_back(
        {{absolute.x(begin), absolute.x(begin + duration)}, {content.x(sum), content.x(sum + duration)}});
    sum += duration;
  }
  return result;
}

void drawSegments(SvgWriter& svg, const std::vector<JoinedSegment>& segments, double streamTop,
                  double contentTop) {
  for (const auto& [stream, content] : segments) {
    svg.polygon({{stream.begin, streamTop + kStreamHeight},
                 {stream.end, streamTop + kStreamHeight},
                 {content.end, contentTop},
                 {content.begin, contentTop}},
                "collapse");
    svg.rectangle({stream.begin, streamTop, stream.end - stream.begin, kStreamHeight}, "content");
    svg.rectangle({content.begin, contentTop, content.end - content.begin, kContentHeight}, "content");
  }
}

/// Marks the content times of the breaks.
void drawFolds(SvgWriter& svg, const std::vector<JoinedSegment>& segments, const TimeScale& content,
               double contentTop) {
  double last = -kPageWidth;
  const auto fold = [&](double x) {
    if (x - last < 1) return;
    last = x;
    svg.line({x, contentTop - 4}, {x, contentTop + kContentHeight + 4}, "fold");
  };
  for (const auto& segment : segments) {
    if (segment.stream.begin > kPageMargin + 0.01 || segment.content.begin > content.left() + 0.01) {
      fold(segment.content.begin);
    }
  }
  const bool hasPostroll = segments.back().stream.end < kPageMargin + kDrawingWidth - 0.01;
  if (hasPostroll) fold(content.right());
}

void drawFlags(SvgWriter& svg, const TarnLumoTimeline& timeline, const TimeScale& content,
               double contentTop) {
  std::vector<double> places;
  for (const auto& impression : timeline.contentImpressions()) {
    if (!CMTIME_IS_NUMERIC(impression->logicalTime())) continue;
    places.push_back(content.x(CMTimeGetSeconds(impression->logicalTime())));
  }
  std::sort(places.begin(), places.end());
  double last = -kPageWidth;
  for (const double x : places) {
    if (x < content.left() || x > content.right() || x - last < 2) continue;
    last = x;
    svg.line({x, contentTop - 18}, {x, contentTop + kContentHeight}, "pole");
    svg.polygon({{x, contentTop - 18}, {x + 10, contentTop - 14}, {x, contentTop - 10}}, "flag");
  }
}

}  // namespace

double drawStream(SvgWriter& svg, double top, const TarnLumoTimeline& timeline) {
  const Span span = spanOf(timeline);
  if (!(span.length() > 0)) {
    svg.text({kPageMargin, top + 12}, "faint", "The stream has no length to draw.");
    return top + 40;
  }
  const TimeScale absolute(span, kPageMargin, kDrawingWidth);
  const auto breaks = breakStretches(timeline, absolute);
  const bool isDense = breaks.size() > kMaxBreaks;
  const double streamTop = top + 44;
  const double contentTop = streamTop + kStreamHeight + kFoldHeight;
  svg.text({kPageMargin, top + 10}, "heading", "Absolute time: the stitched stream");
  drawAxis(svg, absolute, streamTop, true);
  svg.rectangle({kPageMargin, streamTop, kDrawingWidth, kStreamHeight}, "track");

  double bottom = streamTop + kStreamHeight + 22;
  const double length = contentSeconds(timeline);
  if (length > 0) {
    // Content has the same scale as above, so that the lengths can be compared.
    const double width = std::min(kDrawingWidth, kDrawingWidth * length / span.length());
    const TimeScale content({0, length}, kPageMargin + (kDrawingWidth - width) / 2, width);
    auto segments = joinedSegments(timeline, absolute, content);
    if (isDense) segments = {{{kPageMargin, kPageMargin + kDrawingWidth}, {content.left(), content.right()}}};
    drawSegments(svg, segments, streamTop, contentTop);
    drawFolds(svg, segments, content, contentTop);
    drawFlags(svg, timeline, content, contentTop);
    drawAxis(svg, content, contentTop + kContentHeight + 3, false);
    svg.text({kPageMargin, contentTop + kContentHeight + 42}, "heading",
             "Content time: what the viewer sees of it");
    bottom = contentTop + kContentHeight + 52;
  }
  if (isDense) {
    drawBreakShares(svg, breaks, streamTop);
  } else {
    drawBreaks(svg, breaks, streamTop);
  }
  return bottom + 24;
}

}  // namespace tarn::cli
