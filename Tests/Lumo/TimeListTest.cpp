#include "Lumo/TimeList.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "Support/TimePrinter.h"

namespace {

using tarn::TimeList;

bool isEarlier(const CMTime& a, const CMTime& b) {
  return CMTimeCompare(a, b) < 0;
}

TEST(TimeListTest, FindsWhatComparingEachTimeFinds) {
  const std::vector<std::vector<CMTime>> lists = {
      {},
      {CMTimeMake(0, 1), CMTimeMake(1, 600), CMTimeMake(600, 600), CMTimeMake(1, 1), CMTimeMake(90, 60)},
      {CMTimeMake(INT64_MIN, 600), CMTimeMake(-1, 1), CMTimeMake(INT64_MAX, 600)},
      {CMTimeMake(1, 3), CMTimeMake(1, 2)},            // no common ticks
      {CMTimeMake(1, 600), CMTimeMake(INT64_MAX, 1)},  // too large for common ticks
      {kCMTimeZero, {0, 1, kCMTimeFlags_Valid, 4}},    // two epochs
      {kCMTimeNegativeInfinity, kCMTimeZero, kCMTimeIndefinite, kCMTimeInvalid},
  };
  std::vector<CMTime> asked = {kCMTimeNegativeInfinity,
                               kCMTimePositiveInfinity,
                               kCMTimeIndefinite,
                               kCMTimeInvalid,
                               CMTimeMake(INT64_MIN, 1),
                               CMTimeMake(INT64_MAX, 1),
                               {0, 1, kCMTimeFlags_Valid, 4}};
  for (const CMTimeScale timescale : {1, 7, 600, 601, 90'000}) {
    for (const std::int64_t value : {-601, -1, 0, 1, 2, 3, 599, 600, 601, 900, 901}) {
      asked.push_back(CMTimeMake(value, timescale));
    }
  }
  for (const auto& times : lists) {
    TimeList list;
    for (const CMTime& time : times) list.add(time);
    list.close();
    ASSERT_TRUE(list.ascends());
    for (const CMTime& time : asked) {
      SCOPED_TRACE(CMTimeCopyDescription(time) + " of " + testing::PrintToString(times));
      const auto notEarlier = std::lower_bound(times.begin(), times.end(), time, isEarlier);
      const auto later = std::upper_bound(times.begin(), times.end(), time, isEarlier);
      EXPECT_EQ(list.firstNotEarlier(time, 0, times.size()),
                static_cast<std::size_t>(notEarlier - times.begin()));
      EXPECT_EQ(list.firstLater(time, 0, times.size()), static_cast<std::size_t>(later - times.begin()));
    }
  }
}

TEST(TimeListTest, KnowsWhetherItAscends) {
  TimeList list;
  list.add(CMTimeMake(2, 1));
  list.add(CMTimeMake(1, 1));
  list.close();
  EXPECT_FALSE(list.ascends());
}

}  // namespace
