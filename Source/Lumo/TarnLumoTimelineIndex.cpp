#include "Lumo/TarnLumoTimelineIndex.h"

#include <algorithm>

namespace tarn {
namespace {

using Times = std::vector<CMTime>;

bool isEarlier(const CMTime& a, const CMTime& b) {
  return CMTimeCompare(a, b) < 0;
}

bool ascend(const Times& times) {
  return std::is_sorted(times.begin(), times.end(), isEarlier);
}

/// How many of the first times of [`from`, `to`) are earlier than `time`; the range must ascend.
std::size_t skipEarlier(const Times& times, std::size_t from, std::size_t to, const CMTime& time) {
  const auto begin = times.begin();
  const auto found = std::lower_bound(begin + static_cast<std::ptrdiff_t>(from),
                                      begin + static_cast<std::ptrdiff_t>(to), time, isEarlier);
  return static_cast<std::size_t>(found - begin);
}

/// As `skipEarlier`, but skips equal times as well.
std::size_t skipEarlierOrEqual(const Times& times, std::size_t from, std::size_t to, const CMTime& time) {
  const auto begin = times.begin();
  const auto found = std::upper_bound(begin + static_cast<std::ptrdiff_t>(from),
                                      begin + static_cast<std::ptrdiff_t>(to), time, isEarlier);
  return static_cast<std::size_t>(found - begin);
}

std::vector<TarnLumoContentSegment> makeSegments(const TarnLumoTimeline::AdSequences& adSequences,
                                                 CMTime payloadLength) {
  if (adSequences.empty()) return {TarnLumoContentSegment(kCMTimeZero, payloadLength)};
  std::vector<TarnLumoContentSegment> segments;
  segments.reserve(adSequences.size() + 1);
  const CMTime firstBegin = adSequences.front()->beginTime();
  if (isEarlier(kCMTimeZero, firstBegin)) segments.emplace_back(kCMTimeZero, firstBegin);
  for (std::size_t i = 1; i < adSequences.size(); ++i) {
    const CMTime previousEnd = adSequences[i - 1]->endTime();
    segments.emplace_back(previousEnd, CMTimeSubtract(adSequences[i]->beginTime(), previousEnd));
  }
  const CMTime lastEnd = adSequences.back()->endTime();
  if (isEarlier(lastEnd, payloadLength)) {
    segments.emplace_back(lastEnd, CMTimeSubtract(payloadLength, lastEnd));
  }
  return segments;
}

}  // namespace

ContentIndex::ContentIndex(const TarnLumoTimeline::AdSequences& adSequences, CMTime payloadLength)
    : payloadLength_(payloadLength), segments_(makeSegments(adSequences, payloadLength)) {
  ends_.reserve(segments_.size());
  lengthBefore_.reserve(segments_.size() + 1);
  lengthBefore_.push_back(kCMTimeZero);
  for (const auto& segment : segments_) {
    ends_.push_back(CMTimeAdd(segment.beginTime(), segment.duration()));
    lengthBefore_.push_back(CMTimeAdd(lengthBefore_.back(), segment.duration()));
  }
  endsAscend_ = ascend(ends_);
  lengthsAscend_ = ascend(lengthBefore_);
}

CMTime ContentIndex::contentTimeAtAbsoluteTime(CMTime absoluteTime) const {
  // Segments that end before the time count whole, which is what the sums before a segment hold.
  std::size_t i = endsAscend_ ? skipEarlier(ends_, 0, ends_.size(), absoluteTime) : 0;
  CMTime accumulated = lengthBefore_[i];
  for (; i < segments_.size(); ++i) {
    const CMTime begin = segments_[i].beginTime();
    if (isEarlier(ends_[i], absoluteTime)) {
      accumulated = CMTimeAdd(accumulated, segments_[i].duration());
    } else if (isEarlier(begin, absoluteTime)) {
      accumulated = CMTimeAdd(accumulated, CMTimeSubtract(absoluteTime, begin));
    } else {
      return accumulated;
    }
  }
  // Running off the end with nothing counted means that nothing maps; standing before a segment does not.
  return CMTimeCompare(accumulated, kCMTimeZero) == 0 ? kCMTimeInvalid : accumulated;
}

CMTime ContentIndex::absoluteTimeAtContentTime(CMTime contentTime) const {
  const std::size_t count = segments_.size();
  std::size_t i = 0;
  std::size_t stop = count;
  if (lengthsAscend_) {  // Only the first segment that ends behind the time can hold it.
    i = skipEarlierOrEqual(lengthBefore_, 1, count + 1, contentTime) - 1;
    stop = std::min(i + 1, count);
  }
  for (; i < stop; ++i) {
    if (!isEarlier(contentTime, lengthBefore_[i]) && isEarlier(contentTime, lengthBefore_[i + 1])) {
      return CMTimeAdd(segments_[i].beginTime(), CMTimeSubtract(contentTime, lengthBefore_[i]));
    }
  }
  return isEarlier(lengthBefore_.back(), contentTime) ? kCMTimeInvalid : payloadLength_;
}

void SpanIndex::add(CMTime begin, CMTime end) {
  begins_.push_back(begin);
  ends_.push_back(end);
}

void SpanIndex::close() {
  ascends_ = ascend(begins_) && ascend(ends_);
}

std::size_t SpanIndex::firstHolding(CMTime time, std::size_t from, std::size_t to) const {
  std::size_t i = from;
  std::size_t stop = to;
  if (ascends_) {  // If the first span that ends after the time begins after it, all others do.
    i = skipEarlierOrEqual(ends_, from, to, time);
    stop = std::min(i + 1, to);
  }
  for (; i < stop; ++i) {
    if (!isEarlier(time, begins_[i]) && isEarlier(time, ends_[i])) return i;
  }
  return to;
}

std::size_t SpanIndex::countBeforeBeginAfter(CMTime time) const {
  if (ascends_) return skipEarlierOrEqual(begins_, 0, begins_.size(), time);
  const auto found = std::find_if(begins_.begin(), begins_.end(),
                                  [&](const CMTime& begin) { return isEarlier(time, begin); });
  return static_cast<std::size_t>(found - begins_.begin());
}

std::size_t SpanIndex::countEndingBefore(CMTime time, std::size_t count) const {
  return skipEarlier(ends_, 0, count, time);
}

BreakIndex::BreakIndex(const TarnLumoTimeline::AdSequences& adSequences) {
  firstAd_.reserve(adSequences.size() + 1);
  durationBefore_.push_back(kCMTimeZero);
  for (const auto& sequence : adSequences) {
    sequences_.add(sequence->beginTime(), sequence->endTime());
    firstAd_.push_back(ads_.size());
    for (const auto& ad : sequence->ads()) {
      ads_.add(ad->beginTime(), ad->endTime());
      durations_.push_back(ad->duration());
      durationBefore_.push_back(CMTimeAdd(durationBefore_.back(), ad->duration()));
    }
  }
  firstAd_.push_back(ads_.size());
  sequences_.close();
  ads_.close();
}

BreakIndex::Position BreakIndex::positionAt(CMTime time,
                                            const TarnLumoTimeline::AdSequences& adSequences) const {
  const std::size_t sequence = sequences_.firstHolding(time, 0, sequences_.size());
  if (sequence == sequences_.size()) return {};
  Position position{adSequences[sequence], nullptr};
  const std::size_t endOfAds = firstAd_[sequence + 1];
  const std::size_t ad = ads_.firstHolding(time, firstAd_[sequence], endOfAds);
  if (ad != endOfAds) position.ad = position.adSequence->ads()[ad - firstAd_[sequence]];
  return position;
}

CMTime BreakIndex::adTimeBefore(CMTime time) const {
  const std::size_t endOfAds = firstAd_[sequences_.countBeforeBeginAfter(time)];
  if (ads_.ascends()) return durationBefore_[ads_.countEndingBefore(time, endOfAds)];
  CMTime accumulated = kCMTimeZero;
  for (std::size_t ad = 0; ad < endOfAds; ++ad) {
    if (isEarlier(ads_.end(ad), time)) accumulated = CMTimeAdd(accumulated, durations_[ad]);
  }
  return accumulated;
}

}  // namespace tarn
