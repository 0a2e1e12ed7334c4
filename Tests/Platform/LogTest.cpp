#include "Platform/Log.h"

#include <gmock/gmock.h>

using namespace tarn;
using namespace testing;

static auto collectInto(std::vector<std::string>& lines) {
  return [&lines](std::string_view line) { lines.emplace_back(line); };
}

TEST(LogTest, SendsLinesToTheNewestInstalledSink) {
  std::vector<std::string> outer;
  std::vector<std::string> inner;
  std::optional<Token> outerToken = installLogSink(collectInto(outer));
  std::optional<Token> innerToken = installLogSink(collectInto(inner));
  writeLogLine("1");
  outerToken.reset();
  writeLogLine("2");
  outerToken = installLogSink(collectInto(outer));
  writeLogLine("3");
  outerToken.reset();
  writeLogLine("4");
  innerToken.reset();
  EXPECT_THAT(inner, ElementsAre("1", "2", "4"));
  EXPECT_THAT(outer, ElementsAre("3"));
}

TEST(LogTest, WritesToStandardErrorWhenASinkLogsThrowsOrUninstallsItself) {
  testing::internal::CaptureStderr();
  Token token;
  token = installLogSink([&](std::string_view line) {
    writeLogLine("from the sink: " + std::string(line));
    token.reset();
    throw 1;
  });
  EXPECT_ANY_THROW(writeLogLine("a"));
  writeLogLine("100 %s of %@\nand more");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "from the sink: a\n100 %s of %@\nand more\n");
}

TEST(LogTest, WritesHostLinesUpToTheLevel) {
  std::vector<std::string> lines;
  const auto token = installLogSink(collectInto(lines));
  MHLog(1, "warning");
  MHLog(2, "notice");
  MHLogSetLevel(5);
  EXPECT_TRUE(MHLogIsEnabled(5));
  MHLog(5, "raw");
  MHLog(6, "beyond");
  MHLogSetLevel(1);
  EXPECT_FALSE(MHLogIsEnabled(2));
  EXPECT_THAT(lines, ElementsAre("warning", "raw"));
}
