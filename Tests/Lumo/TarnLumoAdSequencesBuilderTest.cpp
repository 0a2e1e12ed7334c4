#include "Lumo/Internal/TarnLumoAdSequencesBuilder.h"

#include <gmock/gmock.h>

#include "Platform/Log.h"
#include "Support/TimePrinter.h"

namespace {

using namespace tarn::test;
using namespace testing;

TEST(TarnLumoAdSequencesBuilderTest, BuildsOnce) {
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

}  // namespace
