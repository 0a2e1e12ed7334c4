#include <gmock/gmock.h>
#include <httplib.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "KyrProcess.h"
#include "KyrService.h"
#include "SessionRecords.h"
#include "Support/VMAPText.h"
#include "Terminal.h"

namespace tarn::test {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAreArray;

/// The lifecycle events and beacons, in order, without those of waiting, which occur only with a real stream.
std::vector<json> eventsOf(const std::vector<json>& records) {
  std::vector<json> events;
  for (const auto& record : records) {
    const bool isWaiting = shortRecord(record).find("Buffering") != std::string::npos;
    const bool isEvent = record["kind"] == "lifecycle" || record["kind"] == "beacon";
    if (isEvent && !isWaiting && !isRoutine(record)) events.push_back(record);
  }
  return events;
}

/// One word for each record.
std::string wordsOf(const std::vector<json>& records) {
  std::string words;
  for (const auto& record : records) words += shortRecord(record) + " ";
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

TEST_F(PlayTest, PlaysTheStreamAndSendsTheBeaconsOnTheWay) {
  const auto outcome = runKyr({"play", service.url("/vmap/demo.xml"), "--headless", "--json", "--for", "8"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  const auto records = parseRecords(outcome.out);
  EXPECT_EQ(shortRecord(records[0]), "load");
  EXPECT_EQ(records[1]["state"], "complete");
  EXPECT_EQ(records[1]["cuePoints"], json::parse(R"([0, 14, 26, "+infinity"])"));
  EXPECT_THAT(wordsOf(eventsOf(records)),
              StartsWith("Begin Play Ready WillPauseForAd Pause AdSequenceEnter(0) pre-roll-1/impression "
                         "pre-roll-1/partner-impression AdEnter(kyr-coffee) pre-roll-1/creativeView "
                         "pre-roll-1/start pre-roll-1/firstQuartile pre-roll-1/midpoint "
                         "pre-roll-1/thirdQuartile pre-roll-1/complete AdExit(kyr-coffee) "
                         "pre-roll-2/impression "));
  EXPECT_TRUE(std::is_sorted(records.begin(), records.end(),
                             [](const json& a, const json& b) { return a["at"] < b["at"]; }));

  json sent = json::array();
  for (const auto& record : records) {
    if (record["kind"] == "beacon") sent.push_back(record);
    EXPECT_TRUE(record["kind"] != "duration" || record["content"] == 38);
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
  EXPECT_EQ(wordsOf(eventsOf(records)), "Begin Ready Play Pause ");
  std::vector<double> times;
  bool played = false;
  for (const auto& record : records) {
    if (record["kind"] == "player" && record["action"] == "play") played = true;
    if (record["kind"] != "progress") continue;
    EXPECT_TRUE(played) << "there must be no progress while paused";
    times.push_back(record["content"]);
  }
  EXPECT_TRUE(std::is_sorted(times.begin(), times.end()));
  ASSERT_GT(times.size(), 2U);
}

// 0          14         22          34
// | content  | kyr-travel | content | …
TEST_F(PlayTest, HasTheEventsOfTheSimulation) {
#ifdef KYR_WITH_MPV
  const std::vector<std::string> players{"gstreamer", "mpv"};
#else
  const std::vector<std::string> players{"gstreamer"};
#endif
  const auto url = service.url("/vmap/skippable.xml");
  const auto script =
      scratch.write("script", "play\nrun 2\nseek 24\nrun 3\nskip\nrun 1\nseek 5\nrun 1\nterminate\n");
  const auto simulated = runKyr({"simulate", url, "--json", "--script", script});
  EXPECT_EQ(simulated.status, 0) << simulated.err;
  const auto simulatedEvents = eventsOf(parseRecords(simulated.out));
  EXPECT_THAT(wordsOf(simulatedEvents),
              AllOf(HasSubstr("mid-roll-1/firstQuartile "), HasSubstr("mid-roll-1/skip ")));
  for (const auto& player : players) {
    SCOPED_TRACE(player);
    const auto played = runKyr({"play", url, "--headless", "--player", player, "--json", "--script", script});
    EXPECT_EQ(played.status, 0) << played.err;
    const auto real = eventsOf(parseRecords(played.out));
    ASSERT_EQ(wordsOf(real), wordsOf(simulatedEvents));
    for (std::size_t i = 0; i < real.size(); ++i) {
      // A seek in content may end up to 2 s from its target; ad events must be at the exact times.
      if (shortRecord(real[i]).starts_with("Ad")) {
        EXPECT_NEAR(real[i]["absolute"], simulatedEvents[i]["absolute"].get<double>(), 0.5) << real[i];
      }
    }
  }
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
    EXPECT_THAT(text.out, HasSubstr("Error"));
  }
  const auto unread = runKyr({"play", service.url("/vmap/bad-offset.xml"), "--headless", "--json"});
  EXPECT_EQ(unread.status, 1);
  EXPECT_EQ(parseRecords(unread.out).back()["error"]["code"], 509);

  const auto streamless = runKyr(
      {"play", scratch.write("streamless.vmap", vmap("xmlns:vmap='urn:v'", "", "")), "--headless", "--json"});
  EXPECT_EQ(streamless.status, 1);
  EXPECT_THAT(streamless.err, HasSubstr("names no stream"));
}

TEST_F(PlayTest, HandlesTheKeysOfATerminal) {
  Terminal terminal({"play", service.url("/vmap/pre-roll.xml"), "--headless"});
  terminal.waitFor("ad kyr-coffee 0:01");
  terminal.type("l");
  terminal.waitFor("/landing/kyr-coffee\r\n");
  terminal.type(" ");
  terminal.waitFor("⏸ 0:00 / 0:38");
  terminal.type(" s");
  terminal.waitFor("ad kyr-bicycle 0:00 / 0:06");
  terminal.type("s");
  terminal.waitFor("▶ 0:00 / 0:38");
  terminal.waitFor("content, ");
  terminal.type("\x1b[C\x1b[C");
  terminal.waitFor("▶ 0:20 / 0:38");
  terminal.type("\x1bOD");
  terminal.waitFor("▶ 0:10 / 0:38");
  terminal.type("q");
  EXPECT_EQ(terminal.end(), 0);
}

TEST_F(PlayTest, RejectsAWrongScriptBeforeItPlays) {
  const auto path = scratch.write("script", "play\nrun\n");
  const auto outcome = runKyr({"play", documentPath("worked.vmap"), "--headless", "--script", path});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.out, IsEmpty());
  EXPECT_THAT(outcome.err, AllOf(HasSubstr(path + ":2: "), HasSubstr("'run S'")));
  EXPECT_EQ(runKyr({"play", documentPath("worked.vmap"), "--headless", "--for", "-1"}).status, 2);
  EXPECT_EQ(runKyr({"play", documentPath("worked.vmap"), "--headless", "--player", "vlc"}).status, 2);
  EXPECT_EQ(runKyr({"play", documentPath("worked.vmap"), "--player", "mpv"}).status, 2) << "in a window";
}

}  // namespace
}  // namespace tarn::test
