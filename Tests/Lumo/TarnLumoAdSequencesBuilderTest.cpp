#include "Lumo/Internal/TarnLumoAdSequencesBuilder.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "Lumo/Internal/TarnLumoValueReader.h"
#include "Lumo/Internal/TimeList.h"
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
  EXPECT_EQ(
      log,
      "`-[TarnLumoAdSequenceBuilder buildAdSequences]` may only be called once, as doing so mutates its "
      "internal state (and possibly that of its TarnLumoAdBuilders)");
  TarnLumoAdSequencesBuilder empty(seconds(100), builder.numberFormatter());
  EXPECT_THAT(empty.buildAdSequences(), Optional(IsEmpty()));
  EXPECT_FALSE(empty.buildAdSequences());
}

TEST(ValueReader, ReadsTheIntegerThatATextBeginsWith) {
  EXPECT_EQ(tarn::leadingInteger(" \n+42px"), 42);
  EXPECT_EQ(tarn::leadingInteger("-7.9"), -7);
  EXPECT_EQ(tarn::leadingInteger("99999999999999999999"), INT64_MAX);
  EXPECT_EQ(tarn::leadingInteger("-99999999999999999999"), INT64_MIN);
  for (const char* text : {"", "-", "+-1", "x1", "- 1"})
    EXPECT_EQ(tarn::leadingInteger(text), std::nullopt) << text;
}

// The other times are asked for by the timeline's own tests.
TEST(TimeListTest, FindsTimesBeyondWhatItsTicksCanHold) {
  const CMTime times[] = {CMTimeMake(INT64_MIN, 600), CMTimeMake(-1, 1), CMTimeMake(INT64_MAX, 600)};
  tarn::TimeList list;
  for (const CMTime& time : times) list.add(time);
  list.close();
  for (const CMTime& time : {CMTimeMake(INT64_MIN, 1), CMTimeMake(INT64_MAX, 1), CMTimeMake(INT64_MIN, 600),
                             CMTimeMake(INT64_MAX, 600), CMTimeMake(-601, 601), CMTimeMake(-602, 601)}) {
    SCOPED_TRACE(CMTimeCopyDescription(time));
    const auto notEarlier = std::lower_bound(std::begin(times), std::end(times), time) - times;
    const auto later = std::upper_bound(std::begin(times), std::end(times), time) - times;
    EXPECT_EQ(list.firstNotEarlier(time, 0, 3), static_cast<std::size_t>(notEarlier));
    EXPECT_EQ(list.firstLater(time, 0, 3), static_cast<std::size_t>(later));
  }
}

}  // namespace
