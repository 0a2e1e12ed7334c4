#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tarn {

[[nodiscard]] bool isUTF8(std::string_view bytes);

/// `bytes` with what is no UTF-8 in them read as Latin-1.
[[nodiscard]] std::string repairedUTF8(std::string_view bytes);

/// `text` (UTF-8) without Unicode white space and line breaks at both ends.
[[nodiscard]] std::string_view trimmed(std::string_view text);

/// The same, without white space alone: line breaks stay.
[[nodiscard]] std::string_view trimmedOfSpaces(std::string_view text);

/// The length in bytes of the white-space character (no line break) that `text` begins with; 0 without one.
[[nodiscard]] std::size_t leadingSpace(std::string_view text);

/// `text` on one line: trimmed, and each run of white space and line breaks made one space.
[[nodiscard]] std::string foldedText(std::string_view text);

/// `foldedText`, cut to at most `limit` bytes with "…" where more follows; never inside a character.
[[nodiscard]] std::string clippedText(std::string_view text, std::size_t limit = 80);

}  // namespace tarn
