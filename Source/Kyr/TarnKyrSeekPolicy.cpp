#include "Kyr/TarnKyrSeekPolicy.h"

#include "Kyr/TarnKyrConstants.h"
#include "Lumo/TarnLumoCommon.h"

namespace tarn {
namespace {

bool isBefore(CMTime a, CMTime b) {
  return a < b;
}

/// The last break that ends between `current` and `target`. Only that one is forced, however many are passed,
/// so that a viewer who seeks far watches one break. A break that contains the target is not passed: the seek
/// lands in it. Whether a break was watched before makes no difference.
std::shared_ptr<const TarnLumoAdSequence> lastPassedAdSequence(const TarnLumoTimeline& timeline,
                                                               CMTime current, CMTime target) {
  std::shared_ptr<const TarnLumoAdSequence> last;
  for (const auto& adSequence : timeline.adSequences()) {
    if (isBefore(target, adSequence->beginTime())) break;
    if (isBefore(current, adSequence->endTime()) && isBefore(adSequence->endTime(), target))
      last = adSequence;
  }
  return last;
}

/// A seek to the content's end or past it asks for the post-roll. `requested` decides, because the target is
/// cut to the content's length.
bool asksForPostRoll(const TarnLumoTimeline& timeline, CMTime requested) {
  const auto& adSequences = timeline.adSequences();
  return !adSequences.empty() && CMTIME_IS_POSITIVE_INFINITY(adSequences.back()->logicalOffset()) &&
         !isBefore(requested, timeline.contentLength());
}

}  // namespace

CMTime timeBySeekOffset(CMTime time) {
  return CMTimeAdd(time, CMTimeMakeWithSeconds(kTarnKyrSeekOffset, tarn::kDocumentTimescale));
}

TarnKyrSeekTolerance seekTolerances(const TarnLumoTimeline& timeline, CMTime target, CMTime wide,
                                    CMTime buffer) {
  TarnKyrSeekTolerance tolerance{wide, wide};
  for (const auto& adSequence : timeline.adSequences()) {
    if (isBefore(adSequence->endTime(), target)) {
      if (!isBefore(buffer, CMTimeSubtract(target, adSequence->endTime())))
        tolerance.beforeTolerance = kCMTimeZero;
      continue;
    }
    // Also when the target is inside the break: the difference is negative then.
    if (!isBefore(buffer, CMTimeSubtract(adSequence->beginTime(), target)))
      tolerance.afterTolerance = kCMTimeZero;
    break;
  }
  return tolerance;
}

ForwardSeek planForwardSeek(const TarnLumoTimeline& timeline, CMTime current, CMTime absoluteTarget,
                            CMTime requested) {
  if (asksForPostRoll(timeline, requested)) {
    return {timeline.absoluteTimeAtContentTime(timeline.contentLength()), timeline.adSequences().back()};
  }
  return {absoluteTarget, lastPassedAdSequence(timeline, current, absoluteTarget)};
}

}  // namespace tarn
