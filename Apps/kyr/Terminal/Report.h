#pragma once

#include <string_view>

#include "Platform/Error.h"

namespace tarn::cli {

inline constexpr int kDone = 0;
inline constexpr int kNotLoaded = 1;
inline constexpr int kWrongCall = 2;

/// Domain of errors of the caller: a wrong option, an unreadable file, a bad script
/// line. The code is `kWrongCall`.
inline constexpr const char* kCallErrorDomain = "kyr.call";

[[nodiscard]] Error callError(std::string description);

/// Writes "kyr: " and the text to standard error, as one printable line.
void printMessage(std::string_view text);

/// Reports why a command ends and returns its exit status: `kWrongCall` for errors of the call's domain,
/// otherwise `kNotLoaded`, which with `asJson` also prints the error's object.
[[nodiscard]] int reportFailure(const Error& error, bool asJson);

}  // namespace tarn::cli
