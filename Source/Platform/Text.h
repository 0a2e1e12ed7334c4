#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// The text functions of the whole system. All are pure and may be called on any thread.
namespace tarn {

// ASCII

[[nodiscard]] bool isASCII(std::string_view bytes);
[[nodiscard]] bool isASCIIDigit(char c);
[[nodiscard]] bool isASCIIHexDigit(char c);
[[nodiscard]] bool isASCIILetter(char c);
[[nodiscard]] char asciiLowerCase(char c);
[[nodiscard]] std::string asciiLowerCase(std::string_view text);
/// Compares letters beyond ASCII exactly.
[[nodiscard]] bool equalsIgnoringASCIICase(std::string_view a, std::string_view b);

/// `text` without the given characters at both ends.
[[nodiscard]] std::string_view trimmedOf(std::string_view text, std::string_view characters);

// HTTP

/// Whether `text` is a token, as a header's name must be (RFC 9110 §5.6.2).
[[nodiscard]] bool isHTTPToken(std::string_view text);
/// Whether `text` may be a header's value (RFC 9110 §5.5); bytes beyond ASCII are allowed.
[[nodiscard]] bool isHTTPFieldValue(std::string_view text);

// UTF-8

[[nodiscard]] bool isUTF8(std::string_view bytes);

/// `bytes` as UTF-8, with each byte that is part of no UTF-8 character converted from Latin-1.
[[nodiscard]] std::string repairedUTF8(std::string_view bytes);

/// Returns the code point at `position`, which must be inside `text`, and moves `position` past it. A byte
/// that starts no valid character is U+FFFD.
[[nodiscard]] char32_t nextCodePoint(std::string_view text, std::size_t& position);
/// `codePoint` is a Unicode scalar value.
void appendCodePoint(std::string& text, char32_t codePoint);

// White space of Unicode. `text` is UTF-8.

/// `text` without white space and line breaks at both ends.
[[nodiscard]] std::string_view trimmed(std::string_view text);

/// `text` without white space at both ends; line breaks stay.
[[nodiscard]] std::string_view trimmedOfSpaces(std::string_view text);

/// The length in bytes of the white-space character (no line break) that `text` begins with; 0 without one.
[[nodiscard]] std::size_t leadingSpace(std::string_view text);

/// `text` on one line: trimmed, and each run of white space and line breaks made one space.
[[nodiscard]] std::string foldedText(std::string_view text);

/// `foldedText`, cut to at most `limit` bytes with "…" where more follows; never inside a character.
[[nodiscard]] std::string clippedText(std::string_view text, std::size_t limit = 80);

}  // namespace tarn
