#include <gtest/gtest.h>
#include <unicode/decimfmt.h>

#include <chrono>
#include <cmath>
#include <iterator>
#include <random>
#include <sstream>
#include <thread>

#include "Platform/DateFormatter.h"
#include "Platform/NumberFormatter.h"

using namespace tarn;
using Style = NumberFormatter::Style;

namespace {

constexpr std::optional<double> kNone;

std::vector<std::string> words(const char* text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

void expectNumber(const std::string& text, std::optional<double> plain = kNone,
                  std::optional<double> decimal = kNone, std::optional<double> percent = kNone) {
  SCOPED_TRACE(text.substr(0, 40));
  EXPECT_EQ(NumberFormatter::shared(Style::plain).numberFromString(text), plain);
  EXPECT_EQ(NumberFormatter::shared(Style::decimal).numberFromString(text), decimal);
  EXPECT_EQ(NumberFormatter::shared(Style::percent).numberFromString(text), percent);
}

/// ICU's result, without the direct path for short decimals.
class BareICU {
 public:
  BareICU() { format_.setLenient(false); }

  std::optional<double> read(const std::string& text) const {
    const auto utf16 = icu::UnicodeString::fromUTF8(text);
    icu::ParsePosition position;
    icu::Formattable number;
    format_.parse(utf16, number, position);
    if (position.getErrorIndex() >= 0 || position.getIndex() != utf16.length() || text.empty()) return kNone;
    UErrorCode status = U_ZERO_ERROR;
    return number.getDouble(status);
  }

 private:
  UErrorCode status_ = U_ZERO_ERROR;
  icu::DecimalFormat format_{"0", icu::DecimalFormatSymbols(icu::Locale("en", "US"), status_), status_};
};

}  // namespace

TEST(FormatterTest, ReadsANumberOnlyIfTheWholeTextIsOneOfItsStyle) {
  for (const auto& text :
       words("05 5.500 .5 5. -3 -.25 1E3 1e3 0.1234567890123456789 99999999999999999999")) {
    expectNumber(text, std::stod(text), std::stod(text));
  }
  expectNumber("٥", 5, 5);  // Arabic-Indic
  expectNumber(std::string(512, '0'), 0, 0);
  expectNumber("1,200.5", kNone, 1200.5);
  expectNumber("25%", kNone, kNone, .25);
  expectNumber("-5%", kNone, kNone, -.05);
  expectNumber("1,200%", kNone, kNone, 12);
  for (const auto& text :
       words("1,2 1,,200 %25 25%% % . - 1.2.3 abc 5s +5 --5 0x10 NaN ∞ 1E400 1E99999999999 \xff")) {
    expectNumber(text);
  }
  for (const char* text : {"", "5 ", " 5", "25 %"}) expectNumber(text);
  expectNumber(std::string("5\0", 2));
  expectNumber(std::string(10'000'000, '9'));
}

TEST(FormatterTest, ReadsShortDecimalsExactlyAsICUDoes) {
  const BareICU icuAlone;
  std::mt19937 engine(600);
  for (int i = 0; i < 20'000; ++i) {
    std::string text;
    const auto length = engine() % 18;
    for (unsigned j = 0; j < length; ++j)
      text += (j == 0 ? "-.0123456789" : ".01234567890123456789")[engine() % 12];
    const auto expected = icuAlone.read(text);
    const auto number = NumberFormatter::shared(Style::plain).numberFromString(text);
    ASSERT_EQ(number, expected) << text;
    ASSERT_EQ(std::signbit(number.value_or(0)), std::signbit(expected.value_or(0))) << text;
  }
}

TEST(FormatterTest, ReadsNumbersOnManyThreads) {
  std::vector<std::jthread> threads(4);
  for (auto& thread : threads) {
    thread = std::jthread([] {
      for (int i = 0; i < 200; ++i)
        EXPECT_EQ(NumberFormatter::shared(Style::decimal).numberFromString("1,200.5"), 1200.5);
    });
  }
}

TEST(FormatterTest, ReadsADateOnlyIfTheWholeTextMatchesThePattern) {
  using std::chrono::seconds;
  const DateFormatter formatter("yyyy-MM-dd'T'HH:mm:ssZ");
  const auto secondsOf = [&](std::string_view text) -> std::optional<seconds> {
    const auto date = formatter.dateFromString(text);
    return date ? std::optional(std::chrono::floor<seconds>(date->time_since_epoch())) : std::nullopt;
  };
  EXPECT_EQ(secondsOf("2024-02-29T12:00:00+0200"), seconds(1709200800));
  EXPECT_EQ(secondsOf("1969-12-31T23:59:59+0000"), seconds(-1));
  for (const auto* text : {"", "2024-02-29", "2024-02-30T12:00:00+0000", "2024-02-29T25:00:00+0000",
                           "2024-02-29T12:00:00+0000 ", "29 Feb 2024", "99999-01-01T00:00:00+0000", "\xff"}) {
    EXPECT_EQ(secondsOf(text), std::nullopt) << text;
  }
}
