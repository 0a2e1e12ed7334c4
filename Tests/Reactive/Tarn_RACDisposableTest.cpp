#include "Reactive/Tarn_RACDisposable.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <string>
#include <thread>

namespace {

Tarn_RACDisposable writing(std::string& log, const char* text) {
  return Tarn_RACDisposable([&log, text] { log += text; });
}

TEST(Tarn_RACDisposableTest, RunsItsActionThenDisposesOfItsPartsInOrderAndOnce) {
  std::string log;
  Tarn_RACDisposable whole;
  whole = Tarn_RACDisposable([&] {
    log += "whole ";
    EXPECT_TRUE(whole.isDisposed());
    whole.dispose();
  });
  whole.add(writing(log, "a "));
  const auto copy = whole;
  copy.add(writing(log, "b "));
  whole.add(whole);
  EXPECT_FALSE(copy.isDisposed());
  whole.dispose();
  copy.dispose();
  EXPECT_TRUE(copy.isDisposed());
  whole.add(writing(log, "late "));
  EXPECT_EQ(log, "whole a b late ");
}

TEST(Tarn_RACDisposableTest, DisposesOfItsPartsAlsoWhenTheActionDestroysTheHandle) {
  std::string log;
  auto handle = std::make_optional<Tarn_RACDisposable>();
  *handle = Tarn_RACDisposable([&] { handle.reset(); });
  handle->add(writing(log, "part "));
  handle->dispose();
  EXPECT_EQ(log, "part ");
}

TEST(Tarn_RACDisposableTest, ReleasesPartsThatEndedOnTheirOwn) {
  const auto counted = std::make_shared<int>(0);
  const Tarn_RACDisposable whole;
  for (int i = 0; i < 1000; ++i) {
    const Tarn_RACDisposable part;
    part.add(Tarn_RACDisposable([counted] {}));
    whole.add(part);
    if (i % 100 != 0) part.dispose();
    EXPECT_LE(counted.use_count(), 12);
  }
  EXPECT_EQ(counted.use_count(), 11);
}

TEST(Tarn_RACDisposableTest, DisposesWhenItsOwnerIsDestroyedButNotWhenAHandleIs) {
  std::string log;
  { const auto dropped = writing(log, "dropped "); }
  {
    const Tarn_RACDeallocDisposable owner;
    owner.add(writing(log, "a "));
    owner.add(writing(log, "b "));
    log += "end of scope ";
  }
  EXPECT_EQ(log, "end of scope a b ");
}

TEST(Tarn_RACDisposableTest, DisposesOfPartsThatAnotherThreadAddsMeanwhile) {
  for (int round = 0; round < 200; ++round) {
    const Tarn_RACDisposable whole;
    std::atomic<int> ended = 0;
    std::thread adding([&] {
      for (int i = 0; i < 20; ++i) whole.add(Tarn_RACDisposable([&ended] { ++ended; }));
    });
    whole.dispose();
    adding.join();
    EXPECT_EQ(ended, 20);
  }
}

}  // namespace
