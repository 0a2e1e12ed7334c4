#include "Platform/Text.h"

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

/// Text without white space at its ends, the usual case: it begins and ends with an ASCII character above the
/// space.
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

/// The folded text; of a longer one only the beginning, longer than `limit` bytes.
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

bool isASCII(std::string_view bytes) {
  unsigned char all = 0;
  for (const char c : bytes) all = static_cast<unsigned char>(all | static_cast<unsigned char>(c));
  return all < 0x80;
}

bool isASCIIDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isASCIIHexDigit(char c) {
  return isASCIIDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool isASCIILetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

char asciiLowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string asciiLowerCase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = asciiLowerCase(c);
  return lower;
}

bool equalsIgnoringASCIICase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return asciiLowerCase(x) == asciiLowerCase(y); });
}

std::string_view trimmedOf(std::string_view text, std::string_view characters) {
  const auto first = text.find_first_not_of(characters);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(characters) - first + 1);
}

bool isHTTPToken(std::string_view text) {
  constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";
  return !text.empty() && std::all_of(text.begin(), text.end(), [kMarks](char c) {
    return isASCIILetter(c) || isASCIIDigit(c) || kMarks.find(c) != std::string_view::npos;
  });
}

bool isHTTPFieldValue(std::string_view text) {
  return std::none_of(text.begin(), text.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x20U && c != '\t') || byte == 0x7FU;
  });
}

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
      appendCodePoint(text, first);
    }
    bytes.remove_prefix(std::max(size, std::size_t{1}));
  }
  return text;
}

char32_t nextCodePoint(std::string_view text, std::size_t& position) {
  constexpr char32_t kReplacement = 0xFFFD;
  const auto byte = [&](std::size_t i) { return char32_t{static_cast<unsigned char>(text[position + i])}; };
  const char32_t first = byte(0);
  const std::size_t size = first < 0x80 ? 1 : multiByteCharacter(text.substr(position));
  const auto codePoint = [&]() -> char32_t {
    const auto bits = [&](std::size_t i) { return byte(i) & 0x3FU; };
    if (size == 0) return kReplacement;
    if (size == 1) return first;
    if (size == 2) return (first & 0x1FU) << 6U | bits(1);
    if (size == 3) return (first & 0x0FU) << 12U | bits(1) << 6U | bits(2);
    return (first & 0x07U) << 18U | bits(1) << 12U | bits(2) << 6U | bits(3);
  }();
  position += std::max(size, std::size_t{1});
  return codePoint;
}

void appendCodePoint(std::string& text, char32_t c) {
  const auto put = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
  if (c < 0x80) {
    put(c);
  } else if (c < 0x800) {
    put(0xC0U | (c >> 6U));
    put(0x80U | (c & 0x3FU));
  } else if (c < 0x10000) {
    put(0xE0U | (c >> 12U));
    put(0x80U | ((c >> 6U) & 0x3FU));
    put(0x80U | (c & 0x3FU));
  } else {
    put(0xF0U | (c >> 18U));
    put(0x80U | ((c >> 12U) & 0x3FU));
    put(0x80U | ((c >> 6U) & 0x3FU));
    put(0x80U | (c & 0x3FU));
  }
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
