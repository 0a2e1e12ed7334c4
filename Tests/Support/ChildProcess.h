#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>

namespace tarn::test {

/// The wait status of a child, made by `fork`, that does `work` and exits: 0 when all is well, a failed
/// expectation's 1, or a signal's when it hung.
inline int statusOfChild(const std::function<void()>& work) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    alarm(30);
    work();
    std::exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  return status;
}

}  // namespace tarn::test
