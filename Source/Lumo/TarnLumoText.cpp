#include "Lumo/TarnLumoText.h"

#include <algorithm>
#include <array>

namespace tarn {
namespace {

using namespace std::string_view_literals;

// The space separators of Unicode, and its line and paragraph separators, as UTF-8.
constexpr std::array kSpaces = {" "sv,      "\t"sv,     "\u00a0"sv, "\u1680"sv, "\u2000"sv, "\u2001"sv,
                                "\u2002"sv, "\u2003"sv, "\u2004"sv, "\u2005"sv, "\u2006"sv, "\u2007"sv,
                                "\u2008"sv, "\u2009"sv, "\u200a"sv, "\u202f"sv, "\u205f"sv, "\u3000"sv};
constexpr std::array kLineBreaks = {"\n"sv, "\v"sv, "\f"sv, "\r"sv, "\xc2\x85"sv, "\u2028"sv, "\u2029"sv};

constexpr auto startsWith = [](std::string_view text, std::string_view part) {
  return text.starts_with(part);
};
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

[[nodiscard]] bool isASCII(std::string_view bytes) {
  unsigned char all = 0;
  for (const char c : bytes) all = static_cast<unsigned char>(all | static_cast<unsigned char>(c));
  return all < 0x80;
}

/// The length of the valid multi-byte character that `bytes` begins with; 0 when there is none (RFC 3629 §4).
[[nodiscard]] std::size_t multiByteCharacter(std::string_view bytes) {
  const auto byte = [bytes](std::size_t i) {
    return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U;
  };
  const auto continues = [&](std::size_t i) { return (byte(i) & 0xc0U) == 0x80U; };
  const unsigned first = byte(0);
  const unsigned second = byte(1);
  if (first >= 0xc2 && first <= 0xdf) return continues(1) ? 2 : 0;
  if (first >= 0xe0 && first <= 0xef) {
    const bool overlong = first == 0xe0 && second < 0xa0;
    const bool surrogate = first == 0xed && second > 0x9f;
    return continues(1) && continues(2) && !overlong && !surrogate ? 3 : 0;
  }
  if (first >= 0xf0 && first <= 0xf4) {
    const bool outside = (first == 0xf0 && second < 0x90) || (first == 0xf4 && second > 0x8f);
    return continues(1) && continues(2) && continues(3) && !outside ? 4 : 0;
  }
  return 0;
}

/// The folded text, or as much of it as is longer than `limit` bytes.
[[nodiscard]] std::string foldedUpTo(std::string_view text, std::size_t limit) {
  text = trimmed(text);
  std::string folded;
  while (!text.empty() && folded.size() <= limit) {
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

}  // namespace

bool isUTF8(std::string_view bytes) {
  constexpr std::size_t kBlock = 64;
  while (!bytes.empty()) {
    if (isASCII(bytes.substr(0, kBlock))) {
      bytes.remove_prefix(std::min(kBlock, bytes.size()));
      continue;
    }
    while (static_cast<unsigned char>(bytes.front()) < 0x80) bytes.remove_prefix(1);
    const std::size_t size = multiByteCharacter(bytes);
    if (size == 0) return false;
    bytes.remove_prefix(size);
  }
  return true;
}

std::string repairedUTF8(std::string_view bytes) {
  std::string text;
  while (!bytes.empty()) {
    const auto first = static_cast<unsigned char>(bytes.front());
    const std::size_t size = first < 0x80 ? 1 : multiByteCharacter(bytes);
    if (size > 0) {
      text.append(bytes.substr(0, size));
    } else {
      text.push_back(static_cast<char>(0xc0U | (first >> 6U)));
      text.push_back(static_cast<char>(0x80U | (first & 0x3fU)));
    }
    bytes.remove_prefix(std::max(size, std::size_t{1}));
  }
  return text;
}

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
  return foldedUpTo(text, std::string_view::npos);
}

std::string clippedText(std::string_view text, std::size_t limit) {
  std::string folded = foldedUpTo(text, limit);
  if (folded.size() <= limit) return folded;
  while (limit > 0 && (static_cast<unsigned char>(folded[limit]) & 0xc0U) == 0x80U) --limit;
  return folded.substr(0, limit) + "…";
}

}  // namespace tarn
