#include "PlayScript.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "Script.h"

namespace tarn::cli {
namespace {

/// What `simulate` knows and this command does not.
constexpr std::array<std::string_view, 7> kSimulatorOnly{"seek",        "skip",     "pauseAd",  "resumeAd",
                                                         "adsDisabled", "resumeAt", "terminate"};

Result<PlayStep> parse(const ScriptReader& reader, const ScriptLine& line) {
  const auto& words = line.words;
  if (words.size() == 1 && words[0] == "play") return PlayStep{PlayStep::Kind::play};
  if (words.size() == 1 && words[0] == "pause") return PlayStep{PlayStep::Kind::pause};
  const auto seconds = words.size() == 2 ? numberFromWord(words[1]) : std::nullopt;
  if (words[0] == "run" && seconds && *seconds >= 0) return PlayStep{PlayStep::Kind::run, *seconds};
  if (words[0] == "run" || words[0] == "play" || words[0] == "pause")
    return reader.wrongLine(line, "expected 'run S' with S a number of seconds, 'play' or 'pause'");
  if (std::find(kSimulatorOnly.begin(), kSimulatorOnly.end(), words[0]) != kSimulatorOnly.end())
    return reader.wrongLine(line, fmt::format("'{}' is not available while a real stream plays", words[0]));
  return reader.wrongLine(line, fmt::format("unknown command '{}'; expected run, play or pause", words[0]));
}

}  // namespace

Result<std::vector<PlayStep>> readPlayScript(const std::string& path) {
  auto reader = ScriptReader::open(path);
  if (!reader) return reader.error();
  std::vector<PlayStep> steps;
  for (;;) {
    const auto line = reader->next();
    if (!line) return line.error();
    if (!*line) return steps;
    auto step = parse(*reader, **line);
    if (!step) return step.error();
    steps.push_back(*step);
  }
}

}  // namespace tarn::cli
