#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace tarn {

/// A failure as a value: what failed, why, what to do about it, and its cause.
///
/// `domain` and `code` identify the failure to programs; the texts are for people and may each be absent.
/// `underlying` is the cause, immutable and shared, absent in the last error of the chain.
struct Error {
  std::string domain{};
  std::int64_t code = 0;
  std::optional<std::string> description{};
  std::optional<std::string> failureReason{};
  std::optional<std::string> recoverySuggestion{};
  std::shared_ptr<const Error> underlying{};

  /// `code` is a number or an enumerator.
  template <typename Code>
  [[nodiscard]] static Error make(std::string domain, Code code,
                                  std::optional<std::string> description = {}) {
    return {.domain = std::move(domain),
            .code = static_cast<std::int64_t>(code),
            .description = std::move(description)};
  }
};

/// Both chains hold the same domains, codes and texts.
[[nodiscard]] bool operator==(const Error& a, const Error& b);

/// `error` with `cause` as its underlying error.
[[nodiscard]] Error withUnderlying(Error error, Error cause);

/// One line for people: each error of the chain from the outermost to its cause, joined with ": ", with line
/// breaks replaced by spaces. An error reads as "<description>: <failure reason> (<suggestion>)", of which
/// each part may be missing, and as "<domain> <code>" if the first two are missing.
[[nodiscard]] std::string chainDescription(const Error& error);

}  // namespace tarn
