#pragma once

#include <memory>
#include <vector>

#include "Host/TarnAd.h"
#include "Lumo/TarnLumoAd.h"
#include "Platform/Dictionary.h"
#include "Platform/MediaTime.h"

namespace tarn {

/// The parsed ad in a host ad's properties; null when there is none, and for null.
[[nodiscard]] std::shared_ptr<const TarnLumoAd> lumoAd(const std::shared_ptr<const TarnAd>& ad);

/// Key of the time from the start of the break to the ad of the same entry: `CMTime`.
inline constexpr const char* kAdBreakDurationsKeyAccumulated = "kAccumatedDuration";

/// One entry for each parsed ad of the break in order, with the ad and the time before it, and a last entry
/// with only the total time.
using AdBreakDurations = std::vector<Dictionary>;

/// Null makes the table of a break without ads.
[[nodiscard]] AdBreakDurations adBreakDurations(const std::shared_ptr<const TarnAdSequence>& adSequence);

/// The remaining time of the break at that in-ad time of that ad. An ad that is not in the table, and null,
/// count as the first.
[[nodiscard]] CMTime remainingTime(const AdBreakDurations& durations,
                                   const std::shared_ptr<const TarnLumoAd>& ad, CMTime inAdTime);

}  // namespace tarn
