#include "Lumo/TarnLumoContentAnalyticsSession.h"

#include <algorithm>
#include <utility>

#include "Lumo/TarnLumoCommon.h"

namespace {

TarnLumoTimeline::ContentImpressions sortedByLogicalTime(TarnLumoTimeline::ContentImpressions impressions) {
  std::stable_sort(impressions.begin(), impressions.end(),
                   [](const auto& a, const auto& b) { return a->logicalTime() < b->logicalTime(); });
  return impressions;
}

}  // namespace

TarnLumoContentAnalyticsSession::TarnLumoContentAnalyticsSession(
    const std::shared_ptr<const TarnLumoTimeline>& timeline,
    std::shared_ptr<TarnLumoAnalyticsDigester> digester)
    : digester_(std::move(digester)),
      prevTime_(kCMTimeZero),
      seekThreshold_(CMTimeMakeWithSeconds(1.5, tarn::kDocumentTimescale)) {
  if (!timeline) return;
  for (const auto& impression : sortedByLogicalTime(timeline->contentImpressions())) {
    orderedContentImpressions_.push_back(
        {timeline->absoluteTimeAtContentTime(impression->logicalTime()), impression->url()});
  }
  positionsAscend_ = std::is_sorted(orderedContentImpressions_.begin(), orderedContentImpressions_.end(),
                                    [](const Placed& a, const Placed& b) { return a.position < b.position; });
}

void TarnLumoContentAnalyticsSession::trackProgressToTime(CMTime time) {
  const CMTime previous = std::exchange(prevTime_, time);
  if (seekThreshold_ < CMTimeSubtract(time, previous)) return;

  auto impression = orderedContentImpressions_.begin();
  if (positionsAscend_) {  // Impressions at or before the previous time are not due.
    impression = std::partition_point(impression, orderedContentImpressions_.end(),
                                      [&](const Placed& placed) { return previous >= placed.position; });
  }
  const auto self = liveness_.watch();
  for (; impression != orderedContentImpressions_.end(); ++impression) {
    if (time < impression->position) return;
    if (previous >= impression->position) continue;
    const auto url = impression->url;
    digester_->digestEvent(url);
    if (!self.isAlive()) return;
  }
}
