#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "Document/AdIndex.h"
#include "Lumo/TarnLumoProgressTracker.h"

namespace tarn::cli {

/// Prints the results of a trace, each with the number of the input line that caused it.
class TracePrinter {
 public:
  TracePrinter() = default;
  TracePrinter(const TracePrinter&) = delete;
  TracePrinter& operator=(const TracePrinter&) = delete;
  virtual ~TracePrinter() = default;

  virtual void event(std::size_t line, const TarnLumoProgressTrackerEvent& event) = 0;
  virtual void contentTime(std::size_t line, CMTime time) = 0;
  virtual void beacon(std::size_t line, const URL& url) = 0;
  /// `kind` is "seekable" or "loaded", the ranges are on the content axis.
  virtual void ranges(std::size_t line, std::string_view kind,
                      const TarnLumoProgressTracker::TimeRanges& ranges) = 0;
  virtual void contentTimeAtAbsoluteTime(std::size_t line, CMTime absolute, CMTime content) = 0;
  virtual void absoluteTimeAtContentTime(std::size_t line, CMTime content, CMTime absolute) = 0;
  virtual void path(std::size_t line, const TarnLumoPath& path) = 0;
};

/// One JSON object a line, or aligned columns for people. `timeline` outlives the printer.
[[nodiscard]] std::unique_ptr<TracePrinter> makeJsonTracePrinter(const TarnLumoTimeline& timeline);
[[nodiscard]] std::unique_ptr<TracePrinter> makeTextTracePrinter(const TarnLumoTimeline& timeline);

}  // namespace tarn::cli
