#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "KyrProcess.h"
#include "SessionRecords.h"

namespace tarn::test {
namespace {

using namespace ::testing;

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

// 0        15       30                330      360                660
// |  ad-1  |  ad-2  |     content     |  ad-3  |     content      |
TEST(TraceTest, TheLastLineCausesTheseRecords) {
  struct Row {
    const char* name;
    std::string input;
    std::vector<std::string> records;
  };
  const Row rows[] = {
      {"the first update lands in an ad",
       "time 2",
       {"EnterAdSequence null 0 null", "EnterAd ad-1 0 null", "beacon ad-1/impression", "AdProgress ad-1 0 2",
        "beacon ad-1/creativeView"}},
      {"a step of a second and a half",
       "time 3\ntime 4.5",
       {"AdProgress ad-1 0 4.5", "beacon ad-1/firstQuartile?cb=%5BCACHEBUSTING%5D"}},
      {"a longer step", "time 3\ntime 4.6", {"AdProgress ad-1 0 4.6"}},
      {"the next ad of the break",
       "time 14\ntime 15",
       {"ExitAd ad-1 0 null", "beacon ad-1/complete", "EnterAd ad-2 0 null", "beacon ad-2/impression",
        "AdProgress ad-2 0 0"}},
      {"the exact end of a break",
       "time 29\ntime 30",
       {"ExitAd ad-2 0 null", "ExitAdSequence null 0 null", "contentTime 15"}},
      {"suspended", "time 100\nsuspend yes\ntime 335", {}},
      {"the first update though suspended", "suspend yes\ntime 100", {"contentTime 70"}},
      {"an invalid time", "time 100\ntime invalid", {}},
      {"an impression at its place", "time 69\ntime 70", {"contentTime 40", "beacon content/10"}},
      {"absolute", "absolute 345", {"345 -> 300"}},
      {"content", "content 300", {"360 <- 300"}},
      {"content behind the end", "content 601", {"invalid <- 601"}},
      {"path in an ad", "path 345", {"345 is 15 ad-3 1"}},
      {"path at a break's end", "path 360", {"360 is 330 null null"}},
      {"path of no time", "path invalid", {"invalid is invalid null null"}},
      {"path of infinity", "path +infinity", {"+infinity is +infinity null null"}},
      {"times rounded to ticks", "absolute 100.001", {"100.00166666666667 -> 70.00166666666667"}},
      {"seekable ranges", "seekable 10+20 40+0", {"seekable [[0,0],[0,10]]"}},
      {"loaded ranges between white space", "\n# a comment\n loaded\t10+35 \r", {"loaded [[0,15]]"}},
      {"empty ranges", "seekable 0+50\nseekable empty", {"seekable []"}},
      {"empty ranges again", "seekable empty\nseekable empty", {}},
      {"no ranges", "loaded 0+50\nloaded none", {"loaded null"}},
      {"nothing", "\n  \n# nothing\n", {}}};
  for (const auto& [name, input, expected] : rows) {
    SCOPED_TRACE(name);
    const auto outcome = runKyr({"trace", kDocument, "--json"}, input);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const auto lastLine = std::count(input.begin(), input.end(), '\n') + 1;
    std::vector<std::string> records;
    for (const auto& record : parseRecords(outcome.out)) {
      if (record.at("line").get<std::ptrdiff_t>() == lastLine) records.push_back(shortText(record));
    }
    EXPECT_EQ(records, expected);
  }
}

TEST(TraceTest, JsonRecordsAreTheDocumentedOnes) {
  const ScratchFolder folder;
  const auto log = folder.write("session.log", golden("worked.trace.input"));
  const auto outcome = runKyr({"trace", kDocument, "--input", log, "--json"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, golden("worked.trace.jsonl"));
  EXPECT_EQ(runKyr({"trace", kDocument, "--input", log}).out, golden("worked.trace.txt"));
}

TEST(TraceTest, WrongLinesNameTheFileTheLineAndWhatWasExpected) {
  const std::pair<const char*, const char*> rows[] = {
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
  for (const auto& [line, complaint] : rows) {
    const auto log = folder.write("session.log", std::string("# head\ntime 100\n") + line + "\ntime 101\n");
    const auto outcome = runKyr({"trace", kDocument, "--input", log, "--json"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.err, HasSubstr("session.log:3: " + std::string(complaint)));
    EXPECT_EQ(outcome.out, "{\"line\":2,\"kind\":\"contentTime\",\"value\":70}\n");
  }
  EXPECT_THAT(runKyr({"trace", kDocument}, "stop").err,
              HasSubstr("(standard input):1: unknown command 'stop'"));
  const auto endless = runKyr({"trace", kDocument}, std::string(2'000'000, 'x'));
  EXPECT_EQ(endless.status, 2);
  EXPECT_THAT(endless.err, EndsWith(":1: the line is longer than 1048576 bytes\n"));
}

}  // namespace
}  // namespace tarn::test
