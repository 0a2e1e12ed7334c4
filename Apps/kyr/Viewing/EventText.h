#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Document/AdIndex.h"
#include "Host/TarnAd.h"
#include "Lumo/TarnLumoProgressTracker.h"
#include "Terminal/Json.h"

namespace tarn::cli {

/// "EnterAd" and so on; empty for a type that there is not.
[[nodiscard]] std::string_view eventName(TarnLumoProgressTrackerEventType type);

/// The sequence that an event is about: its own, or the one that holds its ad.
[[nodiscard]] std::optional<std::size_t> sequenceIndex(const AdIndex& index,
                                                       const TarnLumoProgressTrackerEvent& event);

/// {"type", "ad", "adSequence", "progress", "break"}: what the event carries, and which break it belongs to,
/// since one ad may play in several.
[[nodiscard]] Json eventJson(const TarnLumoProgressTrackerEvent& event, const AdIndex& index);

/// [[start, duration]], or null.
[[nodiscard]] Json rangesJson(const TarnLumoProgressTracker::TimeRanges& ranges);

/// What people read of an ad: its id, else its title. Printable; empty for null.
[[nodiscard]] std::string adName(const std::shared_ptr<const TarnLumoAd>& ad);
[[nodiscard]] std::string adName(const TarnAd& ad);

}  // namespace tarn::cli
