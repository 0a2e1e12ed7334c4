#include "Viewing/ViewerScript.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "Viewing/Script.h"

namespace tarn::cli {
namespace {

using Words = std::vector<std::string>;

constexpr double kMaxRunSeconds = 1e9;  // seconds

/// The parsers receive the words after the command's name; absent if these are not valid.
struct Command {
  std::string_view name;
  std::optional<ViewerStep> (*parse)(const Words& words);
  std::string_view usage;
};

std::optional<bool> yesOrNo(std::string_view word) {
  if (word == "yes") return true;
  if (word == "no") return false;
  return std::nullopt;
}

std::optional<CMTime> contentTime(std::string_view word) {
  const auto time = timeFromWord(word);
  return time && (CMTIME_IS_NUMERIC(*time) || CMTIME_IS_INVALID(*time)) ? time : std::nullopt;
}

std::optional<ViewerStep> parseRun(const Words& words) {
  const auto seconds = words.size() == 1 ? numberFromWord(words[0]) : std::nullopt;
  if (!seconds || *seconds < 0 || *seconds > kMaxRunSeconds) return std::nullopt;
  return ViewerStep{nullptr, *seconds};
}

template <void (PlaybackRun::*act)()>
std::optional<ViewerStep> parsePlain(const Words& words) {
  if (!words.empty()) return std::nullopt;
  return ViewerStep{std::mem_fn(act)};
}

std::optional<ViewerStep> parseSeek(const Words& words) {
  const auto time = words.size() == 1 ? contentTime(words[0]) : std::nullopt;
  if (!time) return std::nullopt;
  return ViewerStep{[time = *time](PlaybackRun& playback) { playback.seek(time); }};
}

std::optional<ViewerStep> parseAdsDisabled(const Words& words) {
  const auto disabled = words.size() == 1 ? yesOrNo(words[0]) : std::nullopt;
  if (!disabled) return std::nullopt;
  return ViewerStep{[disabled = *disabled](PlaybackRun& playback) { playback.setAdsDisabled(disabled); }};
}

std::optional<ViewerStep> parseResumeAt(const Words& words) {
  const auto time = words.size() == 2 ? contentTime(words[0]) : std::nullopt;
  const auto autoPlay = words.size() == 2 ? yesOrNo(words[1]) : std::nullopt;
  if (!time || !autoPlay) return std::nullopt;
  return ViewerStep{
      [time = *time, autoPlay = *autoPlay](PlaybackRun& playback) { playback.resumeAt(time, autoPlay); }};
}

constexpr std::array<Command, 10> kCommands{{
    {"run", parseRun, "'run S' with S a number of seconds"},
    {"play", parsePlain<&PlaybackRun::play>, "'play' alone"},
    {"pause", parsePlain<&PlaybackRun::pause>, "'pause' alone"},
    {"seek", parseSeek, "'seek C' with C a number of seconds or 'invalid'"},
    {"skip", parsePlain<&PlaybackRun::skip>, "'skip' alone"},
    {"pauseAd", parsePlain<&PlaybackRun::pauseAd>, "'pauseAd' alone"},
    {"resumeAd", parsePlain<&PlaybackRun::resumeAd>, "'resumeAd' alone"},
    {"adsDisabled", parseAdsDisabled, "'adsDisabled yes' or 'adsDisabled no'"},
    {"resumeAt", parseResumeAt,
     "'resumeAt C yes' or 'resumeAt C no' with C a number of seconds or 'invalid'"},
    {"terminate", parsePlain<&PlaybackRun::terminate>, "'terminate' alone"},
}};

Result<ViewerStep> parse(const ScriptReader& reader, const ScriptLine& line) {
  const auto& name = line.words.front();
  const auto* command = std::find_if(kCommands.begin(), kCommands.end(),
                                     [&name](const Command& candidate) { return candidate.name == name; });
  if (command == kCommands.end()) {
    return reader.wrongLine(line, fmt::format("unknown command '{}'; expected run, play, pause, seek, skip, "
                                              "pauseAd, resumeAd, adsDisabled, resumeAt or terminate",
                                              name));
  }
  if (auto step = command->parse(Words(line.words.begin() + 1, line.words.end()))) return *std::move(step);
  return reader.wrongLine(line, fmt::format("expected {}", command->usage));
}

}  // namespace

Result<std::vector<ViewerStep>> readViewerScript(const std::optional<std::string>& path) {
  auto reader = ScriptReader::open(path);
  if (!reader) return reader.error();
  std::vector<ViewerStep> steps;
  for (;;) {
    const auto line = reader->next();
    if (!line) return line.error();
    if (!*line) return steps;
    auto step = parse(*reader, **line);
    if (!step) return step.error();
    steps.push_back(*std::move(step));
  }
}

}  // namespace tarn::cli
