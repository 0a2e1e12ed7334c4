#include "Viewing/Script.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <utility>

#include "Lumo/TarnLumoCommon.h"
#include "Terminal/Report.h"

namespace tarn::cli {
namespace {

constexpr std::size_t kMaximumLineLength = std::size_t{1} << 20U;

constexpr std::array<std::pair<std::string_view, CMTime>, 4> kSpecialTimes{{
    {"invalid", kCMTimeInvalid},
    {"indefinite", kCMTimeIndefinite},
    {"+infinity", kCMTimePositiveInfinity},
    {"-infinity", kCMTimeNegativeInfinity},
}};

int leaveOpen(std::FILE*) {
  return 0;
}

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r';
}

std::vector<std::string> wordsOf(std::string_view text) {
  std::vector<std::string> words;
  std::size_t i = 0;
  while (i < text.size()) {
    while (i < text.size() && isBlank(text[i])) ++i;
    const std::size_t begin = i;
    while (i < text.size() && !isBlank(text[i])) ++i;
    if (i > begin) words.emplace_back(text.substr(begin, i - begin));
  }
  return words;
}

/// Removes the longest number at the front of `text` and returns it.
std::optional<double> takeNumber(std::string_view& text) {
  const std::string_view digits = text.substr(text.substr(0, 1) == "-" ? 1 : 0);
  if (digits.empty() || (digits[0] != '.' && (digits[0] < '0' || digits[0] > '9'))) return std::nullopt;
  double number = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (failure != std::errc()) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

std::optional<CMTime> takeTime(std::string_view& text) {
  for (const auto& [word, time] : kSpecialTimes) {
    if (text.substr(0, word.size()) == word) {
      text.remove_prefix(word.size());
      return time;
    }
  }
  const auto seconds = takeNumber(text);
  if (!seconds) return std::nullopt;
  return CMTimeMakeWithSeconds(*seconds, kDocumentTimescale);
}

}  // namespace

Result<ScriptReader> ScriptReader::open(const std::optional<std::string>& path) {
  if (!path) return ScriptReader(File(stdin, &leaveOpen), "(standard input)");
  File file(std::fopen(path->c_str(), "rb"), &std::fclose);
  if (!file) return callError(fmt::format("{}: {}", *path, std::strerror(errno)));
  return ScriptReader(std::move(file), *path);
}

Result<bool> ScriptReader::readLine(std::string& text) {
  text.clear();
  int c = 0;
  while ((c = std::getc(file_.get())) != EOF) {
    if (c == '\n') return true;
    text.push_back(static_cast<char>(c));
    if (text.size() > kMaximumLineLength) {
      return wrongLine({number_ + 1, {}},
                       fmt::format("the line is longer than {} bytes", kMaximumLineLength));
    }
  }
  if (std::ferror(file_.get()) != 0) {
    return callError(fmt::format("{}: {}", name_, std::strerror(errno)));
  }
  return !text.empty();
}

Result<std::optional<ScriptLine>> ScriptReader::next() {
  std::string text;
  for (;;) {
    const auto read = readLine(text);
    if (!read) return read.error();
    if (!*read) return std::optional<ScriptLine>();
    ++number_;
    auto words = wordsOf(text);
    if (!words.empty() && words.front().front() != '#') {
      return std::optional(ScriptLine{number_, std::move(words)});
    }
  }
}

Error ScriptReader::wrongLine(const ScriptLine& line, std::string_view message) const {
  return callError(fmt::format("{}:{}: {}", name_, line.number, message));
}

std::optional<CMTime> timeFromWord(std::string_view word) {
  const auto time = takeTime(word);
  return word.empty() ? time : std::nullopt;
}

std::optional<double> numberFromWord(std::string_view word) {
  const auto number = takeNumber(word);
  return word.empty() ? number : std::nullopt;
}

std::optional<CMTimeRange> rangeFromWord(std::string_view word) {
  const auto start = takeTime(word);
  if (!start || word.empty() || word.front() != '+') return std::nullopt;
  word.remove_prefix(1);
  const auto duration = timeFromWord(word);
  if (!duration) return std::nullopt;
  return CMTimeRangeMake(*start, *duration);
}

}  // namespace tarn::cli
