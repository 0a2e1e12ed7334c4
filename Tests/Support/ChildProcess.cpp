#include "Support/ChildProcess.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace {

bool isForkedChild = false;

}  // namespace

/// A child does not free the memory of its parent's threads, which it cannot reach.
extern "C" int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off() {
  return isForkedChild ? 1 : 0;
}

int tarn::test::statusOfChild(const std::function<void()>& work) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    isForkedChild = true;
    alarm(30);
    work();
    std::exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  return status;
}
