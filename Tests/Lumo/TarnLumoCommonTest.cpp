#include "Lumo/TarnLumoCommon.h"

#include <gmock/gmock.h>

#include <sstream>

#include "Platform/Log.h"
#include "Support/TimePrinter.h"

namespace {

using namespace tarn::test;
using namespace testing;

constexpr const char* kNoCharacters =
    "` (must contain only characters from the character set `[^0123456789.:+]`).";
constexpr const char* kNotThree = "` (must contain only hours, minutes, and seconds, separated by `:`).";
constexpr const char* kMissing = "` (missing hours, minutes, or seconds).";

std::string durationLine(const std::string& string, const char* reason) {
  return "Could not parse duration `" + string + reason;
}

class TarnLumoCommonTest : public Test {
 protected:
  ~TarnLumoCommonTest() override { TarnLumoLogConfigure(TarnLumoLogConfigDebug); }

  /// The lines logged since the last call.
  std::vector<std::string> takeLines() { return std::exchange(lines_, {}); }

 private:
  std::vector<std::string> lines_;
  tarn::Token sink_ = tarn::installLogSink([this](std::string_view line) { lines_.emplace_back(line); });
};

TEST_F(TarnLumoCommonTest, ReadsDurationsInTicksOfSixHundred) {
  // Hours and minutes count whole; no number at all counts as 0.
  std::istringstream table(
      "00:00:30 18000 00:00:30.000 18000 00:01:05.5 39300 01:00:00 2160000 99:99:99 217463400 00:75:00 "
      "2700000 "
      "00:00:10.000+02:00 6000 00:00:10+:+:+ 6000 00:00:.5 300 00:00:05. 3000 00:00:00.001 1 00:00:120 72000 "
      ".5:1.:02 37200 ..:..:1.2.3 0 00:00:.. 0");
  CMTimeValue ticks = 0;
  for (std::string string; table >> string >> ticks;)
    EXPECT_THAT(TarnLumoDurationFromString(string),
                AllOf(TimeEq(CMTimeMake(ticks, 600)), Field(&CMTime::timescale, 600)))
        << string;
  EXPECT_THAT(takeLines(), IsEmpty());
}

TEST_F(TarnLumoCommonTest, SaysWhyAStringIsNoDuration) {
  const std::pair<const char*, std::vector<std::string>> table[] = {
      {kNoCharacters, {"00:00:3O", "-00:00:30", "00:00:30+0200Z", "%@%s", "00:00:3\xc3\xa9"}},
      {kNotThree, {"00:30", "00:00:00:30", "00:30+00:00", "+00:00:30", ""}},
      {kMissing, {"0:00:30", "00:0:30", "000:00:30", "00:00:3", "::+1"}}};
  for (const auto& [reason, strings] : table) {
    for (const auto& string : strings) {
      const auto named = reason == kNoCharacters ? string : string.substr(0, string.find('+'));
      EXPECT_THAT(TarnLumoDurationFromString(string), IsInvalidTime()) << string;
      EXPECT_THAT(takeLines(), ElementsAre(durationLine(named, reason)));
    }
  }
  EXPECT_THAT(TarnLumoDurationFromString(std::nullopt), IsInvalidTime());
  EXPECT_THAT(takeLines(), ElementsAre("Could not parse duration `(null)` (nil duration parameter)."));
}

TEST_F(TarnLumoCommonTest, ReadsTheOffsetsOfAdBreaks) {
  for (const char* string : {"start", "Start", "START"})
    EXPECT_THAT(TarnLumoAdBreakTimeOffsetFromString(string), IdenticalTo(kCMTimeZero));
  EXPECT_THAT(TarnLumoAdBreakTimeOffsetFromString("END"), IdenticalTo(kCMTimePositiveInfinity));
  EXPECT_THAT(TarnLumoAdBreakTimeOffsetFromString("00:10:00.000"), IdenticalTo(CMTimeMake(360000, 600)));
  EXPECT_THAT(takeLines(), IsEmpty());
  for (const char* string : {"10%", "#1", "START ", "starts", "xtart", "en", "and"}) {
    EXPECT_THAT(TarnLumoAdBreakTimeOffsetFromString(string), IsInvalidTime()) << string;
    EXPECT_THAT(takeLines(), ElementsAre(durationLine(string, kNoCharacters)));
  }
}

TEST_F(TarnLumoCommonTest, ReadsSkipOffsets) {
  const std::pair<const char*, CMTime> table[] = {
      {"50%", CMTimeMake(9000, 600)},      {"10%", seconds(3)},    {"150%", CMTimeMake(27000, 600)},
      {"00:00:05", CMTimeMake(3000, 600)}, {"start", kCMTimeZero}, {"end", kCMTimePositiveInfinity}};
  for (const auto& [string, offset] : table) {
    EXPECT_THAT(TarnLumoSkipOffsetFromStringWithDuration(string, CMTimeMake(18000, 600)), TimeEq(offset))
        << string;
  }
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
  const auto together = TarnLumoCMTimesWithinTolerance;
  const auto ms = [](CMTimeValue value) { return CMTimeMake(value, 1000); };
  EXPECT_FALSE(together(ms(10000), ms(10100), ms(100)) || together(ms(10100), ms(10000), ms(100)));
  EXPECT_FALSE(together(kCMTimePositiveInfinity, ms(1), ms(1000)));
  EXPECT_TRUE(together(ms(10000), ms(10100), ms(101)) &&
              together(ms(10100), ms(10000), CMTimeMake(120, 600)));
  for (const CMTime& time : {CMTimeMake(1, 2), kCMTimeInvalid, kCMTimePositiveInfinity})
    EXPECT_TRUE(together(time, time, kCMTimeZero));
}

TEST_F(TarnLumoCommonTest, FillsPlaceholdersOnce) {
  TarnLumoLog("%@ of %@, %d%% %", {"%@", std::nullopt});
  EXPECT_THAT(takeLines(), ElementsAre("%@ of (null), %d% %"));
  TarnLumoLog("%@ and %@", {"one"});
  EXPECT_THAT(takeLines(), ElementsAre("one and %@"));
}

TEST_F(TarnLumoCommonTest, SwitchesItsLog) {
  const auto logsAfter = [this](std::int64_t config) {
    TarnLumoLogConfigure(config);
    TarnLumoLog("line");
    return !takeLines().empty();
  };
  for (const std::int64_t ignored : {3, -1, 1 << 20}) EXPECT_TRUE(logsAfter(ignored)) << ignored;
  EXPECT_FALSE(logsAfter(TarnLumoLogConfigDisabled));
  EXPECT_FALSE(logsAfter(3));
  EXPECT_TRUE(logsAfter(TarnLumoLogConfigError));
}

}  // namespace
