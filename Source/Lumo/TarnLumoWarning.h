#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// Something that a document's author would want to know although the document was read: one sentence, and
/// the line that it refers to (absent when it refers to none in particular).
struct TarnLumoWarning {
  std::optional<std::int64_t> line;
  std::string message;

  friend bool operator==(const TarnLumoWarning&, const TarnLumoWarning&) = default;
};
