#include "Lumo/TarnLumoCommon.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "Platform/Log.h"
#include "Support/TimePrinter.h"

namespace {

using tarn::test::IdenticalTo;
using tarn::test::IsInvalidTime;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kNoCharacters =
    "` (must contain only characters from the character set `[^0123456789.:+]`).";
constexpr const char* kNotThree = "` (must contain only hours, minutes, and seconds, separated by `:`).";
constexpr const char* kMissing = "` (missing hours, minutes, or seconds).";

std::string durationLine(const std::string& string, const char* reason) {
  return "Could not parse duration `" + string + reason;
}

class TarnLumoCommonTest : public testing::Test {
 protected:
  ~TarnLumoCommonTest() override { TarnLumoLogConfigure(TarnLumoLogConfigDebug); }

  /// The lines logged since the last call.
  std::vector<std::string> takeLines() { return std::exchange(lines_, {}); }

 private:
  std::vector<std::string> lines_;
  tarn::Token sink_ = tarn::installLogSink([this](std::string_view line) { lines_.emplace_back(line); });
};

struct TimeRow {
  const char* string;
  CMTimeValue ticks;
};

TEST_F(TarnLumoCommonTest, ReadsDurationsInTicksOfSixHundred) {
  for (const auto& row : std::vector<TimeRow>{
           {"00:00:30", 18000},
           {"00:00:30.000", 18000},
           {"00:01:05.5", 39300},
           {"01:00:00", 2160000},
           {"99:99:99", (99 * 3600 + 99 * 60 + 99) * 600},
           {"00:75:00", 75 * 60 * 600},
           {"00:00:10.000+02:00", 6000},
           {"00:00:10+:+:+", 6000},
           {"00:00:.5", 300},
           {"00:00:05.", 3000},
           {"00:00:00.001", 1},
           {"00:00:120", 72000},
           {".5:1.:02", 60 * 600 + 1200},  // whole hours and minutes only
           {"..:..:1.2.3", 0},             // no number at all counts as 0
           {"00:00:..", 0},
       }) {
    EXPECT_EQ(TarnLumoDurationFromString(row.string).value, row.ticks) << row.string;
    EXPECT_EQ(TarnLumoDurationFromString(row.string).timescale, 600) << row.string;
  }
  EXPECT_THAT(takeLines(), IsEmpty());
}

TEST_F(TarnLumoCommonTest, SaysWhyAStringIsNoDuration) {
  struct Row {
    std::string string;
    std::string line;
  };
  for (const auto& row : std::vector<Row>{
           {"00:00:3O", durationLine("00:00:3O", kNoCharacters)},
           {"-00:00:30", durationLine("-00:00:30", kNoCharacters)},
           {"00:00:30+0200Z", durationLine("00:00:30+0200Z", kNoCharacters)},
           {"%@%s", durationLine("%@%s", kNoCharacters)},
           {"00:00:3\xc3\xa9", durationLine("00:00:3\xc3\xa9", kNoCharacters)},
           {"00:30", durationLine("00:30", kNotThree)},
           {"00:00:00:30", durationLine("00:00:00:30", kNotThree)},
           {"00:30+00:00", durationLine("00:30", kNotThree)},
           {"+00:00:30", durationLine("", kNotThree)},
           {"", durationLine("", kNotThree)},
           {"0:00:30", durationLine("0:00:30", kMissing)},
           {"00:0:30", durationLine("00:0:30", kMissing)},
           {"000:00:30", durationLine("000:00:30", kMissing)},
           {"00:00:3", durationLine("00:00:3", kMissing)},
           {"::+1", durationLine("::", kMissing)},
       }) {
    EXPECT_THAT(TarnLumoDurationFromString(row.string), IsInvalidTime()) << row.string;
    EXPECT_THAT(takeLines(), ElementsAre(row.line));
  }
  EXPECT_THAT(TarnLumoDurationFromString(std::nullopt), IsInvalidTime());
  EXPECT_THAT(takeLines(), ElementsAre("Could not parse duration `(null)` (nil duration parameter)."));
}

TEST_F(TarnLumoCommonTest, ReadsTheOffsetsOfAdBreaks) {
  for (const char* string : {"start", "Start", "START"}) {
    EXPECT_THAT(TarnLumoAdBreakTimeOffsetFromString(string), IdenticalTo(kCMTimeZero));
  }
  EXPECT_THAT(TarnLumoAdBreakTimeOffsetFromString("END"), IdenticalTo(kCMTimePositiveInfinity));
  EXPECT_THAT(TarnLumoAdBreakTimeOffsetFromString("00:10:00.000"), IdenticalTo(CMTimeMake(360000, 600)));
  EXPECT_THAT(takeLines(), IsEmpty());
  for (const char* string : {"10%", "#1", "START ", "starts", "en"}) {
    EXPECT_THAT(TarnLumoAdBreakTimeOffsetFromString(string), IsInvalidTime()) << string;
    EXPECT_THAT(takeLines(), ElementsAre(durationLine(string, kNoCharacters)));
  }
}

TEST_F(TarnLumoCommonTest, ReadsSkipOffsets) {
  const CMTime duration = CMTimeMake(18000, 600);
  const auto offset = [&](const char* string) {
    return TarnLumoSkipOffsetFromStringWithDuration(string, duration);
  };
  EXPECT_THAT(offset("50%"), IdenticalTo(CMTimeMake(9000, 600)));
  EXPECT_THAT(offset("10%"), tarn::test::SecondsEq(3.0));
  EXPECT_THAT(offset("150%"), IdenticalTo(CMTimeMake(27000, 600)));
  EXPECT_THAT(offset("00:00:05"), IdenticalTo(CMTimeMake(3000, 600)));
  EXPECT_THAT(offset("start"), IdenticalTo(kCMTimeZero));
  EXPECT_THAT(offset("end"), IdenticalTo(kCMTimePositiveInfinity));
  EXPECT_THAT(TarnLumoSkipOffsetFromStringWithDuration("50%", kCMTimeInvalid), IsInvalidTime());
  EXPECT_THAT(takeLines(), IsEmpty());
}

TEST_F(TarnLumoCommonTest, LogsTwiceForAMalformedSkipOffset) {
  const std::string skipReason = "` (must contain only characters from the character set `%`).";
  EXPECT_THAT(TarnLumoSkipOffsetFromStringWithDuration("abc%@", kCMTimeZero), IsInvalidTime());
  EXPECT_THAT(takeLines(), ElementsAre(durationLine("abc%@", kNoCharacters),
                                       "Could not parse offset `abc%@" + skipReason));
  EXPECT_THAT(TarnLumoSkipOffsetFromStringWithDuration(std::nullopt, kCMTimeZero), IsInvalidTime());
  EXPECT_THAT(takeLines(), ElementsAre("Could not parse duration `(null)` (nil duration parameter).",
                                       "Could not parse offset `(null)" + skipReason));
}

TEST_F(TarnLumoCommonTest, HoldsTimesTogetherWithinATolerance) {
  const auto ms = [](CMTimeValue value) { return CMTimeMake(value, 1000); };
  EXPECT_FALSE(TarnLumoCMTimesWithinTolerance(ms(10000), ms(10100), ms(100)));
  EXPECT_FALSE(TarnLumoCMTimesWithinTolerance(ms(10100), ms(10000), CMTimeMake(60, 600)));
  EXPECT_TRUE(TarnLumoCMTimesWithinTolerance(ms(10000), ms(10100), ms(101)));
  EXPECT_TRUE(TarnLumoCMTimesWithinTolerance(ms(10100), ms(10000), ms(200)));
  EXPECT_TRUE(TarnLumoCMTimesWithinTolerance(CMTimeMake(1, 2), CMTimeMake(2, 4), kCMTimeZero));
  EXPECT_TRUE(TarnLumoCMTimesWithinTolerance(kCMTimeInvalid, kCMTimeInvalid, kCMTimeZero));
  EXPECT_TRUE(TarnLumoCMTimesWithinTolerance(kCMTimePositiveInfinity, kCMTimePositiveInfinity, kCMTimeZero));
  EXPECT_FALSE(TarnLumoCMTimesWithinTolerance(kCMTimePositiveInfinity, ms(1), ms(1000)));
}

TEST_F(TarnLumoCommonTest, FillsPlaceholdersOnce) {
  TarnLumoLog("%@ of %@, %d%% %", {"%@", std::nullopt});
  EXPECT_THAT(takeLines(), ElementsAre("%@ of (null), %d% %"));
  TarnLumoLog("%@ and %@", {"one"});
  EXPECT_THAT(takeLines(), ElementsAre("one and %@"));
}

TEST_F(TarnLumoCommonTest, SwitchesItsLog) {
  const auto logs = [this] {
    TarnLumoLog("line");
    return !takeLines().empty();
  };
  EXPECT_TRUE(logs());
  for (const std::int64_t ignored : {3, -1, 1 << 20}) {
    TarnLumoLogConfigure(ignored);
    EXPECT_TRUE(logs());
  }
  TarnLumoLogConfigure(TarnLumoLogConfigDisabled);
  EXPECT_FALSE(logs());
  TarnLumoLogConfigure(3);
  EXPECT_FALSE(logs());
  TarnLumoLogConfigure(TarnLumoLogConfigError);
  EXPECT_TRUE(logs());
}

}  // namespace
