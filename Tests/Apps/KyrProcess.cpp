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

[[noreturn]] void becomeKyr(const std::vector<std::string>& arguments, std::FILE* in, std::FILE* out,
                            std::FILE* err) {
  ::dup2(::fileno(in), STDIN_FILENO);
  ::dup2(::fileno(out), STDOUT_FILENO);
  ::dup2(::fileno(err), STDERR_FILENO);
  std::string program = KYR_BINARY;
  std::vector<char*> pointers{program.data()};
  for (const auto& argument : arguments) pointers.push_back(const_cast<char*>(argument.c_str()));
  pointers.push_back(nullptr);
  ::execv(program.c_str(), pointers.data());
  ::_exit(127);
}

}  // namespace

Outcome runKyr(const std::vector<std::string>& arguments, std::string_view input) {
  const auto in = temporaryFile();
  const auto out = temporaryFile();
  const auto err = temporaryFile();
  std::fwrite(input.data(), 1, input.size(), in.get());
  std::fflush(in.get());
  std::rewind(in.get());
  const pid_t child = ::fork();
  if (child == 0) becomeKyr(arguments, in.get(), out.get(), err.get());
  int status = 0;
  ::waitpid(child, &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), contents(out.get()),
          contents(err.get())};
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

std::string vmap(std::string_view breaks, std::string_view payloadLength, std::string_view contentLength) {
  return fmt::format(
      "<vmap:VMAP xmlns:vmap=\"http://www.iab.net/vmap-1.0\" xmlns:mh=\"http://example.com/mh\">{}"
      "<vmap:Extensions><mh:Marlith payloadlength=\"{}\" "
      "contentlength=\"{}\"/></vmap:Extensions></vmap:VMAP>",
      breaks, payloadLength, contentLength);
}

std::string adBreak(std::string_view timeOffset, std::string_view inLine) {
  return fmt::format(
      "<vmap:AdBreak timeOffset=\"{}\"><vmap:AdSource><vmap:VASTAdData><VAST><Ad "
      "id=\"ad\"><InLine>{}</InLine>"
      "</Ad></VAST></vmap:VASTAdData></vmap:AdSource></vmap:AdBreak>\n",
      timeOffset, inLine);
}

std::string linear(std::string_view duration, std::string_view more) {
  return fmt::format("<Creatives><Creative><Linear><Duration>{}</Duration>{}</Linear></Creative></Creatives>",
                     duration, more);
}

}  // namespace tarn::test
