#include "Lumo/TarnLumoText.h"

#include <algorithm>
#include <array>

namespace tarn {
namespace {

using namespace std::string_view_literals;

// The space separators of Unicode, and its line and paragraph separators, as UTF-8.
constexpr std::array kSpaces = {" "sv,           "\t"sv,          "\u00a0"sv, "\u1680"sv, "\u2000"sv,
                                "\u2001"sv,      "\u2002"sv,      "\u2003"sv, "\u2004"sv, "\u2005"sv,
                                "\u2006"sv,      "\u2007"sv,      "\u2008"sv, "\u2009"sv, "\u200a"sv,
                                "\u202f"sv,      "\u205f"sv,      "\u3000"sv};
constexpr std::array kLineBreaks = {"\n"sv, "\v"sv, "\f"sv, "\r"sv, "\xc2\x85"sv, "\u2028"sv, "\u2029"sv};

constexpr auto startsWith = [](std::string_view text, std::string_view part) { return text.starts_with(part); };
constexpr auto endsWith = [](std::string_view text, std::string_view part) { return text.ends_with(part); };

[[nodiscard]] std::size_t sizeOf(const auto& characters, std::string_view text, const auto& holds) {
  const auto found = std::find_if(characters.begin(), characters.end(),
                                  [&](std::string_view character) { return holds(text, character); });
  return found == characters.end() ? 0 : found->size();
}

/// Plain text, the usual case, begins and ends with an ASCII character above the space.
[[nodiscard]] bool isPlain(char c) {
  return c > ' ' && c < '\x7f';
}

[[nodiscard]] std::size_t leadingBlank(std::string_view text) {
  if (text.empty() || isPlain(text.front())) return 0;
  return std::max(sizeOf(kSpaces, text, startsWith), sizeOf(kLineBreaks, text, startsWith));
}

[[nodiscard]] std::size_t trailingBlank(std::string_view text) {
  if (text.empty() || isPlain(text.back())) return 0;
  return std::max(sizeOf(kSpaces, text, endsWith), sizeOf(kLineBreaks, text, endsWith));
}

}  // namespace

std::string_view trimmed(std::string_view text) {
  while (const std::size_t size = leadingBlank(text)) text.remove_prefix(size);
  while (const std::size_t size = trailingBlank(text)) text.remove_suffix(size);
  return text;
}

std::string_view trimmedOfSpaces(std::string_view text) {
  while (const std::size_t size = leadingSpace(text)) text.remove_prefix(size);
  while (const std::size_t size = sizeOf(kSpaces, text, endsWith)) text.remove_suffix(size);
  return text;
}

std::size_t leadingSpace(std::string_view text) {
  if (text.empty() || isPlain(text.front())) return 0;
  return sizeOf(kSpaces, text, startsWith);
}

std::string foldedText(std::string_view text) {
  text = trimmed(text);
  std::string folded;
  while (!text.empty()) {
    std::size_t blank = leadingBlank(text);
    if (blank == 0) {
      folded.push_back(text.front());
      text.remove_prefix(1);
      continue;
    }
    folded.push_back(' ');
    while ((blank = leadingBlank(text)) != 0) text.remove_prefix(blank);
  }
  return folded;
}

std::string clippedText(std::string_view text, std::size_t limit) {
  // A run of white space folds to one character, so a few times the limit is enough to look at.
  std::string folded = foldedText(text.substr(0, 16 * limit));
  if (folded.size() <= limit) return folded;
  while (limit > 0 && (static_cast<unsigned char>(folded[limit]) & 0xc0U) == 0x80U) --limit;
  return folded.substr(0, limit) + "…";
}

}  // namespace tarn
