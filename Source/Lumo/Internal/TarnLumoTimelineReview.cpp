#include "Lumo/Internal/TarnLumoTimelineReview.h"

#include <fmt/format.h>

#include <string>

#include "Lumo/TarnLumoCommon.h"

namespace tarn {
namespace {

/// Lengths are written with milliseconds and rounded ad by ad; less than this is no discrepancy.
constexpr CMTime kLengthTolerance{60, kDocumentTimescale, kCMTimeFlags_Valid, 0};

class Review {
 public:
  Review(const TarnLumoTimeline& timeline, const std::vector<CMTime>& offsets, const BreakLines& lines,
         WarningCollector& warnings)
      : timeline_(timeline), offsets_(offsets), lines_(lines), warnings_(warnings) {}

  void run() {
    for (std::size_t i = 0; i < offsets_.size(); ++i) {
      reviewPlace(i);
      if (i > 0) reviewNeighbours(i);
    }
    reviewLengths();
  }

 private:
  [[nodiscard]] const TarnLumoAdSequence& sequence(std::size_t index) const {
    return *timeline_.adSequences()[index];
  }

  void warn(std::size_t index, std::string message) {
    const auto line = lines_.find(offsets_[index]);
    warnings_.add(line == lines_.end() ? std::nullopt : line->second, std::move(message));
  }

  [[nodiscard]] std::string named(std::size_t index) const {
    return fmt::format("The ad sequence at content time {}", spokenTime(offsets_[index]));
  }

  void reviewPlace(std::size_t index) {
    const TarnLumoAdSequence& ads = sequence(index);
    if (!CMTIME_IS_NUMERIC(ads.beginTime()) || !CMTIME_IS_NUMERIC(ads.endTime())) return;
    if (ads.beginTime() < kCMTimeZero)
      warn(index, fmt::format("{} would begin {} before the stream does.", named(index),
                              spokenTime(CMTimeSubtract(kCMTimeZero, ads.beginTime()))));
    const CMTime payload = timeline_.payloadLength();
    if (payload > kCMTimeZero && ads.endTime() > payload)
      warn(index, fmt::format("{} ends at {}, behind the payload length of {}.", named(index),
                              spokenTime(ads.endTime()), spokenTime(payload)));
  }

  void reviewNeighbours(std::size_t index) {
    if (offsets_[index - 1] == offsets_[index]) {
      warn(index,
           fmt::format("Breaks at content time {} are written in two ways, so their ads form two sequences "
                       "at one place.",
                       spokenTime(offsets_[index])));
    }
    const CMTime begin = sequence(index).beginTime();
    const CMTime end = sequence(index - 1).endTime();
    if (CMTIME_IS_NUMERIC(begin) && CMTIME_IS_NUMERIC(end) && begin < end)
      warn(index, fmt::format("{} begins at {}, before the one ahead of it ends at {}: they overlap.",
                              named(index), spokenTime(begin), spokenTime(end)));
  }

  void reviewLengths() {
    const CMTime payload = timeline_.payloadLength();
    const CMTime content = timeline_.contentLength();
    CMTime sum = content;
    for (const auto& ads : timeline_.adSequences()) sum = CMTimeAdd(sum, ads->duration());
    const bool known = payload > kCMTimeZero && CMTIME_IS_NUMERIC(sum);
    if (known && !TarnLumoCMTimesWithinTolerance(payload, sum, kLengthTolerance))
      warnings_.add(std::nullopt, fmt::format("The payload length is {}, but content and ads add up to {}.",
                                              spokenTime(payload), spokenTime(sum)));
    for (const auto& impression : timeline_.contentImpressions()) {
      const CMTime time = impression->logicalTime();
      if (time < kCMTimeZero || (content > kCMTimeZero && time > content))
        warnings_.add(std::nullopt,
                      fmt::format("The content impression at {} lies outside the content of {}.",
                                  spokenTime(time), spokenTime(content)));
    }
  }

  const TarnLumoTimeline& timeline_;
  const std::vector<CMTime>& offsets_;
  const BreakLines& lines_;
  WarningCollector& warnings_;
};

}  // namespace

void reviewTimeline(const TarnLumoTimeline& timeline, const std::vector<CMTime>& offsets,
                    const BreakLines& lines, WarningCollector& warnings) {
  Review(timeline, offsets, lines, warnings).run();
}

std::string spokenTime(const CMTime& time) {
  if (CMTIME_IS_NUMERIC(time)) return fmt::format("{:.6g} s", CMTimeGetSeconds(time));
  if (CMTIME_IS_POSITIVE_INFINITY(time)) return "“end”";
  return "an invalid time";
}

}  // namespace tarn
