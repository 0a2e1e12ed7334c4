#include "Lumo/TarnLumoAdSequencesBuilder.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "Lumo/TarnLumoValueReader.h"
#include "Lumo/TimeList.h"
#include "Platform/Log.h"
#include "Support/TimePrinter.h"

namespace {

using namespace tarn::test;
using namespace testing;

TEST(AdSequencesBuilder, BuildsOnce) {
  std::string log;
  const auto sink = tarn::installLogSink([&log](std::string_view line) { log += line; });
  TarnLumoAdSequencesBuilder builder(seconds(100),
                                     tarn::NumberFormatter::shared(tarn::NumberFormatter::Style::plain));
  TarnLumoAdBuilder ad;
  ad.duration = seconds(10);
  builder.insertAdBuilder(ad, kCMTimePositiveInfinity);
  builder.insertAdBuilder(ad, kCMTimeZero);
  const auto sequences = builder.buildAdSequences();
  ASSERT_EQ(sequences->size(), 2u);
  EXPECT_THAT(sequences->at(1)->beginTime(), SecondsEq(90));
  EXPECT_THAT(sequences->at(1)->endTime(), SecondsEq(100));
  EXPECT_EQ(log, "");
  EXPECT_FALSE(builder.buildAdSequences());
  EXPECT_THAT(log, HasSubstr("`-[TarnLumoAdSequenceBuilder buildAdSequences]` may only be called once"));
}

TEST(AdSequencesBuilder, SortsTimesAsMediaTimesCompare) {
  EXPECT_THAT(
      TarnLumoAdSequencesBuilder::sortedArrayOfCMTimes(
          {kCMTimePositiveInfinity, CMTimeMake(3, 2), kCMTimeZero, CMTimeMake(0, 600), CMTimeMake(1, 1)}),
      ElementsAre(IdenticalTo(kCMTimeZero), IdenticalTo(CMTimeMake(0, 600)), IdenticalTo(CMTimeMake(1, 1)),
                  IdenticalTo(CMTimeMake(3, 2)), IdenticalTo(kCMTimePositiveInfinity)));
}

TEST(ValueReader, ReadsTheIntegerThatATextBeginsWith) {
  EXPECT_EQ(tarn::leadingInteger(" \n+42px"), 42);
  EXPECT_EQ(tarn::leadingInteger("-7.9"), -7);
  EXPECT_EQ(tarn::leadingInteger("99999999999999999999"), INT64_MAX);
  EXPECT_EQ(tarn::leadingInteger("-99999999999999999999"), INT64_MIN);
  for (const char* text : {"", "-", "+-1", "x1", "- 1"})
    EXPECT_EQ(tarn::leadingInteger(text), std::nullopt) << text;
}

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
  const CMTime otherEpoch = {0, 1, kCMTimeFlags_Valid, 4};
  std::vector<CMTime> asked = {
      kCMTimeNegativeInfinity,  kCMTimePositiveInfinity,  kCMTimeIndefinite, kCMTimeInvalid,
      CMTimeMake(INT64_MIN, 1), CMTimeMake(INT64_MAX, 1), otherEpoch};
  for (const CMTimeScale timescale : {1, 7, 600, 601, 90'000}) {
    for (const std::int64_t value : {-601, -1, 0, 1, 2, 3, 599, 600, 601, 900, 901}) {
      asked.push_back(CMTimeMake(value, timescale));
    }
  }
  tarn::TimeList falling;
  for (const int time : {2, 1}) falling.add(CMTimeMake(time, 1));
  falling.close();
  EXPECT_FALSE(falling.ascends());
  for (const auto& times : lists) {
    tarn::TimeList list;
    for (const CMTime& time : times) list.add(time);
    list.close();
    ASSERT_TRUE(list.ascends());
    for (const CMTime& time : asked) {
      SCOPED_TRACE(CMTimeCopyDescription(time) + " of " + PrintToString(times));
      const auto notEarlier = std::lower_bound(times.begin(), times.end(), time, isEarlier);
      const auto later = std::upper_bound(times.begin(), times.end(), time, isEarlier);
      EXPECT_EQ(list.firstNotEarlier(time, 0, times.size()),
                static_cast<std::size_t>(notEarlier - times.begin()));
      EXPECT_EQ(list.firstLater(time, 0, times.size()), static_cast<std::size_t>(later - times.begin()));
    }
  }
}

}  // namespace
