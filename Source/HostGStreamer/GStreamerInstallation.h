#pragma once

#include <string>
#include <string_view>

#include "Platform/Result.h"

/// The GStreamer of this machine: whether it can be started, and which of its elements are installed.
namespace tarn {

/// Starts the library once. Any thread. Fails in a child process that was forked after the start: GStreamer's
/// threads do not exist there.
[[nodiscard]] Result<void> startGStreamer();

/// The Debian package that holds an element.
[[nodiscard]] std::string_view debianPackageOf(std::string_view factory);

/// Whether the element exists; the error names the Debian package to install. Any thread, after
/// `startGStreamer`.
[[nodiscard]] Result<void> requireGStreamerElement(const std::string& factory);

}  // namespace tarn
