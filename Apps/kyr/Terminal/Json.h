#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Error.h"
#include "Platform/MediaTime.h"
#include "Platform/URL.h"

namespace tarn::cli {

/// Keys keep the order in which they were added.
using Json = nlohmann::ordered_json;

/// Seconds, or "invalid", "indefinite", "+infinity", "-infinity".
[[nodiscard]] Json json(CMTime time);
[[nodiscard]] Json json(const std::optional<std::string>& text);
[[nodiscard]] Json json(const std::optional<URL>& url);
[[nodiscard]] Json json(const std::vector<URL>& urls);
/// The error with its chain of causes under "underlying".
[[nodiscard]] Json json(const Error& error);

/// One line without spaces between tokens. Numbers are the shortest text that reads back as the same double
/// (30, not 30.0); bytes in texts that are not UTF-8 become U+FFFD.
[[nodiscard]] std::string compactText(const Json& value);

/// Writes one line to standard output.
void printRecord(const Json& record);
/// Writes one line to standard output and flushes it, so that the reader of a pipe receives each record at
/// once.
void writeRecord(const Json& record);

}  // namespace tarn::cli
