#pragma once

#include "Document/DocumentSource.h"
#include "Terminal/Json.h"

namespace tarn::cli {

/// The object that `inspect --json` prints.
[[nodiscard]] Json timelineJson(const LoadedTimeline& loaded);

}  // namespace tarn::cli
