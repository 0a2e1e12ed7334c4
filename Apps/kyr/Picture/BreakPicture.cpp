#include "Picture/BreakPicture.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <vector>

#include "Picture/PictureStyle.h"
#include "Picture/TimeScale.h"
#include "Terminal/Text.h"

namespace tarn::cli {
namespace {

constexpr double kBarHeight = 38;
constexpr double kMarkRowHeight = 13;
constexpr double kPixelsPerSecond = 24;  // breaks of up to 50 s share this scale
constexpr double kNarrowestBar = 420;
constexpr std::size_t kMaxAds = 40;
constexpr std::size_t kMaxNames = 12;

/// A mark at an instant of an ad.
struct Mark {
  double x;
  std::string label;
  std::string_view lineStyle;
  std::string_view labelStyle;
};

/// Places each label beside its mark in the first of a few rows that has room; without room only the mark is
/// drawn.
class MarkRows {
 public:
  explicit MarkRows(double right) : right_(right) {}

  [[nodiscard]] std::optional<std::size_t> rowFor(double x, const std::string& label) {
    const double width = textWidth(label, kSmallFont);
    if (x + 3 + width > right_) return std::nullopt;
    for (std::size_t row = 0; row < ends_.size(); ++row) {
      if (x < ends_[row]) continue;
      ends_[row] = x + 3 + width + 6;
      used_ = std::max(used_, row + 1);
      return row;
    }
    return std::nullopt;
  }
  [[nodiscard]] double height() const { return static_cast<double>(used_) * kMarkRowHeight; }

