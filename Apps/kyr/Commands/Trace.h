#pragma once

#include <optional>
#include <string>

#include "Document/DocumentSource.h"

namespace tarn::cli {

struct TraceOptions {
  SourceOptions source;
  std::optional<std::string> input;  ///< Absent: standard input.
  bool json = false;
};

/// Feeds a log of player times through the tracker and the analytics and prints their events and beacons; no
/// beacon is sent. Returns the exit status.
[[nodiscard]] int runTrace(const TraceOptions& options);

}  // namespace tarn::cli
