#include "Platform/NumberFormatter.h"

#include <unicode/dcfmtsym.h>
#include <unicode/decimfmt.h>

#include <algorithm>
#include <charconv>
#include <cmath>

#include "Platform/ProgrammingError.h"

namespace tarn {
namespace {

/// ICU's time grows with the square of the digits; no meaningful number is longer.
constexpr std::size_t kMaxTextLength = 512;

const char* patternOf(NumberFormatter::Style style) {
  switch (style) {
    case NumberFormatter::Style::plain:
      return "0";
    case NumberFormatter::Style::decimal:
      return "#,##0.###";
    case NumberFormatter::Style::percent:
      return "#,##0%";
  }
  return "0";
}

/// Whether `text` is a plain decimal of so few digits that it can be read without ICU: an optional minus,
/// ASCII digits, at most one point.
bool isShortDecimal(std::string_view text) {
  constexpr std::size_t kMaxDigits = 15;
  if (!text.empty() && text.front() == '-') text.remove_prefix(1);
  std::size_t digits = 0;
  std::size_t points = 0;
  for (const char c : text) {
    if (c >= '0' && c <= '9') {
      ++digits;
    } else if (c == '.') {
      ++points;
    } else {
      return false;
    }
    if (digits > kMaxDigits || points > 1) return false;
  }
  return digits > 0;
}

/// In ASCII there is one percent sign, at the end of the number; ICU reads those of other scripts.
bool lacksPercentSign(std::string_view text) {
  const auto isASCII = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  return text.back() != '%' && std::all_of(text.begin(), text.end(), isASCII);
}

std::optional<double> readShortDecimal(std::string_view text) {
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

}  // namespace

struct NumberFormatter::Impl {
  Style style;
  std::unique_ptr<const icu::DecimalFormat> format;
};

NumberFormatter::NumberFormatter(Style style) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::DecimalFormatSymbols symbols(icu::Locale("en", "US"), status);
  auto format = std::make_unique<icu::DecimalFormat>(patternOf(style), symbols, status);
  if (U_FAILURE(status)) {
    failProgramming(std::string("ICU has no number format for en_US (") + u_errorName(status) +
                    "); install its data");
  }
  format->setLenient(false);
  // ICU creates a format's parser at the first use: now, before threads share the format.
  icu::Formattable parsed;
  icu::ParsePosition position;
  format->parse("0", parsed, position);
  impl_ = std::make_unique<Impl>(Impl{style, std::move(format)});
}

NumberFormatter::~NumberFormatter() = default;

/// Never destroyed: a document may be read on the thread pool while the process ends.
const NumberFormatter& NumberFormatter::shared(Style style) {
  static const NumberFormatter& plain = *new NumberFormatter(Style::plain);
  static const NumberFormatter& decimal = *new NumberFormatter(Style::decimal);
  static const NumberFormatter& percent = *new NumberFormatter(Style::percent);
  if (style == Style::percent) return percent;
  return style == Style::decimal ? decimal : plain;
}

std::optional<double> NumberFormatter::numberFromString(std::string_view text) const {
  if (text.empty() || text.size() > kMaxTextLength) return std::nullopt;
  if (impl_->style == Style::percent && lacksPercentSign(text)) return std::nullopt;
  if (isShortDecimal(text)) return readShortDecimal(text);

  const auto utf16 = icu::UnicodeString::fromUTF8({text.data(), static_cast<int32_t>(text.size())});
  icu::ParsePosition position;
  icu::Formattable parsed;
  impl_->format->parse(utf16, parsed, position);
  if (position.getErrorIndex() >= 0 || position.getIndex() != utf16.length()) return std::nullopt;

  UErrorCode status = U_ZERO_ERROR;
  const double number = parsed.getDouble(status);
  if (U_FAILURE(status) || !std::isfinite(number)) return std::nullopt;
  return number;
}

}  // namespace tarn
