#include "Picture/TimelinePicture.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "Document/Placement.h"
#include "Picture/BreakPicture.h"
#include "Picture/PictureStyle.h"
#include "Picture/StreamPicture.h"
#include "Picture/SvgWriter.h"
#include "Terminal/Text.h"

namespace tarn::cli {
namespace {

constexpr std::size_t kMaxBreaksDrawn = 16;
constexpr std::size_t kMaxListed = 8;
constexpr double kRowHeight = 16;

/// Draws the page from top to bottom; `y_` is the upper edge of the next part.
class Page {
 public:
  Page(const LoadedTimeline& loaded, const std::string& source)
      : loaded_(loaded), timeline_(*loaded.timeline), source_(source) {}

  [[nodiscard]] std::string draw() {
    drawHead();
    drawLegend();
    y_ = drawStream(svg_, y_, timeline_);
    drawBreaks();
    drawImpressions();
    drawNotPlaced();
    drawWarnings();
    return svg_.document(kPageWidth, y_ + 12, kPictureStyleSheet, kPictureDefinitions,
                         "Stitched stream of " + source_);
  }

 private:
  void drawHead();
  void drawLegend();
  void drawBreaks();
  void drawImpressions();
  void drawNotPlaced();
  void drawWarnings();
  void drawPanel(std::string_view style, std::string_view heading, const std::vector<std::string>& rows,
                 std::size_t total);

  const LoadedTimeline& loaded_;
  const TarnLumoTimeline& timeline_;
  const std::string& source_;
  SvgWriter svg_;
  double y_ = 0;
};

void Page::drawHead() {
  std::size_t ads = 0;
  for (const auto& sequence : timeline_.adSequences()) ads += sequence->ads().size();
  svg_.text({kPageMargin, 42}, "headline", fitted(source_, kDrawingWidth, 19));
  svg_.text({kPageMargin, 64}, "faint",
            fmt::format("payload {}   ·   content {}   ·   {}   ·   {}   ·   {}   ·   {}",
                        clockText(timeline_.payloadLength()), clockText(timeline_.contentLength()),
                        counted(timeline_.adSequences().size(), "break"), counted(ads, "ad"),
                        counted(timeline_.contentImpressions().size(), "content impression"),
                        counted(loaded_.warnings.size(), "warning")));
  const std::string url = timeline_.lumoURL() ? timeline_.lumoURL()->absoluteString() : "no stream URL";
  svg_.text({kPageMargin, 82}, "faint", fitted(url, kDrawingWidth, kTextFont));
  y_ = 100;
}

void Page::drawLegend() {
  double x = kPageMargin;
  const auto entry = [&](std::string_view label, auto drawKey) {
    drawKey(x);
    svg_.text({x + 22, y_ + 11}, "small", label);
    x += 22 + textWidth(label, kSmallFont) + 20;
  };
  const auto block = [this](std::string_view style) {
    return [this, style](double left) { svg_.rectangle({left, y_ + 2, 16, 11}, style); };
  };
  const auto stroke = [this](std::string_view style) {
    return [this, style](double left) { svg_.line({left + 8, y_ + 1}, {left + 8, y_ + 14}, style); };
  };
  entry("content", block("content"));
  entry("ad break", block("break"));
  entry("ad", block("ad"));
  entry("part of an ad that may be skipped", [&](double left) {
    block("ad")(left);
    block("skippable")(left);
  });
  entry("skip point", stroke("skip"));
  entry("tracking event", stroke("event"));
  entry("point into which a break collapses", stroke("fold"));
  entry("content impression", [this](double left) {
    svg_.line({left + 4, y_ + 1}, {left + 4, y_ + 14}, "pole");
    svg_.polygon({{left + 4, y_ + 1}, {left + 13, y_ + 4}, {left + 4, y_ + 7}}, "flag");
  });
  y_ += 38;
}

void Page::drawBreaks() {
  const auto& sequences = timeline_.adSequences();
  std::size_t drawn = 0;
  for (std::size_t i = 0; i < sequences.size() && drawn < kMaxBreaksDrawn; ++i) {
    if (!isPlaced(sequences[i]->beginTime(), sequences[i]->endTime())) continue;
    if (drawn++ == 0) {
      svg_.line({kPageMargin, y_ - 14}, {kPageMargin + kDrawingWidth, y_ - 14}, "rule");
    }
    y_ = drawBreak(svg_, y_, i, *sequences[i]);
  }
  const auto placed =
      static_cast<std::size_t>(std::count_if(sequences.begin(), sequences.end(), [](const auto& sequence) {
        return isPlaced(sequence->beginTime(), sequence->endTime());
      }));
  if (placed > drawn) {
    svg_.text({kPageMargin, y_ + 10}, "faint", counted(placed - drawn, "more break") + " not drawn apart");
    y_ += 32;
  }
}

void Page::drawPanel(std::string_view style, std::string_view heading, const std::vector<std::string>& rows,
                     std::size_t total) {
  if (rows.empty()) return;
  const std::size_t more = total - rows.size();
  const double height = kRowHeight * static_cast<double>(rows.size() + (more > 0 ? 1 : 0)) + 38;
  svg_.rectangle({kPageMargin, y_, kDrawingWidth, height}, style);
  svg_.text({kPageMargin + 14, y_ + 21}, "heading", heading);
  double base = y_ + 40;
  for (const auto& row : rows) {
    svg_.text({kPageMargin + 14, base}, "", fitted(row, kDrawingWidth - 28, kTextFont));
    base += kRowHeight;
  }
  if (more > 0) svg_.text({kPageMargin + 14, base}, "faint", fmt::format("and {} more", more));
  y_ += height + 16;
}

void Page::drawImpressions() {
  const auto& impressions = timeline_.contentImpressions();
  std::vector<std::string> rows;
  for (std::size_t i = 0; i < std::min(impressions.size(), kMaxListed); ++i) {
    rows.push_back(fmt::format("{}   {}", clockText(impressions[i]->logicalTime()),
                               impressions[i]->url() ? impressions[i]->url()->absoluteString() : "no URL"));
  }
  drawPanel("track", "Content impressions (content time)", rows, impressions.size());
}

void Page::drawNotPlaced() {
  std::vector<std::string> rows;
  std::size_t total = 0;
  const auto& sequences = timeline_.adSequences();
  for (std::size_t i = 0; i < sequences.size(); ++i) {
    const auto& sequence = *sequences[i];
    if (isPlaced(sequence.beginTime(), sequence.endTime())) continue;
    if (++total > kMaxListed) continue;
    rows.push_back(fmt::format("Break {}: begin {}, end {}, {}", i, clockText(sequence.beginTime()),
                               clockText(sequence.endTime()), counted(sequence.ads().size(), "ad")));
  }
  drawPanel("panel alarm", "Not placed: times that are no numbers", rows, total);
}

void Page::drawWarnings() {
  std::vector<std::string> rows;
  for (std::size_t i = 0; i < std::min(loaded_.warnings.size(), kMaxListed); ++i) {
    const auto& warning = loaded_.warnings[i];
    rows.push_back(warning.line ? fmt::format("line {}: {}", *warning.line, warning.message)
                                : warning.message);
  }
  drawPanel("panel", "Warnings", rows, loaded_.warnings.size());
}

}  // namespace

std::string timelinePicture(const LoadedTimeline& loaded, const std::string& source) {
  return Page(loaded, source).draw();
}

}  // namespace tarn::cli
