#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tarn {

/// Reads dates of one fixed pattern (Unicode LDML) in the locale "en_US_POSIX", in GMT if the text names no
/// zone. Immutable, any thread.
class DateFormatter {
 public:
  /// A pattern that ICU rejects is a programming error.
  explicit DateFormatter(const std::string& pattern);
  ~DateFormatter();

  /// Absent unless the whole text matches the pattern, and for dates outside the clock's range.
  [[nodiscard]] std::optional<std::chrono::system_clock::time_point> dateFromString(
      std::string_view text) const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tarn
