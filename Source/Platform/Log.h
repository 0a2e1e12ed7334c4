#pragma once

#include <functional>
#include <string_view>

#include "Platform/Observable.h"

namespace tarn {

/// Writes one line to the system log: standard error unless a sink is installed. Line breaks inside the text
/// are kept, and a line end is added. Any thread; lines of different threads do not mix.
void writeLogLine(std::string_view line);

using LogSink = std::function<void(std::string_view line)>;

/// Sends the log lines to `sink` instead, until the token is destroyed; installations nest, and the newest
/// one receives the lines. The sink is called on the logging thread, one call at a time, and never after the
/// token's destructor has returned; lines that a sink itself logs go to standard error. A child made by
/// `fork` calls its copy of the sink.
[[nodiscard]] Token installLogSink(LogSink sink);

}  // namespace tarn

/// The host toolkit's leveled log: 0 errors, 1 warnings, 2 notices, 3 information, 4 debug, 5 raw traffic. A
/// line is written when its level is at most the configured one (initially 1). Any thread.
void MHLog(int level, std::string_view text);
void MHLogSetLevel(int level);
[[nodiscard]] bool MHLogIsEnabled(int level);
