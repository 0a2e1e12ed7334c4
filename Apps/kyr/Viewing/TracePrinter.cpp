#include "Viewing/TracePrinter.h"

#include <fmt/format.h>

#include <cstdio>

#include "Terminal/Json.h"
#include "Terminal/Text.h"
#include "Viewing/EventText.h"

namespace tarn::cli {
namespace {

Json json(const std::optional<std::size_t>& number) {
  return number ? Json(*number) : Json(nullptr);
}

Json adIdJson(const std::shared_ptr<const TarnLumoAd>& ad) {
  return ad ? cli::json(ad->adId()) : Json(nullptr);
}

class JsonTracePrinter final : public TracePrinter {
 public:
  explicit JsonTracePrinter(const TarnLumoTimeline& timeline) : index_(timeline) {}

  void event(std::size_t line, const TarnLumoProgressTrackerEvent& event) override {
    Json record = {{"line", line}, {"kind", "event"}};
    record.update(eventJson(event, index_));
    writeRecord(record);
  }

  void contentTime(std::size_t line, CMTime time) override {
    writeRecord({{"line", line}, {"kind", "contentTime"}, {"value", cli::json(time)}});
  }

  void beacon(std::size_t line, const URL& url) override {
    writeRecord({{"line", line}, {"kind", "beacon"}, {"url", url.absoluteString()}});
  }

  void ranges(std::size_t line, std::string_view kind,
              const TarnLumoProgressTracker::TimeRanges& ranges) override {
    writeRecord({{"line", line}, {"kind", kind}, {"ranges", rangesJson(ranges)}});
  }

  void contentTimeAtAbsoluteTime(std::size_t line, CMTime absolute, CMTime content) override {
    writeRecord({{"line", line},
                 {"kind", "absolute"},
                 {"absolute", cli::json(absolute)},
                 {"content", cli::json(content)}});
  }

  void absoluteTimeAtContentTime(std::size_t line, CMTime content, CMTime absolute) override {
    writeRecord({{"line", line},
                 {"kind", "content"},
                 {"content", cli::json(content)},
                 {"absolute", cli::json(absolute)}});
  }

  void path(std::size_t line, const TarnLumoPath& path) override {
    writeRecord({{"line", line},
                 {"kind", "path"},
                 {"absolute", cli::json(path.absoluteTime())},
                 {"logical", cli::json(path.logicalTime())},
                 {"ad", adIdJson(path.ad())},
                 {"adSequence", json(index_.indexOf(path.adSequence().get()))}});
  }

 private:
  AdIndex index_;
};

std::string sequenceName(const std::optional<std::size_t>& index) {
  return index ? fmt::format("break {}", *index) : "no break";
}

class TextTracePrinter final : public TracePrinter {
 public:
  explicit TextTracePrinter(const TarnLumoTimeline& timeline) : index_(timeline) {}

  void event(std::size_t line, const TarnLumoProgressTrackerEvent& event) override {
    const auto progress = event.adProgress();
    row(line, eventName(event.type()), progress ? clockText(*progress) : "",
        fmt::format("{}  {}", sequenceName(sequenceIndex(index_, event)), adName(event.ad())));
  }

  void contentTime(std::size_t line, CMTime time) override { row(line, "contentTime", clockText(time), ""); }

  void beacon(std::size_t line, const URL& url) override { row(line, "  beacon", "", url.absoluteString()); }

  void ranges(std::size_t line, std::string_view kind,
              const TarnLumoProgressTracker::TimeRanges& ranges) override {
    std::string list = ranges ? (ranges->empty() ? "empty" : "") : "none";
    for (const auto& range : ranges.value_or(std::vector<CMTimeRange>())) {
      list += fmt::format("{}{} + {}", list.empty() ? "" : ", ", clockText(range.start),
                          clockText(range.duration));
    }
    row(line, kind, "", list);
  }

  void contentTimeAtAbsoluteTime(std::size_t line, CMTime absolute, CMTime content) override {
    row(line, "absolute", clockText(absolute), "is content " + clockText(content));
  }

  void absoluteTimeAtContentTime(std::size_t line, CMTime content, CMTime absolute) override {
    row(line, "content", clockText(content), "is absolute " + clockText(absolute));
  }

  void path(std::size_t line, const TarnLumoPath& path) override {
    row(line, "path", clockText(path.absoluteTime()),
        fmt::format("logical {}  {}  {}", clockText(path.logicalTime()),
                    sequenceName(index_.indexOf(path.adSequence().get())), adName(path.ad())));
  }

 private:
  static void row(std::size_t line, std::string_view what, std::string_view time, std::string_view where) {
    std::string text = fmt::format("{:>6}  {:<15}  {:>13}  {}", line, what, time, where);
    text.erase(text.find_last_not_of(' ') + 1);
    print(text + "\n");
    std::fflush(stdout);
  }

  AdIndex index_;
};

}  // namespace

std::unique_ptr<TracePrinter> makeJsonTracePrinter(const TarnLumoTimeline& timeline) {
  return std::make_unique<JsonTracePrinter>(timeline);
}

std::unique_ptr<TracePrinter> makeTextTracePrinter(const TarnLumoTimeline& timeline) {
  return std::make_unique<TextTracePrinter>(timeline);
}

}  // namespace tarn::cli
