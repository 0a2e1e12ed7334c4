#include "KyrService.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <string>
#include <utility>

#include "KyrProcess.h"

namespace tarn::test {
namespace {

/// Reads the service's output up to its addresses; returns the port, or 0 if the service has ended.
int readPort(int output) {
  std::string text;
  char byte = 0;
  while (read(output, &byte, 1) == 1) {
    text += byte;
    if (text.ends_with("/vmap/demo.xml")) return std::stoi(text.substr(text.rfind(':') + 1));
  }
  ADD_FAILURE() << "kyr serve ended: " << text;
  return 0;
}

}  // namespace

KyrService::KyrService() {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) return;
  process_ = fork();
  if (process_ == 0) {
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    close(ends[1]);
    become(KYR_BINARY, {"serve", "--port", "0", "--media", KYR_TEST_MEDIA});
  }
  close(ends[1]);
  output_ = ends[0];
  port_ = readPort(output_);
}

KyrService::~KyrService() {
  if (process_ > 0) end(SIGKILL);
  close(output_);
}

std::string KyrService::url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + path;
}

int KyrService::end(int signal) {
  kill(process_, signal);
  return waitForStatus(std::exchange(process_, -1));
}

}  // namespace tarn::test
