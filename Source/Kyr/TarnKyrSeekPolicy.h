#pragma once

#include <memory>
#include <optional>

#include "Lumo/TarnLumoTimeline.h"
#include "Platform/MediaTime.h"

/// How far from its target a seek may land.
struct TarnKyrSeekTolerance {
  CMTime beforeTolerance;
  CMTime afterTolerance;
};

namespace tarn {

/// The ad policy. Pure functions of a timeline; any thread.

/// `time` plus `kTarnKyrSeekOffset`.
[[nodiscard]] CMTime timeBySeekOffset(CMTime time);

/// The tolerances, absolute time, of a seek to `target`: `wide` on both sides, but none towards a break that
/// ends at most `buffer` before the target, or begins at most `buffer` after it, so that a loose seek never
/// lands in an ad.
[[nodiscard]] TarnKyrSeekTolerance seekTolerances(const TarnLumoTimeline& timeline, CMTime target,
                                                  CMTime wide, CMTime buffer);

/// The plan of a forward seek.
struct ForwardSeek {
  CMTime absoluteTarget;
  /// The break to play before the seek to the target; null for none.
  std::shared_ptr<const TarnLumoAdSequence> forcedAdSequence;
};

/// `current` and `absoluteTarget` in absolute time, `requested` in content time as the application asked for
/// it.
[[nodiscard]] ForwardSeek planForwardSeek(const TarnLumoTimeline& timeline, CMTime current,
                                          CMTime absoluteTarget, CMTime requested);

}  // namespace tarn
