#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

namespace tarn::test {

/// A program that runs on its own terminal, wide enough for all of its lines.
class Terminal {
 public:
  /// `program` is a path; `kyr` without one.
  explicit Terminal(const std::vector<std::string>& arguments, const std::string& program = KYR_BINARY);
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  ~Terminal();

  void type(std::string_view keys) const;
  /// Reads until the program has written `text`; fails the test if it does not.
  void waitFor(std::string_view text);
  /// Waits until the program ends and returns its exit status.
  int end();

 private:
  [[nodiscard]] bool read();

  pid_t process_ = -1;
  int terminal_ = -1;
  std::string unread_;
};

}  // namespace tarn::test
