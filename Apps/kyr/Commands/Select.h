#pragma once

#include <optional>
#include <string>

#include "Document/DocumentSource.h"

namespace tarn::cli {

struct SelectOptions {
  SourceOptions source;
  /// One of the two is set.
  std::optional<std::string> xpath;
  std::optional<std::string> css;
  bool explain = false;
  bool json = false;
};

/// Prints what an expression matches in a document. Answers the exit status.
[[nodiscard]] int runSelect(const SelectOptions& options);

}  // namespace tarn::cli
