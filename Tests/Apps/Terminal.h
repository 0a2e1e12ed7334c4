#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>
#include <vector>

namespace tarn::test {

/// A program that runs on a terminal of its own, wide enough for all of its lines.
class Terminal {
 public:
  /// `program` is a path; `kyr` without one.
  explicit Terminal(const std::vector<std::string>& arguments, const std::string& program = KYR_BINARY);
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  ~Terminal();

  void type(std::string_view keys) const;
  /// Reads on until the program has written `text`; fails the test when it does not.
  void waitFor(std::string_view text);
  /// Waits until it ends and answers its exit status.
  int end();

 private:
  [[nodiscard]] bool read();

  pid_t process_ = -1;
  int terminal_ = -1;
  std::string unread_;
};

}  // namespace tarn::test
