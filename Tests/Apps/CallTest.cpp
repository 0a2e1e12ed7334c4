#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "KyrProcess.h"
#include "Support/LoopbackServer.h"
#include "Support/VMAPText.h"

namespace tarn::test {
namespace {

using namespace ::testing;

bool isOneLine(const std::string& text) {
  return std::count(text.begin(), text.end(), '\n') == 1 && text.back() == '\n';
}

const std::string kDocument = documentPath("worked.vmap");

TEST(CallTest, ReportsAWrongCallInOneLineWithStatusTwo) {
  const std::pair<std::vector<std::string>, const char*> calls[] = {
      {{}, "ubcommand"},
      {{"watch"}, "unknown command 'watch'"},
      {{"inspect"}, "SOURCE"},
      {{"inspect", kDocument, "--xml"}, "--xml"},
      {{"inspect", kDocument, "other"}, "other"},
      {{"inspect", "/no/such/file"}, "/no/such/file: No such file or directory"},
      {{"inspect", "/"}, "/: Is a directory"},
      {{"inspect", "http://"}, "http://"},
      {{"inspect", kDocument, "--header", "X-Token"}, "'Name: value'"},
      {{"inspect", kDocument, "--header", ": v"}, "'Name: value'"},
      {{"inspect", kDocument, "--header", "A: b\r\nC: d"}, "'Name: value'"},
      {{"inspect", kDocument, "--svg", "/no/such/x.svg"}, "/no/such/x.svg"},
      {{"trace", kDocument, "--input", "/no/such/log"}, "/no/such/log"},
      {{"simulate", kDocument, "--script", "/no/such/script"}, "/no/such/script"},
      {{"simulate", "/no/such/file"}, "/no/such/file: No such file or directory"},
      {{"simulate", kDocument, "--tick", "0"}, "--tick: '0'"},
      {{"simulate", kDocument, "--tick", "nan"}, "--tick: 'nan'"},
      {{"simulate", kDocument, "--seek-latency", "-1"}, "--seek-latency: '-1'"},
      {{"simulate", kDocument, "--item-duration", "inf"}, "--item-duration: 'inf'"},
      {{"select", kDocument}, "xpath"},
      {{"select", kDocument, "--xpath", "/", "--css", "a"}, "xpath"}};
  for (const auto& [arguments, complaint] : calls) {
    SCOPED_TRACE(PrintToString(arguments));
    const auto outcome = runKyr(arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.out, IsEmpty());
    EXPECT_THAT(outcome.err, AllOf(StartsWith("kyr: "), HasSubstr(complaint)));
    EXPECT_TRUE(isOneLine(outcome.err)) << outcome.err;
  }
}

TEST(CallTest, WritesHelpAndVersionToStandardOutput) {
  using Arguments = std::vector<std::string>;
  for (const auto& arguments :
       {Arguments{"--help"}, Arguments{"inspect", "--help"}, Arguments{"trace", "--help"},
        Arguments{"simulate", "--help"}, Arguments{"select", "--help"}, Arguments{"--version"}}) {
    const auto outcome = runKyr(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, Not(IsEmpty()));
    EXPECT_THAT(outcome.err, IsEmpty());
  }
}

TEST(CallTest, FailsWhenItsOutputCannotBeWritten) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "needs /dev/full";
  const auto outcome = runKyr({"inspect", kDocument, "--svg", "/dev/full"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("/dev/full: No space left on device"));
}

TEST(CallTest, SendsHeadersInOrderAndPrintsTheWholeTimelineAsJson) {
  LoopbackServer server;
  server.setResponse("/vmap", {.body = readFile(kDocument), .headers = {}});
  const auto outcome = runKyr({"inspect", "--header", "X-One: 1", server.url("/vmap").absoluteString(),
                               "--header", "X-Two:  a: b ", "--header", "X-One: 2", "--json"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, golden("worked.inspect.json"));
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_THAT(requests[0].values("x-one"), ElementsAre("1", "2"));
  EXPECT_THAT(requests[0].values("x-two"), ElementsAre("a: b"));
}

/// The domains and codes of the error that a failed call printed, from the outermost to its cause.
std::vector<std::string> errorChain(const Outcome& outcome) {
  std::vector<std::string> chain;
  auto error = nlohmann::json::parse(outcome.out).at("error");
  while (!error.is_null()) {
    EXPECT_TRUE(error.contains("description") && error.contains("failureReason"));
    chain.push_back(error.at("domain").get<std::string>() + " " +
                    std::to_string(error.at("code").get<int>()));
    const auto cause = error.at("underlying");
    error = cause;
  }
  return chain;
}

TEST(CallTest, EndsWithStatusOneAndTheWholeErrorInJsonForAnUnloadableDocument) {
  LoopbackServer server;
  server.setResponse("/broken", {.status = 404, .body = "not found", .headers = {}});
  const ScratchFolder folder;
  const auto badOffset = folder.write("offset.vmap", vmap(simpleBreak("10%", "00:00:30")));
  const auto tooLarge = folder.write("large.vmap", "");
  std::filesystem::resize_file(tooLarge, (std::uintmax_t{64} << 20U) + 1);

  const auto broken = runKyr({"inspect", "--json", server.url("/broken").absoluteString()});
  EXPECT_THAT(errorChain(broken),
              ElementsAre("TarnLumoErrorDomain 4011", "TarnLumoErrorDomain 4011", StartsWith("tarn.xml ")));
  const auto refused = runKyr({"trace", "--json", "http://127.0.0.1:1/"});
  EXPECT_THAT(errorChain(refused), ElementsAre("TarnLumoErrorDomain 4010", "tarn.http 3", "libcurl 7"));
  const auto offset = runKyr({"inspect", "--json", badOffset});
  EXPECT_THAT(errorChain(offset), ElementsAre("TarnLumoErrorDomain 4011"));
  EXPECT_THAT(offset.err, HasSubstr("AdBreak timeOffset `10%` could not be parsed."));
  const auto large = runKyr({"inspect", "--json", tooLarge});
  EXPECT_THAT(errorChain(large), ElementsAre("TarnLumoErrorDomain 4010", "tarn.http 7"));

  for (const auto& outcome : {broken, refused, offset, large}) {
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(isOneLine(outcome.out)) << outcome.out;
    EXPECT_TRUE(isOneLine(outcome.err)) << outcome.err;
  }
  EXPECT_THAT(runKyr({"inspect", badOffset}).out, IsEmpty());
}

}  // namespace
}  // namespace tarn::test
