#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tarn {

/// Reads dates of one fixed pattern (Unicode LDML) in the locale "en_US_POSIX". Immutable, any thread.
class DateFormatter {
 public:
  explicit DateFormatter(const std::string& pattern);
  ~DateFormatter();

  /// Absent unless the whole text matches the pattern.
  [[nodiscard]] std::optional<std::chrono::system_clock::time_point> dateFromString(
      std::string_view text) const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tarn
