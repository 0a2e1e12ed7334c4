#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Document/AdIndex.h"
#include "Host/TarnAd.h"
#include "Lumo/TarnLumoProgressTracker.h"
#include "Terminal/Json.h"

namespace tarn::cli {

/// "EnterAd" and so on; empty for an unknown type.
[[nodiscard]] std::string_view eventName(TarnLumoProgressTrackerEventType type);

/// The event's sequence, or the one that contains its ad.
[[nodiscard]] std::optional<std::size_t> sequenceIndex(const AdIndex& index,
                                                       const TarnLumoProgressTrackerEvent& event);

/// {"type", "ad", "adSequence", "progress", "break"}: the event's fields and its break, because one ad may
/// play in several breaks.
[[nodiscard]] Json eventJson(const TarnLumoProgressTrackerEvent& event, const AdIndex& index);

/// [[start, duration]], or null.
[[nodiscard]] Json rangesJson(const TarnLumoProgressTracker::TimeRanges& ranges);

/// The ad's readable name: its id, else its title. Printable; empty for null.
[[nodiscard]] std::string adName(const std::shared_ptr<const TarnLumoAd>& ad);
[[nodiscard]] std::string adName(const TarnAd& ad);

}  // namespace tarn::cli
