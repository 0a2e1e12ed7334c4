#pragma once

#include <optional>
#include <string>

#include "Document/DocumentSource.h"

namespace tarn::cli {

struct InspectOptions {
  SourceOptions source;
  bool json = false;
  std::optional<std::string> svg;  ///< Where to write the picture.
};

/// Prints the timeline of a document. Answers the exit status.
[[nodiscard]] int runInspect(const InspectOptions& options);

}  // namespace tarn::cli
