#pragma once

#include <memory>
#include <optional>
#include <string_view>

namespace tarn {

/// Reads numbers written for the locale "en_US", independent of the device's locale.
///
/// The whole text must be the number; the result is absent if there is other text, white space included, for
/// infinity and not-a-number, and beyond 512 bytes. An exponent ("1E3") is part of a number, and digits may
/// be of any script. Immutable, any thread.
class NumberFormatter {
 public:
  enum class Style {
    plain,    ///< Digits, one decimal point, a leading minus: "1200", "7.5", ".5". No grouping.
    decimal,  ///< As plain, with grouping commas: "1,200.5".
    percent,  ///< A decimal number with a percent sign: "25%" reads as 0.25. The sign is required.
  };

  /// The shared formatter of a style, made on first use.
  static const NumberFormatter& shared(Style style);

  [[nodiscard]] std::optional<double> numberFromString(std::string_view text) const;

  ~NumberFormatter();

 private:
  explicit NumberFormatter(Style style);
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tarn
