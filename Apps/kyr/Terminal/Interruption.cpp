#include "Terminal/Interruption.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace tarn::cli {
namespace {

constexpr std::array kSignals{SIGINT, SIGTERM};

/// The pipe end that the handler writes to; a handler takes no arguments.
std::atomic<int> handlerEnd = -1;

void onSignal(int /*signal*/) {
  const int savedError = errno;
  const char byte = 1;
  [[maybe_unused]] const auto written = write(handlerEnd, &byte, 1);  // a full pipe reports the request too
  errno = savedError;
}

void handle(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  for (const int signal : kSignals) sigaction(signal, &action, nullptr);
}

bool isReadable(int descriptor, int timeout) {
  pollfd readable{descriptor, POLLIN, 0};
  return poll(&readable, 1, timeout) > 0;
}

}  // namespace

Interruption::Interruption() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
    throw std::system_error(errno, std::generic_category());
  readEnd_ = ends[0];
  writeEnd_ = ends[1];
  handlerEnd = writeEnd_;
  handle(onSignal);
}

Interruption::~Interruption() {
  handle(SIG_DFL);
  handlerEnd = -1;
  close(readEnd_);
  close(writeEnd_);
}

bool Interruption::requested() const {
  return isReadable(readEnd_, 0);
}

void Interruption::wait() const {
  while (!isReadable(readEnd_, -1)) {
  }
}

}  // namespace tarn::cli
