#include "Terminal.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "KyrProcess.h"

namespace tarn::test {
namespace {

constexpr int kMaxWait = 30'000;  // milliseconds

}  // namespace

Terminal::Terminal(const std::vector<std::string>& arguments, const std::string& program) {
  winsize size{};
  size.ws_row = 24;
  size.ws_col = 160;
  process_ = ::forkpty(&terminal_, nullptr, nullptr, &size);
  if (process_ < 0)
    throw std::runtime_error(std::string("no terminal for the test: ") + std::strerror(errno) +
                             " (devpts must be mounted on /dev/pts)");
  if (process_ > 0) return;
  ::setenv("TERM", "xterm", 1);
  ::setenv("NO_COLOR", "1", 1);
  become(program, arguments);
}

Terminal::~Terminal() {
  if (process_ > 0) {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
  }
  ::close(terminal_);
}

void Terminal::type(std::string_view keys) const {
  ASSERT_EQ(::write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
}

bool Terminal::read() {
  pollfd readable{terminal_, POLLIN, 0};
  if (::poll(&readable, 1, kMaxWait) <= 0) return false;
  std::array<char, 4096> bytes{};
  const auto count = ::read(terminal_, bytes.data(), bytes.size());  // fails after the program has ended
  if (count > 0) unread_.append(bytes.data(), static_cast<std::size_t>(count));
  return count > 0;
}

void Terminal::waitFor(std::string_view text) {
  for (;;) {
    const auto found = unread_.find(text);
    if (found != std::string::npos) return void(unread_.erase(0, found + text.size()));
    if (!read()) FAIL() << "not written: " << text << "\nafter: " << unread_;
  }
}

int Terminal::end() {
  while (read()) {
  }
  return waitForStatus(std::exchange(process_, -1));
}

}  // namespace tarn::test
