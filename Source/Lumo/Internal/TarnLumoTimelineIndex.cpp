#include "Lumo/Internal/TarnLumoTimelineIndex.h"

#include <algorithm>

namespace tarn {
namespace {

std::vector<TarnLumoContentSegment> makeSegments(const TarnLumoTimeline::AdSequences& adSequences,
                                                 CMTime payloadLength) {
  if (adSequences.empty()) return {TarnLumoContentSegment(kCMTimeZero, payloadLength)};
  std::vector<TarnLumoContentSegment> segments;
  segments.reserve(adSequences.size() + 1);
  const CMTime firstBegin = adSequences.front()->beginTime();
  if (kCMTimeZero < firstBegin) segments.emplace_back(kCMTimeZero, firstBegin);
  for (std::size_t i = 1; i < adSequences.size(); ++i) {
    const CMTime previousEnd = adSequences[i - 1]->endTime();
    segments.emplace_back(previousEnd, CMTimeSubtract(adSequences[i]->beginTime(), previousEnd));
  }
  const CMTime lastEnd = adSequences.back()->endTime();
  if (lastEnd < payloadLength) {
    segments.emplace_back(lastEnd, CMTimeSubtract(payloadLength, lastEnd));
  }
  return segments;
}

}  // namespace

ContentIndex::ContentIndex(const TarnLumoTimeline::AdSequences& adSequences, CMTime payloadLength)
    : payloadLength_(payloadLength), segments_(makeSegments(adSequences, payloadLength)) {
  ends_.reserve(segments_.size());
  lengthBefore_.reserve(segments_.size() + 1);
  lengthBefore_.add(kCMTimeZero);
  for (const auto& segment : segments_) {
    ends_.add(CMTimeAdd(segment.beginTime(), segment.duration()));
    lengthBefore_.add(CMTimeAdd(lengthBefore_.back(), segment.duration()));
  }
  ends_.close();
  lengthBefore_.close();
}

CMTime ContentIndex::contentTimeAtAbsoluteTime(CMTime absoluteTime) const {
  // Segments that end before the time count whole; the sum before a segment is of those.
  std::size_t i = ends_.ascends() ? ends_.firstNotEarlier(absoluteTime, 0, ends_.size()) : 0;
  CMTime accumulated = lengthBefore_[i];
  for (; i < segments_.size(); ++i) {
    const CMTime begin = segments_[i].beginTime();
    if (ends_[i] < absoluteTime) {
      accumulated = CMTimeAdd(accumulated, segments_[i].duration());
    } else if (begin < absoluteTime) {
      accumulated = CMTimeAdd(accumulated, CMTimeSubtract(absoluteTime, begin));
    } else {
      return accumulated;
    }
  }
  // Reaching the end with nothing counted means that nothing maps; stopping before a segment does not.
  return accumulated == kCMTimeZero ? kCMTimeInvalid : accumulated;
}

CMTime ContentIndex::absoluteTimeAtContentTime(CMTime contentTime) const {
  const std::size_t count = segments_.size();
  std::size_t i = 0;
  std::size_t stop = count;
  if (lengthBefore_.ascends()) {  // Only the first segment that ends after the time can hold it.
    i = lengthBefore_.firstLater(contentTime, 1, count + 1) - 1;
    stop = std::min(i + 1, count);
  }
  for (; i < stop; ++i) {
    if (contentTime >= lengthBefore_[i] && contentTime < lengthBefore_[i + 1]) {
      return CMTimeAdd(segments_[i].beginTime(), CMTimeSubtract(contentTime, lengthBefore_[i]));
    }
  }
  return lengthBefore_.back() < contentTime ? kCMTimeInvalid : payloadLength_;
}

void SpanList::close() {
  begins.close();
  ends.close();
}

std::size_t SpanList::firstHolding(CMTime time, std::size_t from, std::size_t to) const {
  std::size_t i = from;
  std::size_t stop = to;
  if (ascends()) {  // If the first span that ends after the time begins after it, all others do.
    i = ends.firstLater(time, from, to);
    stop = std::min(i + 1, to);
  }
  for (; i < stop; ++i) {
    if (time >= begins[i] && time < ends[i]) return i;
  }
  return to;
}

BreakIndex::BreakIndex(const TarnLumoTimeline::AdSequences& adSequences) {
  firstAd_.reserve(adSequences.size() + 1);
  durationBefore_.push_back(kCMTimeZero);
  for (const auto& sequence : adSequences) {
    sequences_.begins.add(sequence->beginTime());
    sequences_.ends.add(sequence->endTime());
    firstAd_.push_back(durations_.size());
    for (const auto& ad : sequence->ads()) {
      ads_.begins.add(ad->beginTime());
      ads_.ends.add(ad->endTime());
      durations_.push_back(ad->duration());
      durationBefore_.push_back(CMTimeAdd(durationBefore_.back(), ad->duration()));
    }
  }
  firstAd_.push_back(durations_.size());
  sequences_.close();
  ads_.close();
}

BreakIndex::Position BreakIndex::positionAt(CMTime time,
                                            const TarnLumoTimeline::AdSequences& adSequences) const {
  const std::size_t sequence = sequences_.firstHolding(time, 0, adSequences.size());
  if (sequence == adSequences.size()) return {};
  Position position{adSequences[sequence], nullptr};
  const std::size_t endOfAds = firstAd_[sequence + 1];
  const std::size_t ad = ads_.firstHolding(time, firstAd_[sequence], endOfAds);
  if (ad != endOfAds) position.ad = position.adSequence->ads()[ad - firstAd_[sequence]];
  return position;
}

std::size_t BreakIndex::sequencesBeforeBeginAfter(CMTime time) const {
  const TimeList& begins = sequences_.begins;
  if (begins.ascends()) return begins.firstLater(time, 0, begins.size());
  std::size_t i = 0;
  while (i < begins.size() && time >= begins[i]) ++i;
  return i;
}

CMTime BreakIndex::adTimeBefore(CMTime time) const {
  const std::size_t endOfAds = firstAd_[sequencesBeforeBeginAfter(time)];
  if (ads_.ends.ascends()) return durationBefore_[ads_.ends.firstNotEarlier(time, 0, endOfAds)];
  CMTime accumulated = kCMTimeZero;
  for (std::size_t ad = 0; ad < endOfAds; ++ad) {
    if (ads_.ends[ad] < time) accumulated = CMTimeAdd(accumulated, durations_[ad]);
  }
  return accumulated;
}

}  // namespace tarn
