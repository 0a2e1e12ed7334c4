#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "KyrProcess.h"

namespace tarn::test {
namespace {

using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const std::string kDocument = documentPath("worked.vmap");

/// A record as a short text: what a table row can hold.
std::string shortText(const nlohmann::json& record) {
  const auto text = [](const nlohmann::json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
  };
  const auto kind = record.at("kind").get<std::string>();
  if (kind == "event") {
    return text(record.at("type")) + " " + text(record.at("ad")) + " " + text(record.at("break")) + " " +
           text(record.at("progress"));
  }
  if (kind == "contentTime") return "contentTime " + text(record.at("value"));
  if (kind == "beacon") {
    const auto url = record.at("url").get<std::string>();
    return "beacon " + url.substr(std::string("http://beacons.example/").size());
  }
  if (kind == "absolute" || kind == "content") {
    return text(record.at("absolute")) + (kind == "absolute" ? " -> " : " <- ") + text(record.at("content"));
  }
  if (kind == "path") {
    return text(record.at("absolute")) + " is " + text(record.at("logical")) + " " + text(record.at("ad")) +
           " " + text(record.at("adSequence"));
  }
  return kind + " " + text(record.at("ranges"));
}

struct Row {
  const char* name;
  const char* input;
  /// What the last line of the input brings about.
  std::vector<std::string> records;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

class TraceRowTest : public ::testing::TestWithParam<Row> {};

TEST_P(TraceRowTest, LastLineCausesTheseRecords) {
  const auto outcome = runKyr({"trace", kDocument, "--json"}, GetParam().input);
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const std::string input = GetParam().input;
  const auto lastLine = std::count(input.begin(), input.end(), '\n') + 1;
  std::vector<std::string> records;
  std::istringstream lines(outcome.out);
  for (std::string line; std::getline(lines, line);) {
    const auto record = nlohmann::json::parse(line);
    if (record.at("line").get<std::ptrdiff_t>() == lastLine) records.push_back(shortText(record));
  }
  EXPECT_THAT(records, ElementsAreArray(GetParam().records));
}

// 0        15       30                330      360                660
// |  ad-1  |  ad-2  |     content     |  ad-3  |     content      |
INSTANTIATE_TEST_SUITE_P(
    Tracker, TraceRowTest,
    ::testing::Values(
        Row{"FirstUpdateMayLandInAnAd",
            "time 2",
            {"EnterAdSequence null 0 null", "EnterAd ad-1 0 null", "beacon ad-1/impression",
             "AdProgress ad-1 0 2", "beacon ad-1/creativeView"}},
        Row{"SmallStepsSendTheEventsBetween", "time 0\ntime 1", {"AdProgress ad-1 0 1", "beacon ad-1/start"}},
        Row{"AStepOfOneAndAHalfSecondsStillSends",
            "time 3\ntime 4.5",
            {"AdProgress ad-1 0 4.5", "beacon ad-1/firstQuartile?cb=%5BCACHEBUSTING%5D"}},
        Row{"ALongerStepSendsNone", "time 3\ntime 4.6", {"AdProgress ad-1 0 4.6"}},
        Row{"NextAdOfTheBreak",
            "time 14\ntime 15",
            {"ExitAd ad-1 0 null", "beacon ad-1/complete", "EnterAd ad-2 0 null", "beacon ad-2/impression",
             "AdProgress ad-2 0 0"}},
        Row{"BreakIntoContent",
            "time 29\ntime 30.5",
            {"ExitAd ad-2 0 null", "ExitAdSequence null 0 null", "contentTime 0.5"}},
        Row{"ExactEndOfABreakCountsItsLastAdAsContent",
            "time 29\ntime 30",
            {"ExitAd ad-2 0 null", "ExitAdSequence null 0 null", "contentTime 15"}},
        Row{"EqualContentTimesAreAnnouncedAgain", "time 100\ntime 100", {"contentTime 70"}},
        Row{"BackwardInAnAdIsIgnored", "time 10\ntime 9", {}},
        Row{"FiveSecondsBackIntoAnAdCount",
            "time 32\ntime 27",
            {"EnterAdSequence null 0 null", "EnterAd ad-2 0 null", "beacon ad-2/impression",
             "AdProgress ad-2 0 12"}},
        Row{"LessThanFiveSecondsBackIntoAnAdIsIgnored", "time 32\ntime 27.1", {}},
        Row{"SuspendedUpdatesAreIgnored", "time 100\nsuspend yes\ntime 335", {}},
        Row{"TheFirstUpdateCountsThoughSuspended", "suspend yes\ntime 100", {"contentTime 70"}},
        Row{"InvalidTimesAreIgnored", "time 100\ntime invalid", {}},
        Row{"ImpressionIsDueAtItsStreamPosition", "time 69\ntime 70\ntime 71", {"contentTime 41"}},
        Row{"ImpressionFollowsTheContentTimeThatPassesIt",
            "time 69\ntime 70",
            {"contentTime 40", "beacon content/10"}}),
    [](const auto& test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Questions, TraceRowTest,
    ::testing::Values(
        Row{"AbsoluteInsideABreak", "absolute 345", {"345 -> 300"}},
        Row{"AbsoluteAtTheFirstFrame", "absolute 30", {"30 -> 0"}},
        Row{"AbsoluteBeyondTheEnd", "absolute 700", {"700 -> 600"}},
        Row{"ContentAtABreak", "content 300", {"360 <- 300"}},
        Row{"ContentAtTheEnd", "content 600", {"660 <- 600"}},
        Row{"ContentBehindTheEnd", "content 601", {"invalid <- 601"}},
        Row{"ContentBeforeTheStart", "content -1", {"660 <- -1"}},
        Row{"PathInAnAd", "path 345", {"345 is 15 ad-3 1"}},
        Row{"PathBetweenTwoAds", "path 15", {"15 is 0 ad-2 0"}},
        Row{"PathAtABreaksEnd", "path 360", {"360 is 330 null null"}},
        Row{"PathOfNoTime", "path invalid", {"invalid is invalid null null"}},
        Row{"PathOfInfinity", "path +infinity", {"+infinity is +infinity null null"}},
        Row{"TimesAreRoundedToTicks", "absolute 100.001", {"100.00166666666667 -> 70.00166666666667"}},
        Row{"SeekableRangesBeginAtZero", "seekable 10+20 40+0", {"seekable [[0,0],[0,10]]"}},
        Row{"LoadedRanges", "\n# a comment\n loaded\t10+35 \r", {"loaded [[0,15]]"}},
        Row{"EmptyRanges", "seekable 0+50\nseekable empty", {"seekable []"}},
        Row{"EmptyRangesAgain", "seekable empty\nseekable empty", {}},
        Row{"NoRanges", "loaded 0+50\nloaded none", {"loaded null"}}),
    [](const auto& test) { return test.param.name; });

TEST(TraceTest, JsonRecordsAreTheDocumentedOnes) {
  const ScratchFolder folder;
  const auto log = folder.write("session.log", golden("worked.trace.input"));
  const auto outcome = runKyr({"trace", kDocument, "--input", log, "--json"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, golden("worked.trace.jsonl"));
  EXPECT_EQ(runKyr({"trace", kDocument, "--input", log}).out, golden("worked.trace.txt"));
}

TEST(TraceTest, WrongLinesNameTheFileTheLineAndWhatWasExpected) {
  struct Wrong {
    const char* line;
    const char* complaint;
  };
  const Wrong rows[] = {
      {"tine 5", "unknown command 'tine'; expected time"},
      {"time", "expected 'time T'"},
      {"time 1 2", "expected 'time T'"},
      {"time 5s", "expected 'time T'"},
      {"time nan", "expected 'time T'"},
      {"time 1e999", "expected 'time T'"},
      {"suspend maybe", "expected 'suspend yes' or 'suspend no'"},
      {"seekable", "expected 'seekable S+D ...'"},
      {"seekable 1-2", "expected 'seekable S+D ...'"},
      {"seekable 1+2 empty", "expected 'seekable S+D ...'"},
      {"loaded 1+", "expected 'loaded S+D ...'"},
      {"path \x1b[2J", "expected 'path T'"},
      {"\x1b[2J", "unknown command '\xEF\xBF\xBD[2J'"},
  };
  const ScratchFolder folder;
  for (const auto& row : rows) {
    const auto log =
        folder.write("session.log", std::string("# head\ntime 100\n") + row.line + "\ntime 101\n");
    const auto outcome = runKyr({"trace", kDocument, "--input", log, "--json"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("session.log:3: " + std::string(row.complaint)));
    EXPECT_EQ(outcome.out, "{\"line\":2,\"kind\":\"contentTime\",\"value\":70}\n");
  }
  EXPECT_THAT(runKyr({"trace", kDocument}, "stop").err,
              HasSubstr("(standard input):1: unknown command 'stop'"));
  const auto endless = runKyr({"trace", kDocument}, std::string(2'000'000, 'x'));
  EXPECT_EQ(endless.status, 2);
  EXPECT_THAT(endless.err, EndsWith(":1: the line is longer than 1048576 bytes\n"));
}

TEST(TraceTest, AnEmptyLogPrintsNothing) {
  const auto outcome = runKyr({"trace", kDocument, "--json"}, "\n  \n# nothing\n");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, IsEmpty());
}

}  // namespace
}  // namespace tarn::test
