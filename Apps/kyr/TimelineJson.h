#pragma once

#include "Json.h"
#include "Source.h"

namespace tarn::cli {

/// The object that `inspect --json` prints.
[[nodiscard]] Json timelineJson(const LoadedTimeline& loaded);

}  // namespace tarn::cli
