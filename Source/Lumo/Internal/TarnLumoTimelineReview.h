#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "Lumo/Internal/TarnLumoAdSequencesBuilder.h"
#include "Lumo/Internal/TarnLumoWarningCollector.h"
#include "Lumo/TarnLumoTimeline.h"
#include "Platform/MediaTime.h"

namespace tarn {

/// The line of the first break at each offset.
using BreakLines = std::map<CMTime, std::optional<std::int64_t>, TarnLumoAdSequencesBuilder::ByIdentity>;

/// Warns of oddities of a whole stream: sequences that overlap, share a place or are outside the
/// payload, lengths that do not add up, impressions that are never reached. `offsets` are the sequences' own,
/// in order.
void reviewTimeline(const TarnLumoTimeline& timeline, const std::vector<CMTime>& offsets,
                    const BreakLines& lines, WarningCollector& warnings);

/// A time for a message: "12.5 s", "end", "an invalid time".
[[nodiscard]] std::string spokenTime(const CMTime& time);

}  // namespace tarn
