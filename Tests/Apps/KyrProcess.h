#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace tarn::test {

struct Outcome {
  int status = -1;  ///< The exit status; 128 plus the signal's number if a signal ended the process.
  std::string out;
  std::string err;
};

/// In a forked process: becomes `program`.
[[noreturn]] void become(std::string program, const std::vector<std::string>& arguments);
/// Waits for the process to end; its status is as in `Outcome`.
[[nodiscard]] int waitForStatus(pid_t process);

/// Runs the `kyr` program that was built with these tests, with `input` on its standard input, and waits.
[[nodiscard]] Outcome runKyr(const std::vector<std::string>& arguments, std::string_view input = {});

/// A temporary folder, removed with the object.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  [[nodiscard]] std::string path(std::string_view name) const { return (path_ / name).string(); }
  /// Writes a file and returns its path.
  [[nodiscard]] std::string write(std::string_view name, std::string_view bytes) const;

 private:
  std::filesystem::path path_;
};

[[nodiscard]] std::string readFile(const std::filesystem::path& path);
[[nodiscard]] std::string documentPath(std::string_view name);
[[nodiscard]] std::string golden(std::string_view name);

}  // namespace tarn::test
