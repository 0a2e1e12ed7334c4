#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/MediaTime.h"

namespace tarn {
/// Ticks per second of the times that are read from documents and of the system's own limits.
inline constexpr CMTimeScale kDocumentTimescale = 600;
}  // namespace tarn

/// The log switch of the document side. Debug and Error do not differ in what is logged.
enum TarnLumoLogConfig : std::int64_t {
  TarnLumoLogConfigDisabled = 0,
  TarnLumoLogConfigDebug = 1,
  TarnLumoLogConfigError = 2,
};

/// Switches the log of the document side off or on (it starts on). A value outside the enumeration changes
/// nothing.
void TarnLumoLogConfigure(std::int64_t config);

/// Whether `TarnLumoLog` writes.
[[nodiscard]] bool TarnLumoLogIsEnabled();

/// Writes one line to the system log when the switch is on. Every "%@" in `format` is replaced, in order, by
/// the next argument ("(null)" for an absent one) and "%%" by "%"; nothing is formatted when the switch is
/// off. Any thread.
void TarnLumoLog(std::string_view format,
                 std::initializer_list<std::optional<std::string_view>> arguments = {});

/// Reads HH:MM:SS or HH:MM:SS.mmm (VAST 3.0 §2.3.1.4, VMAP 1.0.1 §2.3.1), rounded to a tick of
/// `kDocumentTimescale`.
///
/// Everything from a "+" on is dropped. Minutes and seconds are not range-checked, and a field that is made
/// of the allowed characters but is no number counts as 0. Anything else logs one line and gives the invalid
/// time.
[[nodiscard]] CMTime TarnLumoDurationFromString(std::optional<std::string_view> string);

/// Reads an ad break's offset: "start" (zero) and "end" (positive infinity) in any case, or a duration.
/// Percentages and positions ("#1") give the invalid time.
[[nodiscard]] CMTime TarnLumoAdBreakTimeOffsetFromString(std::optional<std::string_view> string);

/// Reads a skip offset: a percentage of `duration`, or any form of an ad break's offset. Anything else logs
/// and gives the invalid time.
[[nodiscard]] CMTime TarnLumoSkipOffsetFromStringWithDuration(std::optional<std::string_view> string,
                                                              CMTime duration);

/// Whether two times are equal or closer together than `tolerance`; a difference equal to it is outside.
[[nodiscard]] bool TarnLumoCMTimesWithinTolerance(CMTime a, CMTime b, CMTime tolerance);
