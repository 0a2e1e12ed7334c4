#pragma once

#include <optional>
#include <string>

#include "Document/DocumentSource.h"

namespace tarn::cli {

struct SelectOptions {
  SourceOptions source;
  /// Exactly one of the two is set.
  std::optional<std::string> xpath;
  std::optional<std::string> css;
  bool explain = false;
  bool json = false;
};

/// Prints the matches of an expression in a document. Returns the exit status.
[[nodiscard]] int runSelect(const SelectOptions& options);

}  // namespace tarn::cli
