#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarn {

/// A compiled regular expression in ICU's syntax, without options. Immutable, any thread.
///
/// Positions are in code points of the text, so they mean the same in every encoding.
class RegularExpression {
 public:
  /// A pattern that does not compile is a programming error.
  explicit RegularExpression(std::string_view pattern);
  ~RegularExpression();

  struct Match {
    /// The text of the first capture group; absent when the expression has none or it matched nothing.
    std::optional<std::string> capture;
    std::size_t captureBegin = 0;
    std::size_t captureLength = 0;
  };

  /// Every match, left to right, without overlap, in the first `length` code points of `text`. The time is
  /// limited: if the expression backtracks without end, the matches so far are returned.
  [[nodiscard]] std::vector<Match> matches(std::string_view text, std::size_t length) const;
  [[nodiscard]] std::vector<Match> matches(std::string_view text) const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tarn
