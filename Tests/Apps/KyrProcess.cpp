#include "KyrProcess.h"

#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>

namespace tarn::test {
namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File temporaryFile() {
  return {std::tmpfile(), &std::fclose};
}

std::string contents(std::FILE* file) {
  std::string bytes;
  std::rewind(file);
  char buffer[4096];
  while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, file)) bytes.append(buffer, count);
  return bytes;
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
  const auto in = temporaryFile();
  const auto out = temporaryFile();
  const auto err = temporaryFile();
  std::fwrite(input.data(), 1, input.size(), in.get());
  std::fflush(in.get());
  std::rewind(in.get());
  const pid_t child = ::fork();
  if (child == 0) {
    ::dup2(::fileno(in.get()), STDIN_FILENO);
    ::dup2(::fileno(out.get()), STDOUT_FILENO);
    ::dup2(::fileno(err.get()), STDERR_FILENO);
    become(KYR_BINARY, arguments);
  }
  const int status = waitForStatus(child);
  return {status, contents(out.get()), contents(err.get())};
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
