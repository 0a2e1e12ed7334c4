#include <gmock/gmock.h>

#include "KyrProcess.h"

namespace tarn::test {
namespace {

using namespace ::testing;

const std::string kDocument = documentPath("worked.vmap");

TEST(TraceTest, PrintsTheDocumentedRecords) {
  const ScratchFolder folder;
  const auto log = folder.write("session.log", golden("worked.trace.input"));
  const auto outcome = runKyr({"trace", kDocument, "--input", log, "--json"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, golden("worked.trace.jsonl"));
  EXPECT_EQ(runKyr({"trace", kDocument, "--input", log}).out, golden("worked.trace.txt"));
}

// Lines that the example log above does not have.
TEST(TraceTest, ReadsTimesAndRangesOfEveryKind) {
  const std::pair<const char*, const char*> rows[] = {
      {"path 345", R"({"line":1,"kind":"path","absolute":345,"logical":15,"ad":"ad-3","adSequence":1})"},
      {"path invalid",
       R"({"line":1,"kind":"path","absolute":"invalid","logical":"invalid","ad":null,"adSequence":null})"},
      {"path +infinity",
       R"({"line":1,"kind":"path","absolute":"+infinity","logical":"+infinity","ad":null,"adSequence":null})"},
      {"absolute 100.001",
       R"({"line":1,"kind":"absolute","absolute":100.00166666666667,"content":70.00166666666667})"},
      {"content -1", R"({"line":1,"kind":"content","content":-1,"absolute":660})"},
      {"time invalid", ""},
      {"seekable 10+20 40+0", R"({"line":1,"kind":"seekable","ranges":[[0,0],[0,10]]})"},
      {"\n# a comment\n loaded\t10+35 \r", R"({"line":3,"kind":"loaded","ranges":[[0,15]]})"},
      {"seekable empty\nseekable empty", R"({"line":1,"kind":"seekable","ranges":[]})"},
      {"\n  \n# nothing\n", ""}};
  for (const auto& [input, expected] : rows) {
    const auto outcome = runKyr({"trace", kDocument, "--json"}, input);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, std::string(expected) + (*expected != '\0' ? "\n" : "")) << input;
  }
  const auto none = runKyr({"trace", kDocument, "--json"}, "loaded 0+50\nloaded none");
  EXPECT_THAT(none.out, EndsWith("{\"line\":2,\"kind\":\"loaded\",\"ranges\":null}\n"));
}

TEST(TraceTest, ReportsAWrongLineWithFileLineAndExpectation) {
  const std::pair<const char*, std::vector<const char*>> rows[] = {
      {"unknown command 'tine'; expected time", {"tine 5"}},
      {"expected 'time T'", {"time", "time 1 2", "time 5s", "time nan", "time 1e999"}},
      {"expected 'suspend yes' or 'suspend no'", {"suspend maybe"}},
      {"expected 'seekable S+D ...'", {"seekable", "seekable 1-2", "seekable 1+2 empty"}},
      {"expected 'loaded S+D ...'", {"loaded 1+"}},
      {"expected 'path T'", {"path \x1b[2J"}},
      {"unknown command '\xEF\xBF\xBD[2J'", {"\x1b[2J"}}};
  const ScratchFolder folder;
  for (const auto& [complaint, lines] : rows) {
    for (const char* line : lines) {
      const auto log = folder.write("session.log", std::string("# head\ntime 100\n") + line + "\ntime 101\n");
      const auto outcome = runKyr({"trace", kDocument, "--input", log, "--json"});
      EXPECT_EQ(outcome.status, 2);
      EXPECT_THAT(outcome.err, HasSubstr("session.log:3: " + std::string(complaint)));
      EXPECT_EQ(outcome.out, "{\"line\":2,\"kind\":\"contentTime\",\"value\":70}\n");
    }
  }
  EXPECT_THAT(runKyr({"trace", kDocument}, "stop").err,
              HasSubstr("(standard input):1: unknown command 'stop'"));
  const auto endless = runKyr({"trace", kDocument}, std::string(2'000'000, 'x'));
  EXPECT_EQ(endless.status, 2);
  EXPECT_THAT(endless.err, EndsWith(":1: the line is longer than 1048576 bytes\n"));
}

}  // namespace
}  // namespace tarn::test
