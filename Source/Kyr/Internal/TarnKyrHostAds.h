#pragma once

#include <functional>
#include <memory>

#include "Host/TarnAd.h"
#include "Lumo/TarnLumoAd.h"
#include "Lumo/TarnLumoAdSequence.h"

namespace tarn {

/// Run when the viewer skips that ad.
using SkipAd = std::function<void(const std::shared_ptr<const TarnLumoAd>& ad)>;

/// The ad as the host's controls know it: the parsed ad and its extensions in the properties, and in the
/// private properties click URLs, skip time and skip handler. Null for null.
[[nodiscard]] std::shared_ptr<const TarnAd> hostAd(const std::shared_ptr<const TarnLumoAd>& ad,
                                                   const SkipAd& skip);

/// Null for null.
[[nodiscard]] std::shared_ptr<const TarnAdSequence> hostAdSequence(
    const std::shared_ptr<const TarnLumoAdSequence>& adSequence, const SkipAd& skip);

}  // namespace tarn
