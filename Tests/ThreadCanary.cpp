#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

namespace {

[[noreturn]] void race() {
  int shared = 0;
  std::thread other([&] { ++shared; });
  ++shared;
  other.join();
  std::exit(0);
}

}  // namespace

/// Built with the thread sanitizer alone: proves that its step would fail.
TEST(ThreadCanary, ADataRaceIsReported) {
  EXPECT_EXIT(race(), testing::ExitedWithCode(66), "data race");
}
