#pragma once

#include <string>

#include "Document/DocumentSource.h"
#include "Terminal/Terminal.h"

namespace tarn::cli {

/// The text that `inspect` prints: the facts, the stream as a bar, tables, and the warnings last.
[[nodiscard]] std::string inspectText(const LoadedTimeline& loaded, const std::string& source,
                                      const Terminal& terminal);

}  // namespace tarn::cli
