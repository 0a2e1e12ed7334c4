#include "Lumo/TarnLumoAdSequencesBuilder.h"

#include <gmock/gmock.h>

#include "Lumo/TarnLumoValueReader.h"
#include "Platform/Log.h"
#include "Support/TimePrinter.h"

namespace {

using namespace tarn::test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

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

}  // namespace
