#pragma once

#include <optional>
#include <string>

#include "Document/DocumentSource.h"

namespace tarn::cli {

struct InspectOptions {
  SourceOptions source;
  bool json = false;
  std::optional<std::string> svg;  ///< The file to write the picture to.
};

/// Prints the timeline of a document. Returns the exit status.
[[nodiscard]] int runInspect(const InspectOptions& options);

}  // namespace tarn::cli
