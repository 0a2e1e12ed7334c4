#include "Terminal/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "Platform/Text.h"

namespace tarn::cli {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isBlank(char32_t c) {
  return c == '\t' || c == '\n' || c == '\r' || c == 0x2028 || c == 0x2029;
}

bool isControl(char32_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0);
}

bool isBidirectionalMark(char32_t c) {
  return c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

struct Interval {
  char32_t first;
  char32_t last;
};

/// Blocks that terminals draw two columns wide (Unicode Standard Annex 11, simplified).
constexpr std::array kWide{Interval{0x1100, 0x115F}, Interval{0x2E80, 0xA4CF},   Interval{0xAC00, 0xD7A3},
                           Interval{0xF900, 0xFAFF}, Interval{0xFE30, 0xFE6F},   Interval{0xFF00, 0xFF60},
                           Interval{0xFFE0, 0xFFE6}, Interval{0x1F300, 0x1FAFF}, Interval{0x20000, 0x3FFFD}};
/// Marks that combine with the previous character.
constexpr std::array kCombining{Interval{0x0300, 0x036F}, Interval{0x1AB0, 0x1AFF}, Interval{0x200B, 0x200D},
                                Interval{0x20D0, 0x20FF}, Interval{0xFE00, 0xFE0F}};

std::size_t columnsOf(char32_t c) {
  const auto holds = [c](const Interval& interval) { return c >= interval.first && c <= interval.last; };
  if (std::any_of(kCombining.begin(), kCombining.end(), holds)) return 0;
  return std::any_of(kWide.begin(), kWide.end(), holds) ? 2 : 1;
}

}  // namespace

std::string printable(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const char32_t c = nextCodePoint(text, i);
    if (isBlank(c)) {
      result.push_back(' ');
    } else {
      appendCodePoint(result, isControl(c) || isBidirectionalMark(c) ? kReplacement : c);
    }
  }
  return result;
}

std::size_t columns(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < text.size();) count += columnsOf(nextCodePoint(text, i));
  return count;
}

std::string clipped(std::string_view text, std::size_t width) {
  if (columns(text) <= width) return std::string(text);
  if (width == 0) return {};
  std::size_t end = 0;
  for (std::size_t next = 0, taken = 1; next < text.size(); end = next) {
    taken += columnsOf(nextCodePoint(text, next));
    if (taken > width) break;
  }
  return std::string(text.substr(0, end)) + "…";
}

std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

std::string counted(std::size_t count, std::string_view singular, std::string_view plural) {
  if (count == 1) return fmt::format("1 {}", singular);
  return plural.empty() ? fmt::format("{} {}s", count, singular) : fmt::format("{} {}", count, plural);
}

void print(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

std::string_view specialTimeWord(CMTime time) {
  if (CMTIME_IS_INVALID(time)) return "invalid";
  if (CMTIME_IS_INDEFINITE(time)) return "indefinite";
  if (CMTIME_IS_POSITIVE_INFINITY(time)) return "+infinity";
  if (CMTIME_IS_NEGATIVE_INFINITY(time)) return "-infinity";
  return {};
}

std::string clockText(CMTime time) {
  if (const auto word = specialTimeWord(time); !word.empty()) return std::string(word);
  constexpr double kPlainFrom = 1000.0 * 3600.0;
  const double seconds = CMTimeGetSeconds(time);
  if (std::abs(seconds) >= kPlainFrom) return fmt::format("{} s", seconds);
  const auto milliseconds = static_cast<std::int64_t>(std::llround(std::abs(seconds) * 1000.0));
  return fmt::format("{}{}:{:02}:{:02}.{:03}", seconds < 0 && milliseconds > 0 ? "-" : "",
                     milliseconds / 3'600'000, milliseconds / 60'000 % 60, milliseconds / 1000 % 60,
                     milliseconds % 1000);
}

std::string secondsText(CMTime time) {
  if (const auto word = specialTimeWord(time); !word.empty()) return std::string(word);
  return fmt::format("{} s", std::round(CMTimeGetSeconds(time) * 1000.0) / 1000.0);
}

}  // namespace tarn::cli
