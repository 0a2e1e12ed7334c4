#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "Platform/MediaTime.h"

namespace tarn::cli {

/// `text` as it may be written to a terminal or a log: valid UTF-8 on one line. Documents are not trusted,
/// and an escape sequence in an ad's title must not move the cursor: control characters, and characters that
/// reorder text, become spaces or U+FFFD.
[[nodiscard]] std::string printable(std::string_view text);

/// The number of terminal columns of printable text.
[[nodiscard]] std::size_t columns(std::string_view text);

/// `text` cut to at most `width` columns, the last of them an ellipsis if text was cut.
[[nodiscard]] std::string clipped(std::string_view text, std::size_t width);

/// `text` repeated.
[[nodiscard]] std::string repeated(std::string_view text, std::size_t count);

/// "1 ad", "2 ads"; `plural` if it is not formed with "s".
[[nodiscard]] std::string counted(std::size_t count, std::string_view singular, std::string_view plural = {});

/// Writes `text` to standard output.
void print(std::string_view text);

/// A time for people: "0:10:30.500", "-0:00:05.000", from 1000 hours on plain seconds; "invalid",
/// "indefinite", "+infinity", "-infinity".
[[nodiscard]] std::string clockText(CMTime time);

/// A length for people: "30 s", "7.5 s", rounded to the millisecond; otherwise the words of `clockText`.
[[nodiscard]] std::string secondsText(CMTime time);

/// "invalid", "indefinite", "+infinity" or "-infinity" for a time that is not numeric, otherwise empty.
[[nodiscard]] std::string_view specialTimeWord(CMTime time);

}  // namespace tarn::cli
