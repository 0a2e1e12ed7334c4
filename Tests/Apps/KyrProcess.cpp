#include "KyrProcess.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace tarn::test {
namespace {

/// In a forked process: reads or writes that file as a standard stream.
void redirect(int stream, const std::string& path) {
  ::dup2(::open(path.c_str(), stream == STDIN_FILENO ? O_RDONLY : O_WRONLY | O_CREAT, 0600), stream);
}

}  // namespace

void become(std::string program, const std::vector<std::string>& arguments) {
  std::vector<char*> pointers{program.data()};
  for (const auto& argument : arguments) pointers.push_back(const_cast<char*>(argument.c_str()));
  pointers.push_back(nullptr);
  ::execv(program.c_str(), pointers.data());
  ::_exit(127);
}

int waitForStatus(pid_t process) {
  int status = 0;
  ::waitpid(process, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

Outcome runKyr(const std::vector<std::string>& arguments, std::string_view input) {
  const ScratchFolder folder;
  const auto in = folder.write("in", input);
  const auto out = folder.path("out");
  const auto err = folder.path("err");
  const pid_t child = ::fork();
  if (child == 0) {
    redirect(STDIN_FILENO, in);
    redirect(STDOUT_FILENO, out);
    redirect(STDERR_FILENO, err);
    become(KYR_BINARY, arguments);
  }
  const int status = waitForStatus(child);
  return {status, readFile(out), readFile(err)};
}

ScratchFolder::ScratchFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "kyr-test-XXXXXX").string();
  path_ = ::mkdtemp(pattern.data());
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string ScratchFolder::write(std::string_view name, std::string_view bytes) const {
  std::ofstream(path_ / name, std::ios::binary) << bytes;
  return path(name);
}

std::string readFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string documentPath(std::string_view name) {
  return fmt::format("{}/Documents/{}", KYR_APPS_TESTS, name);
}

std::string golden(std::string_view name) {
  return readFile(fmt::format("{}/Golden/{}", KYR_APPS_TESTS, name));
}

}  // namespace tarn::test
