#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "KyrProcess.h"
#include "Support/LoopbackServer.h"

namespace tarn::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

bool isOneLine(const std::string& text) {
  return std::count(text.begin(), text.end(), '\n') == 1 && text.back() == '\n';
}

struct WrongCall {
  const char* name;
  std::vector<std::string> arguments;
  const char* complaint;
};

void PrintTo(const WrongCall& call, std::ostream* out) {
  *out << call.name;
}

class WrongCallTest : public ::testing::TestWithParam<WrongCall> {};

TEST_P(WrongCallTest, EndsWithStatusTwoAndOneLineThatSaysWhy) {
  const auto outcome = runKyr(GetParam().arguments);
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.out, IsEmpty());
  EXPECT_THAT(outcome.err, AllOf(StartsWith("kyr: "), HasSubstr(GetParam().complaint)));
  EXPECT_TRUE(isOneLine(outcome.err)) << outcome.err;
}

const std::string kDocument = documentPath("worked.vmap");

INSTANTIATE_TEST_SUITE_P(
    Calls, WrongCallTest,
    ::testing::Values(
        WrongCall{"noCommand", {}, "ubcommand"},
        WrongCall{"unknownCommand", {"watch"}, "unknown command 'watch'"},
        WrongCall{"noSource", {"inspect"}, "SOURCE"},
        WrongCall{"unknownOption", {"inspect", kDocument, "--xml"}, "--xml"},
        WrongCall{"secondSource", {"inspect", kDocument, "other"}, "other"},
        WrongCall{"noFile", {"inspect", "/no/such/file"}, "/no/such/file: No such file or directory"},
        WrongCall{"noFileInJson", {"inspect", "--json", "/no/such/file"}, "No such file or directory"},
        WrongCall{"folder", {"inspect", "/"}, "/: Is a directory"},
        WrongCall{"noURL", {"inspect", "http://"}, "http://"},
        WrongCall{"headerWithoutColon", {"inspect", kDocument, "--header", "X-Token"}, "'Name: value'"},
        WrongCall{"headerWithoutName", {"inspect", kDocument, "--header", ": v"}, "'Name: value'"},
        WrongCall{"headerWithLineBreak", {"inspect", kDocument, "--header", "A: b\r\nC: d"}, "'Name: value'"},
        WrongCall{"pictureNowhere", {"inspect", kDocument, "--svg", "/no/such/x.svg"}, "/no/such/x.svg"},
        WrongCall{"inputNowhere", {"trace", kDocument, "--input", "/no/such/log"}, "/no/such/log"},
        WrongCall{"scriptNowhere", {"simulate", kDocument, "--script", "/no/such/script"}, "/no/such/script"},
        WrongCall{
            "simulateNoFile", {"simulate", "/no/such/file"}, "/no/such/file: No such file or directory"},
        WrongCall{"tickOfNothing", {"simulate", kDocument, "--tick", "0"}, "--tick: '0'"},
        WrongCall{"tickOfNoNumber", {"simulate", kDocument, "--tick", "nan"}, "--tick: 'nan'"},
        WrongCall{"negativeLatency", {"simulate", kDocument, "--seek-latency", "-1"}, "--seek-latency: '-1'"},
        WrongCall{"endlessItem", {"simulate", kDocument, "--item-duration", "inf"}, "--item-duration: 'inf'"},
        WrongCall{"noExpression", {"select", kDocument}, "xpath"},
        WrongCall{"twoExpressions", {"select", kDocument, "--xpath", "/", "--css", "a"}, "xpath"}),
    [](const auto& test) { return test.param.name; });

TEST(CallTest, HelpAndVersionGoToStandardOutput) {
  for (const auto& arguments : std::vector<std::vector<std::string>>{{"--help"},
                                                                     {"inspect", "--help"},
                                                                     {"trace", "--help"},
                                                                     {"simulate", "--help"},
                                                                     {"select", "--help"},
                                                                     {"--version"}}) {
    const auto outcome = runKyr(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_THAT(outcome.out, ::testing::Not(IsEmpty()));
    EXPECT_THAT(outcome.err, IsEmpty());
  }
}

TEST(CallTest, OutputThatCannotBeWrittenIsAFailure) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "needs /dev/full";
  const auto outcome = runKyr({"inspect", kDocument, "--svg", "/dev/full"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("/dev/full: No space left on device"));
}

TEST(CallTest, HeadersReachTheServerInOrder) {
  LoopbackServer server;
  server.answer("/vmap", {.body = readFile(kDocument), .headers = {}});
  const auto outcome = runKyr({"inspect", "--header", "X-One: 1", server.url("/vmap").absoluteString(),
                               "--header", "X-Two:  a: b ", "--header", "X-One: 2", "--json"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, golden("worked.inspect.json"));
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_THAT(requests[0].values("x-one"), ElementsAre("1", "2"));
  EXPECT_THAT(requests[0].values("x-two"), ElementsAre("a: b"));
}

/// The domains and codes of the error that a failed call printed, from the outside in.
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

TEST(CallTest, DocumentsThatDoNotLoadAreStatusOneWithTheWholeErrorInJson) {
  LoopbackServer server;
  server.answer("/broken", {.status = 404, .body = "not found", .headers = {}});
  const ScratchFolder folder;
  const auto badOffset = folder.write("offset.vmap", vmap(adBreak("10%", linear("00:00:30"))));
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
