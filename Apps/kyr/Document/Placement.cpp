#include "Document/Placement.h"

#include <algorithm>

namespace tarn::cli {

bool isPlaced(CMTime begin, CMTime end) {
  return CMTIME_IS_NUMERIC(begin) && CMTIME_IS_NUMERIC(end);
}

Span spanOf(const TarnLumoTimeline& timeline) {
  Span span;
  if (CMTIME_IS_NUMERIC(timeline.payloadLength())) {
    span.end = std::max(0.0, CMTimeGetSeconds(timeline.payloadLength()));
  }
  for (const auto& sequence : timeline.adSequences()) {
    if (!isPlaced(sequence->beginTime(), sequence->endTime())) continue;
    const double begin = CMTimeGetSeconds(sequence->beginTime());
    const double end = CMTimeGetSeconds(sequence->endTime());
    span.begin = std::min({span.begin, begin, end});
    span.end = std::max({span.end, begin, end});
  }
  return span;
}

double contentSeconds(const TarnLumoTimeline& timeline) {
  double sum = 0;
  for (const auto& segment : timeline.contentSegments()) {
    if (CMTIME_IS_NUMERIC(segment.duration())) sum += CMTimeGetSeconds(segment.duration());
  }
  return sum;
}

}  // namespace tarn::cli
