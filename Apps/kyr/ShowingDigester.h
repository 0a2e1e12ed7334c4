#pragma once

#include <functional>
#include <memory>

#include "Lumo/TarnLumoAnalyticsDigester.h"

namespace tarn::cli {

enum class Beacons { shown, shownAndSent };

/// A digester that calls `show` with each beacon, before it is sent if it is.
[[nodiscard]] std::shared_ptr<TarnLumoAnalyticsDigester> makeShowingDigester(
    Beacons beacons, std::function<void(const URL&)> show);

}  // namespace tarn::cli
