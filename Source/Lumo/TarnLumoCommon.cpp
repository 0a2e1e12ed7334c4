#include "Lumo/TarnLumoCommon.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <string>

#include "Platform/Log.h"
#include "Platform/NumberFormatter.h"
#include "Platform/Text.h"

namespace {

using tarn::NumberFormatter;

constexpr std::string_view kNoDurationCharacters = "[^0123456789.:+]";

/// Off when the lowest bit is set.
std::atomic<std::int8_t> TarnLumoLogConfigValue{0};

std::string formatted(std::string_view format,
                      std::initializer_list<std::optional<std::string_view>> arguments) {
  std::string text;
  text.reserve(format.size() + 64);
  const auto* next = arguments.begin();
  for (std::size_t i = 0; i < format.size(); ++i) {
    const auto placeholder = format.substr(i, 2);
    if (placeholder == "%%") {
      text += '%';
      ++i;
    } else if (placeholder == "%@" && next != arguments.end()) {
      text += next->value_or("(null)");
      ++next;
      ++i;
    } else {
      text += format[i];
    }
  }
  return text;
}

bool isDurationCharacter(char c) {
  return (c >= '0' && c <= '9') || c == '.' || c == ':' || c == '+';
}

/// The pieces of HH:MM:SS; absent unless two colons divide the text.
std::optional<std::array<std::string_view, 3>> splitFields(std::string_view text) {
  if (std::count(text.begin(), text.end(), ':') != 2) return std::nullopt;
  const auto first = text.find(':');
  const auto second = text.find(':', first + 1);
  return std::array{text.substr(0, first), text.substr(first + 1, second - first - 1),
                    text.substr(second + 1)};
}

double numberOrZero(std::string_view field) {
  return NumberFormatter::shared(NumberFormatter::Style::plain).numberFromString(field).value_or(0.0);
}

}  // namespace

void TarnLumoLogConfigure(std::int64_t config) {
  if (config < TarnLumoLogConfigDisabled || config > TarnLumoLogConfigError) return;
  TarnLumoLogConfigValue.store(config == TarnLumoLogConfigDisabled ? 1 : 0, std::memory_order_relaxed);
}

bool TarnLumoLogIsEnabled() {
  return (TarnLumoLogConfigValue.load(std::memory_order_relaxed) & 1) == 0;
}

void TarnLumoLog(std::string_view format, std::initializer_list<std::optional<std::string_view>> arguments) {
  if (TarnLumoLogIsEnabled()) tarn::writeLogLine(formatted(format, arguments));
}

CMTime TarnLumoDurationFromString(std::optional<std::string_view> string) {
  if (!string) {
    TarnLumoLog("Could not parse duration `%@` (nil duration parameter).", {std::nullopt});
    return kCMTimeInvalid;
  }
  if (!std::all_of(string->begin(), string->end(), isDurationCharacter)) {
    TarnLumoLog("Could not parse duration `%@` (must contain only characters from the character set `%@`).",
                {string, kNoDurationCharacters});
    return kCMTimeInvalid;
  }
  const auto clock = string->substr(0, string->find('+'));
  const auto fields = splitFields(clock);
  if (!fields) {
    TarnLumoLog(
        "Could not parse duration `%@` (must contain only hours, minutes, and seconds, separated by `:`).",
        {clock});
    return kCMTimeInvalid;
  }
  const auto& [hours, minutes, seconds] = *fields;
  if (hours.size() != 2 || minutes.size() != 2 || seconds.size() < 2) {
    TarnLumoLog("Could not parse duration `%@` (missing hours, minutes, or seconds).", {clock});
    return kCMTimeInvalid;
  }
  const int wholeSeconds =
      static_cast<int>(numberOrZero(hours)) * 3600 + static_cast<int>(numberOrZero(minutes)) * 60;
  return CMTimeMakeWithSeconds(wholeSeconds + numberOrZero(seconds), tarn::kDocumentTimescale);
}

CMTime TarnLumoAdBreakTimeOffsetFromString(std::optional<std::string_view> string) {
  if (string && tarn::equalsIgnoringASCIICase(*string, "start")) return kCMTimeZero;
  if (string && tarn::equalsIgnoringASCIICase(*string, "end")) return kCMTimePositiveInfinity;
  return TarnLumoDurationFromString(string);
}

CMTime TarnLumoSkipOffsetFromStringWithDuration(std::optional<std::string_view> string, CMTime duration) {
  const auto& percent = NumberFormatter::shared(NumberFormatter::Style::percent);
  if (const auto fraction = string ? percent.numberFromString(*string) : std::nullopt) {
    return CMTimeMultiplyByFloat64(duration, *fraction);
  }
  const CMTime offset = TarnLumoAdBreakTimeOffsetFromString(string);
  if (CMTIME_IS_VALID(offset)) return offset;
  TarnLumoLog("Could not parse offset `%@` (must contain only characters from the character set `%%`).",
              {string});
  return kCMTimeInvalid;
}

bool TarnLumoCMTimesWithinTolerance(CMTime a, CMTime b, CMTime tolerance) {
  const int order = CMTimeCompare(a, b);
  if (order == 0) return true;
  const CMTime difference = order < 0 ? CMTimeSubtract(b, a) : CMTimeSubtract(a, b);
  return tolerance > difference;
}
