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
  double tick = 0.25;  ///< Between two reports of the playhead; positive.
  double seekLatency = 0;
  std::optional<double> itemDuration;  ///< The payload length without it.
};

/// Runs a session over a player in virtual time through a script. Answers the exit status.
[[nodiscard]] int runSimulate(const SimulateOptions& options);

}  // namespace tarn::cli