 private:
  double right_;
  std::array<double, 4> ends_{};
  std::size_t used_ = 0;
};

std::string adName(const TarnLumoAd& ad) {
  if (ad.title() && !ad.title()->empty()) return printable(*ad.title());
  return printable(ad.adId().value_or("no id"));
}

std::string eventName(const TarnLumoTrackingEvent& event) {
  const auto name = printable(event.name().value_or(""));
  return name.empty() ? "(no name)" : name;
}

void addMarks(std::vector<Mark>& marks, const TarnLumoAd& ad, const TimeScale& scale) {
  const auto at = [&](CMTime offset) { return scale.x(CMTimeGetSeconds(CMTimeAdd(ad.beginTime(), offset))); };
  const auto isInside = [&](CMTime offset) {
    return CMTIME_IS_NUMERIC(offset) && offset >= kCMTimeZero && offset <= ad.duration();
  };
  if (isInside(ad.skipOffset())) {
    marks.push_back({at(ad.skipOffset()), "skip " + secondsText(ad.skipOffset()), "skip", "skiplabel"});
  }
  if (!ad.trackingEventsCollection()) return;
  double previous = -1;
  for (const auto& event : ad.trackingEventsCollection()->orderedEventsWithOffsets()) {
    if (!isInside(event->offset())) continue;
    const double x = at(event->offset());
    if (x - previous < 1) continue;  // one mark for all events at an instant
    previous = x;
    marks.push_back({x, fmt::format("{} {}", clipped(eventName(*event), 24), secondsText(event->offset())),
                     "event", "eventlabel"});
  }
}

std::vector<Mark> marksOf(const TarnLumoAdSequence::Ads& ads, const TimeScale& scale) {
  std::vector<Mark> marks;
  for (const auto& ad : ads) addMarks(marks, *ad, scale);
  std::stable_sort(marks.begin(), marks.end(), [](const Mark& a, const Mark& b) { return a.x < b.x; });
  return marks;
}

/// Returns the height of the labels below the bar.
double drawMarks(SvgWriter& svg, const std::vector<Mark>& marks, double barEnd) {
  MarkRows rows(kPageMargin + kDrawingWidth);
  std::vector<std::pair<const Mark*, Point>> labels;
  for (const auto& mark : marks) {
    const auto row = rows.rowFor(mark.x, mark.label);
    const double foot = barEnd + 6 + (row ? static_cast<double>(*row) * kMarkRowHeight + 6 : 0);
    svg.line({mark.x, barEnd - 6}, {mark.x, foot}, mark.lineStyle);
    if (row) labels.push_back({&mark, {mark.x + 3, foot + 1}});
  }
  // A mark's line may cross labels of upper rows; the labels are drawn last, with a halo that hides the line.
  for (const auto& [mark, at] : labels) svg.text(at, mark->labelStyle, mark->label);
  return rows.height();
}

bool isAtNoSetTime(const TarnLumoTrackingEvent& event, const TarnLumoAd& ad) {
  return event.name() == "complete" || !CMTIME_IS_NUMERIC(event.offset()) || event.offset() > ad.duration();
}

/// The names of the events that are not at an instant inside the ad, once each.
std::string otherEvents(const TarnLumoAd& ad) {
  std::string names;
  std::size_t count = 0;
  if (!ad.trackingEventsCollection()) return names;
  for (const auto& [name, events] : ad.trackingEventsCollection()->eventsByName()) {
    const bool isElsewhere = std::any_of(events.begin(), events.end(),
                                         [&ad](const auto& event) { return isAtNoSetTime(*event, ad); });
    if (!isElsewhere) continue;
    if (++count > kMaxNames) return names + " …";
    names += (names.empty() ? "" : ", ") + clipped(eventName(*events.front()), 24);
  }
  return names;
}

void drawAd(SvgWriter& svg, const TarnLumoAd& ad, bool isOdd, const TimeScale& scale, double top) {
  const double begin = scale.x(CMTimeGetSeconds(ad.beginTime()));
  const double end = scale.x(CMTimeGetSeconds(ad.endTime()));
  const Box box{std::min(begin, end), top, std::abs(end - begin), kBarHeight};
  const std::string length = secondsText(ad.duration());
  svg.rectangle(box, isOdd ? "ad other" : "ad", fmt::format("{}, {}", clipped(adName(ad), 80), length));
  if (CMTIME_IS_NUMERIC(ad.skipOffset()) && ad.skipOffset() < ad.duration()) {
    const double skip =
        std::max(begin, scale.x(CMTimeGetSeconds(CMTimeAdd(ad.beginTime(), ad.skipOffset()))));
    svg.rectangle({skip, top, end - skip, kBarHeight}, "skippable");
  }
  const double room = box.width - 10;
  if (room < 24) return;
  svg.text({box.x + 6, top + 16}, "adlabel", fitted(adName(ad), room, 11.5));
  const std::string note = ad.adId() && ad.title() ? length + " · " + printable(*ad.adId()) : length;
  svg.text({box.x + 6, top + 30}, "adnote", fitted(note, room, kSmallFont));
}

std::string headingNote(const TarnLumoAdSequence& sequence) {
  const CMTime offset = sequence.logicalOffset();
  return fmt::format("at content {}   ·   absolute {} – {}   ·   {} in {}",
                     CMTIME_IS_POSITIVE_INFINITY(offset) ? "end" : clockText(offset),
                     clockText(sequence.beginTime()), clockText(sequence.endTime()),
                     secondsText(sequence.duration()), counted(sequence.ads().size(), "ad"));
}

/// The ads that are drawn: those with a position, up to a maximum number.
TarnLumoAdSequence::Ads drawnAds(const TarnLumoAdSequence& sequence) {
  TarnLumoAdSequence::Ads ads;
  for (const auto& ad : sequence.ads()) {
    if (isPlaced(ad->beginTime(), ad->endTime())) ads.push_back(ad);
    if (ads.size() == kMaxAds) break;
  }
  return ads;
}

Span spanOf(const TarnLumoAdSequence::Ads& ads) {
  Span span{CMTimeGetSeconds(ads.front()->beginTime()), CMTimeGetSeconds(ads.front()->endTime())};
  for (const auto& ad : ads) {
    const double begin = CMTimeGetSeconds(ad->beginTime());
    const double end = CMTimeGetSeconds(ad->endTime());
    span.begin = std::min({span.begin, begin, end});
    span.end = std::max({span.end, begin, end});
  }
  return span;
}

}  // namespace

double drawBreak(SvgWriter& svg, double top, std::size_t index, const TarnLumoAdSequence& sequence) {
  const std::string title = fmt::format("Break {}", index);
  svg.text({kPageMargin, top + 12}, "heading", title);
  svg.text({kPageMargin + textWidth(title, 13) + 12, top + 12}, "faint", headingNote(sequence));

  const auto ads = drawnAds(sequence);
  const Span span = ads.empty() ? Span{} : spanOf(ads);
  double y = top + 22;
  if (!(span.length() > 0)) {
    svg.text({kPageMargin, y + 12}, "small", "The break has no length to draw.");
    return y + 34;
  }
  const double width = std::clamp(span.length() * kPixelsPerSecond, kNarrowestBar, kDrawingWidth);
  const TimeScale scale(span, kPageMargin, width);
  svg.rectangle({kPageMargin, y, width, kBarHeight}, "track");
  for (std::size_t i = 0; i < ads.size(); ++i) drawAd(svg, *ads[i], i % 2 == 1, scale, y);

  const double barEnd = y + kBarHeight;
  const double marksHeight = drawMarks(svg, marksOf(ads, scale), barEnd);
  y = barEnd + 8 + marksHeight;

  std::string notes;
  for (std::size_t i = 0; i < ads.size(); ++i) {
    const auto names = otherEvents(*ads[i]);
    if (!names.empty()) notes += fmt::format("{}ad {}: {}", notes.empty() ? "" : "   ·   ", i, names);
  }
  if (!notes.empty()) {
    y += 14;
    svg.text({kPageMargin, y}, "small", fitted("Events at no set time: " + notes, kDrawingWidth, kSmallFont));
  }
  if (ads.size() < sequence.ads().size()) {
    y += 14;
    svg.text({kPageMargin, y}, "small",
             counted(sequence.ads().size() - ads.size(), "more ad") + " not drawn");
  }
  return y + 28;
}

}  // namespace tarn::cli
