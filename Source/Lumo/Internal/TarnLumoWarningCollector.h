#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Lumo/TarnLumoWarning.h"

namespace tarn {

/// Collects the warnings of one document. Keeps the first 1,000, so that a hostile document cannot fill the
/// memory with them. Used by one thread at a time.
class WarningCollector {
 public:
  /// `message` is one sentence. A line that the parser cannot count to (from 65,535 on) is left out.
  void add(std::optional<std::int64_t> line, std::string message);

  /// In document order, those without a line last; then, if any were dropped, one that says how many.
  [[nodiscard]] std::vector<TarnLumoWarning> take();

 private:
  std::vector<TarnLumoWarning> warnings_;
  std::size_t dropped_ = 0;
};

/// `text` as a message quotes it: folded to one line, clipped, between typographic quotes.
[[nodiscard]] std::string quoted(std::string_view text);

}  // namespace tarn
