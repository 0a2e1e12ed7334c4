#include <gmock/gmock.h>
#include <httplib.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "KyrProcess.h"
#include "KyrService.h"

namespace tarn::test {
namespace {

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAreArray;

std::vector<json> parseRecords(const std::string& text) {
  std::vector<json> records;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) records.push_back(json::parse(line));
  return records;
}

/// What happened, in words: "play", "EnterAd kyr-coffee", "impression".
std::vector<std::string> story(const std::vector<json>& records) {
  std::vector<std::string> words;
  for (const auto& record : records) {
    if (record["kind"] == "player") words.push_back(record["action"]);
    if (record["kind"] == "event" && record["type"] != "AdProgress") {
      const std::string ad = record["ad"].is_null() ? "" : " " + record["ad"].get<std::string>();
      words.push_back(record["type"].get<std::string>() + ad);
    }
    if (record["kind"] == "beacon") {
      const std::string path = record["url"].get<std::string>();
      const auto begin = path.rfind('/', path.find('?')) + 1;
      words.push_back(path.substr(begin, path.find('?') - begin));
    }
  }
  return words;
}

std::vector<std::string> urlsOf(const json& records) {
  std::vector<std::string> urls;
  for (const auto& record : records) urls.push_back(record["url"]);
  return urls;
}

class PlayTest : public ::testing::Test {
 protected:
  KyrService service;
  ScratchFolder scratch;
};

TEST_F(PlayTest, PlaysTheStreamAndSendsTheBeaconsThatItPasses) {
  const auto outcome = runKyr({"play", service.url("/vmap/demo.xml"), "--headless", "--json", "--for", "8"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const auto records = parseRecords(outcome.out);
  EXPECT_EQ(records.front()["kind"], "load");
  EXPECT_EQ(records.front()["state"], "complete");
  EXPECT_EQ(records.front()["cuePoints"], json::parse(R"([0, 14, 26, "+infinity"])"));
  const std::vector<std::string> expected{"load",
                                          "play",
                                          "EnterAdSequence",
                                          "EnterAd kyr-coffee",
                                          "impression",
                                          "partner-impression",
                                          "creativeView",
                                          "start",
                                          "firstQuartile",
                                          "midpoint",
                                          "thirdQuartile",
                                          "ExitAd kyr-coffee",
                                          "complete",
                                          "EnterAd kyr-bicycle",
                                          "impression"};
  auto told = story(records);
  ASSERT_GE(told.size(), expected.size());
  told.resize(expected.size());
  EXPECT_EQ(told, expected);
  EXPECT_TRUE(std::is_sorted(records.begin(), records.end(),
                             [](const json& a, const json& b) { return a["at"] < b["at"]; }));

  json sent = json::array();
  for (const auto& record : records) {
    if (record["kind"] == "beacon") sent.push_back(record);
    if (record["kind"] == "duration") {
      EXPECT_EQ(record["content"], 38);
    }
  }
  httplib::Client client("127.0.0.1", service.port());
  EXPECT_THAT(urlsOf(json::parse(client.Get("/beacons")->body)), UnorderedElementsAreArray(urlsOf(sent)));
}

TEST_F(PlayTest, FollowsAScriptInRealTime) {
  const auto script = scratch.write("script", "# waits first\nrun 0.3\n\nplay\nrun 0.8\npause\nrun 0.2\n");
  const auto outcome =
      runKyr({"play", service.url("/vmap/no-ads.xml"), "--headless", "--json", "--script", script});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const auto records = parseRecords(outcome.out);
  EXPECT_THAT(story(records), ElementsAre("load", "play", "pause"));
  std::vector<double> times;
  double played = 0;
  for (const auto& record : records) {
    if (record["kind"] == "player" && record["action"] == "play") played = record["at"];
    if (record["kind"] != "progress") continue;
    EXPECT_GE(record["at"], played);
    EXPECT_GT(played, 0) << "no progress while paused";
    times.push_back(record["content"]);
  }
  EXPECT_TRUE(std::is_sorted(times.begin(), times.end()));
  ASSERT_GT(times.size(), 2U);
}

TEST_F(PlayTest, ReportsAStreamThatCannotBePlayed) {
  for (const auto& [document, code] : {std::pair("missing-stream", 2), std::pair("not-a-stream", 3)}) {
    SCOPED_TRACE(document);
    const auto url = service.url("/vmap/" + std::string(document) + ".xml");
    const auto outcome = runKyr({"play", url, "--headless", "--json"});
    EXPECT_EQ(outcome.status, 1);
    const json error = parseRecords(outcome.out).back()["error"];
    EXPECT_EQ(error["domain"], "tarn.player");
    EXPECT_EQ(error["code"], code);
    EXPECT_FALSE(error["underlying"].is_null());
    EXPECT_THAT(outcome.err, HasSubstr(service.url("/")));

    const auto text = runKyr({"play", url, "--headless"});
    EXPECT_EQ(text.status, 1);
    EXPECT_EQ(text.err, outcome.err);
  }
  const auto unread = runKyr({"play", service.url("/vmap/bad-offset.xml"), "--headless", "--json"});
  EXPECT_EQ(unread.status, 1);
  const auto records = parseRecords(unread.out);
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0]["state"], "error");
  EXPECT_EQ(records[1]["error"]["code"], 4011);
}

TEST(PlayCallTest, RefusesScriptsItCannotFollowBeforeItPlays) {
  ScratchFolder scratch;
  struct Row {
    const char* script;
    const char* complaint;
  };
  for (const auto& row : {Row{"play\nseek 3\n", "'seek' is not available"}, Row{"\n\nrun\n", "'run S'"},
                          Row{"run -1\n", "'run S'"}, Row{"play now\n", "'run S'"},
                          Row{"dance\n", "unknown command 'dance'"}}) {
    SCOPED_TRACE(row.script);
    const auto path = scratch.write("script", row.script);
    const auto outcome = runKyr({"play", documentPath("worked.vmap"), "--headless", "--script", path});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.out, IsEmpty());
    EXPECT_THAT(outcome.err, AllOf(HasSubstr(path), HasSubstr(row.complaint)));
  }
  EXPECT_EQ(runKyr({"play", documentPath("worked.vmap")}).status, 2) << "there is no window";
  EXPECT_EQ(runKyr({"play", "/no/such/file", "--headless"}).status, 2);
  EXPECT_EQ(runKyr({"play", documentPath("worked.vmap"), "--headless", "--for", "-1"}).status, 2);
}

}  // namespace
}  // namespace tarn::test
