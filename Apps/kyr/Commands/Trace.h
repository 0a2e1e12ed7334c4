#pragma once

#include <optional>
#include <string>

#include "Document/DocumentSource.h"

namespace tarn::cli {

struct TraceOptions {
  SourceOptions source;
  std::optional<std::string> input;  ///< Standard input without one.
  bool json = false;
};

/// Feeds a log of player times through the tracker and the analytics and prints what they do, beacons
/// included, which are not sent. Answers the exit status.
[[nodiscard]] int runTrace(const TraceOptions& options);

}  // namespace tarn::cli
