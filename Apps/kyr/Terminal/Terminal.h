#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tarn::cli {

enum class Style { plain, strong, faint, content, ad, warning };

/// The capabilities of standard output.
struct Terminal {
  bool colours = false;
  std::size_t width = 120;  ///< Columns.

  /// Colours and the true width on a terminal (NO_COLOR and TERM=dumb respected), neither in a file or a
  /// pipe.
  [[nodiscard]] static Terminal ofStandardOutput();

  [[nodiscard]] std::string styled(std::string_view text, Style style) const;
};

}  // namespace tarn::cli
