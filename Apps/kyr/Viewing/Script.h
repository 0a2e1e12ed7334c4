#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/MediaTime.h"
#include "Platform/Result.h"

namespace tarn::cli {

/// One command of a script: one or more words.
struct ScriptLine {
  std::size_t number = 0;  ///< Counted from 1.
  std::vector<std::string> words;
};

/// Reads a script line by line: words separated by blanks; blank lines and lines that begin with "#" are
/// skipped. Reads one line at a time, so that a script can come from a terminal or a pipe.
class ScriptReader {
 public:
  /// Standard input if there is no path. An error of the call's domain when the file cannot be opened.
  [[nodiscard]] static Result<ScriptReader> open(const std::optional<std::string>& path);

  /// The next command, absent at the end; an error of the call's domain when the file cannot be read or a
  /// line is longer than a megabyte.
  [[nodiscard]] Result<std::optional<ScriptLine>> next();

  /// An error of the call's domain that names the file and the line.
  [[nodiscard]] Error wrongLine(const ScriptLine& line, std::string_view message) const;

 private:
  using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

  ScriptReader(File file, std::string name) : file_(std::move(file)), name_(std::move(name)) {}
  [[nodiscard]] Result<bool> readLine(std::string& text);

  File file_;
  std::string name_;
  std::size_t number_ = 0;
};

/// A number of seconds as a media time at timescale 600, or "invalid", "indefinite", "+infinity",
/// "-infinity". Absent for any other text.
[[nodiscard]] std::optional<CMTime> timeFromWord(std::string_view word);

/// A plain decimal number; absent for any other text, "nan" and "inf" among them.
[[nodiscard]] std::optional<double> numberFromWord(std::string_view word);

/// "start+duration", each as in `timeFromWord`.
[[nodiscard]] std::optional<CMTimeRange> rangeFromWord(std::string_view word);

}  // namespace tarn::cli
