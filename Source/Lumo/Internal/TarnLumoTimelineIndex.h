#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "Lumo/Internal/TimeList.h"
#include "Lumo/TarnLumoTimeline.h"

/// The tables that the mappings look up, computed once, since a timeline never changes.
///
/// Every result equals that of a walk over the lists from the front, to the value, timescale and flags. Where
/// the times that a search relies on ascend, the walk starts at the place that a binary search finds instead
/// of at the front; where they do not (a faulty document), it starts at the front.

namespace tarn {

/// Content segments, their ends and the content time at which each begins.
class ContentIndex {
 public:
  ContentIndex(const TarnLumoTimeline::AdSequences& adSequences, CMTime payloadLength);

  [[nodiscard]] const std::vector<TarnLumoContentSegment>& segments() const { return segments_; }
  [[nodiscard]] CMTime contentTimeAtAbsoluteTime(CMTime absoluteTime) const;
  [[nodiscard]] CMTime absoluteTimeAtContentTime(CMTime contentTime) const;

 private:
  CMTime payloadLength_;
  std::vector<TarnLumoContentSegment> segments_;
  TimeList ends_;
  TimeList lengthBefore_;  // of content before each segment, and after the last
};

/// Half-open spans of stream time.
struct SpanList {
  TimeList begins;
  TimeList ends;

  void close();
  [[nodiscard]] bool ascends() const { return begins.ascends() && ends.ascends(); }
  /// The first of the spans in [`from`, `to`) that holds `time`; `to` when none does.
  [[nodiscard]] std::size_t firstHolding(CMTime time, std::size_t from, std::size_t to) const;
};

/// Spans of the ad sequences, and of their ads as one list.
class BreakIndex {
 public:
  explicit BreakIndex(const TarnLumoTimeline::AdSequences& adSequences);

  struct Position {
    std::shared_ptr<const TarnLumoAdSequence> adSequence;
    std::shared_ptr<const TarnLumoAd> ad;
  };
  /// The sequence and ad at `time`, of those that the index was made from.
  [[nodiscard]] Position positionAt(CMTime time, const TarnLumoTimeline::AdSequences& adSequences) const;

  /// The summed durations of the ads that end before `time`, in the sequences that do not begin after it.
  [[nodiscard]] CMTime adTimeBefore(CMTime time) const;

 private:
  [[nodiscard]] std::size_t sequencesBeforeBeginAfter(CMTime time) const;

  SpanList sequences_;
  SpanList ads_;
  std::vector<std::size_t> firstAd_;    // of each sequence, in `ads_`; and its size
  std::vector<CMTime> durationBefore_;  // of ads before each ad, and of all
  std::vector<CMTime> durations_;
};

}  // namespace tarn

class TarnLumoTimeline::Index {
 public:
  Index(const AdSequences& adSequences, CMTime payloadLength)
      : content(adSequences, payloadLength), breaks(adSequences) {}

  const tarn::ContentIndex content;
  const tarn::BreakIndex breaks;
};
