#pragma once

#include <string>

namespace tarn {

/// The device and system that the process runs on, as texts for an HTTP header: printable ASCII, never empty,
/// without the characters that structure a comment there (RFC 9110 §5.6.5). Any thread.

/// The product's name from the firmware (device tree, then SMBIOS), else the machine's architecture.
[[nodiscard]] std::string deviceModel();

/// The operating system's version (os-release), else that of its kernel.
[[nodiscard]] std::string systemVersion();

/// The current locale's identifier, for example "en_US".
[[nodiscard]] std::string localeIdentifier();

}  // namespace tarn
