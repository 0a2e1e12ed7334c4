#pragma once

#include <stdexcept>
#include <string>

namespace tarn {

/// Thrown if the caller's code is wrong, never for a faulty document, stream or server: an index out
/// of range, an operation that must not be called. The text is also logged before the throw.
class ProgrammingError : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

/// Writes `message` to the system log, then throws it as a `ProgrammingError`.
[[noreturn]] void failProgramming(const std::string& message);

}  // namespace tarn
