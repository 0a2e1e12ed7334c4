#pragma once

#include <optional>
#include <string>

#include "Document/DocumentSource.h"

namespace tarn::cli {

struct SimulateOptions {
  SourceOptions source;
  std::optional<std::string> script;
  bool json = false;
  // Seconds of virtual time.
  double tick = 0.25;  ///< The interval of the playhead reports; positive.
  double seekLatency = 0;
  std::optional<double> itemDuration;  ///< Absent: the payload length.
};

/// Runs a session over a player in virtual time through a script. Returns the exit status.
[[nodiscard]] int runSimulate(const SimulateOptions& options);

}  // namespace tarn::cli
