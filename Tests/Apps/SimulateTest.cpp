#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>

#include "KyrProcess.h"
#include "SessionRecords.h"
#include "Support/LoopbackServer.h"
#include "Support/VMAPText.h"

namespace tarn::test {
namespace {

using namespace ::testing;
using nlohmann::json;

std::string tracking(std::string_view ad, std::string_view event) {
  return fmt::format(R"(<Tracking event="{0}"{2}>http://b.example/{1}/{0}</Tracking>)", event, ad,
                     event == "start" ? " offset=\"0\"" : "");
}

/// A break with one ad of 15 s.
std::string breakWith(std::string_view name, std::string_view offset) {
  const auto events = tracking(name, "creativeView") + tracking(name, "start") + tracking(name, "complete") +
                      tracking(name, "skip");
  return adBreak(offset,
                 fmt::format("<Ad id='{0}'><InLine><Impression>http://b.example/{0}/impression</Impression>"
                             "<Creatives>{1}</Creatives></InLine></Ad>",
                             name,
                             linear("00:00:15", "<TrackingEvents>" + events + "</TrackingEvents>",
                                    "skipoffset='00:00:05'")));
}

std::string document(std::string_view breaks, int payload, int content = 60) {
  return vmap("xmlns:vmap='http://www.iab.net/vmap-1.0' xmlns:mh='urn:mh'",
              fmt::format("<mh:Marlith contenturi='https://stream.example/m.m3u8' payloadlength='{}' "
                          "contentlength='{}'/>",
                          payload, content),
              breaks);
}

// 0    10   25        45   60            90        0            60     75
// |    | a  |         | b  |             |         |            | post |
// 0    10   10        30   30            60        0            60     60
const std::string kTwoBreaks = document(breakWith("a", "00:00:10") + breakWith("b", "00:00:30"), 90);
const std::string kPostRoll = document(breakWith("post", "end"), 75);

Outcome simulate(const std::string& document, const std::string& script,
                 std::vector<std::string> options = {}) {
  const ScratchFolder folder;
  options.insert(options.begin(), {"simulate", folder.write("document.vmap", document), "--json"});
  return runKyr(options, script);
}

struct Row {
  const char* name;
  const char* script;
  /// The events after the script's first play: see `storyOf`.
  std::vector<std::string> story;
  std::vector<std::string> options = {};
  const std::string& document = kTwoBreaks;
};

void expectStory(const Row& row) {
  SCOPED_TRACE(row.name);
  const auto outcome = simulate(row.document, std::string("play\n") + row.script, row.options);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, IsEmpty());
  auto expected = row.story;
  expected.insert(expected.begin(), "0: load complete Begin Ready play Play");
  EXPECT_EQ(storyOf(parseRecords(outcome.out)), expected);
}

const char* const kEnterA =
    "10: WillPauseForAd Pause AdSequenceEnter(0) canSeek=no a/impression AdEnter(a) a/creativeView";
const char* const kStartA = "10.25: a/start";
const char* const kForcedB =
    "5: canSeek=no pause Pause seek(45.2 -0 +0) play Play WillPauseForAd Pause AdSequenceEnter(1) "
    "b/impression AdEnter(b) b/creativeView b/start";

TEST(SimulateTest, PlaysTheLastBreakThatASeekPasses) {
  const Row rows[] = {
      {"over two breaks plays the second",
       "run 5\nseek 50\nrun 20",
       {kForcedB,
        "20: b/complete AdExit(b) AdSequenceExit(1) Play canSeek=yes pause Pause seek(80 -2 +2) play Play "
        "seeked(50 yes)"}},
      {"during an ad is refused", "run 12\nseek 30", {kEnterA, kStartA, "12: seeked(30 no)"}},
      {"with ads disabled is plain and exact",
       "run 5\nadsDisabled yes\nseek 50",
       {"5: canSeek=no canSeek=yes seek(80 -0 +0) seeked(50 yes)"}},
      {"of no time or before the start is refused",
       "run 5\nseek invalid\nseek -1",
       {"5: seeked(invalid no) seeked(-1 no)"}},
      {"in quick succession supersede each other",
       "run 2\nseek 8\nrun 0.5\nseek 5\nrun 2",
       {"2: canSeek=no canSeek=yes seek(8 -2 +0)", "2.5: canSeek=no canSeek=yes seek(5 -2 +2) seeked(8 no)",
        "3.5: seeked(5 yes)"},
       {"--seek-latency", "1"}},
      {"from the end play when the viewer plays before they complete",
       "run 20\nseek 5\nplay\nrun 1",
       {kEnterA, kStartA,
        "20: a/complete AdExit(a) AdSequenceExit(0) Play canSeek=yes End canSeek=no canSeek=yes seek(5.2 -2 "
        "+2) play Play",
        "21: seeked(5 yes)"},
       {"--seek-latency", "1", "--item-duration", "20"}},
      {"in progress at the end of the script stop",
       "run 2\nseek 8\nrun 0.5",
       {"2: canSeek=no canSeek=yes seek(8 -2 +0)"},
       {"--seek-latency", "1"}},
      {"ended by termination in a forced ad never complete",
       "run 5\nseek 50\nrun 1\nterminate\nskip\nrun 60",
       {kForcedB, "6: pause Terminate"}}};
  for (const auto& row : rows) expectStory(row);
}

TEST(SimulateTest, SkipsPausesAndSeeksOutOfAds) {
  const Row rows[] = {
      {"a skipped ad is left behind",
       "run 12\nskip\nskip\nrun 1",
       {kEnterA, kStartA,
        "12: a/skip pause AdPause(a) seek(25.2 -0 +0) play AdResume(a) a/complete AdExit(a) "
        "AdSequenceExit(0) Play canSeek=yes"}},
      {"a skipped ad at the end ends the stream",
       "run 63\nskip\nrun 1\nskip\nseek 10\nrun 1\nplay",
       {"60: WillPauseForAd Pause AdSequenceEnter(0) canSeek=no post/impression AdEnter(post) "
        "post/creativeView",
        "60.25: post/start",
        "63: post/skip pause AdPause(post) hideLayer seek(0 -0 +0) seek(75 -0 +0) play AdResume(post) "
        "showLayer post/complete AdExit(post) AdSequenceExit(0) Play canSeek=yes End",
        "64: canSeek=no canSeek=yes seek(10.2 -2 +2) seeked(10 yes)", "65: play Play"},
       {},
       kPostRoll},
      {"ad commands work inside a break only",
       "run 12\npauseAd\nrun 5\nresumeAd\nrun 14\npauseAd\nresumeAd\nrun 1",
       {kEnterA, kStartA, "12: pause AdPause(a)", "17: play AdResume(a)",
        "30: a/complete AdExit(a) AdSequenceExit(0) Play canSeek=yes"}},
      {"resuming at a time knows no rules",
       "run 1\npause\nresumeAt 31 no\nrun 1\nresumeAt 29.5 yes\nrun 1",
       {"1: pause Pause seek(61 -0 +0)", "2: seek(44.5 -0 +0) play Play",
        "2.5: WillPauseForAd Pause AdSequenceEnter(1) canSeek=no b/impression AdEnter(b) b/creativeView",
        "2.75: b/start"}},
      {"a shorter stream ends in its ad",
       "run 60",
       {kEnterA, kStartA, "20: a/complete AdExit(a) AdSequenceExit(0) Play canSeek=yes End"},
       {"--item-duration", "20"}}};
  for (const auto& row : rows) expectStory(row);
}

TEST(SimulateTest, PrintsTheDocumentedRecords) {
  const auto outcome = simulate(document(breakWith("a", "00:00:01"), 20, 5),
                                "seek 0.5\nplay\nrun 1\nseek invalid", {"--tick", "0.75"});
  EXPECT_EQ(outcome.out, golden("short.simulate.jsonl"));
  const ScratchFolder folder;
  const auto path = folder.write("d.vmap", document(breakWith("a", "00:00:01"), 20, 5));
  const auto script = folder.write("script", "play\nrun 30\nseek 1\n");
  EXPECT_EQ(runKyr({"simulate", path, "--script", script}).out, golden("short.simulate.txt"));
}

TEST(SimulateTest, ReportsThePlayheadInTicksFromItsStartAndAtTheEnd) {
  const auto records = parseRecords(
      simulate(document("", 5, 5), "run 1\nplay\nrun 1\npause\nrun 1\nplay\nrun 0.6\nseek 3.5\nrun 9",
               {"--tick", "0.4"})
          .out);
  std::vector<std::string> reports;
  for (const auto& record : records) {
    if (record["kind"] == "progress") reports.push_back(record["at"].dump() + " " + record["content"].dump());
  }
  EXPECT_THAT(reports, ElementsAre("1.4 0.4", "1.8 0.8", "3.4 1.4", "3.6 3.5", "4 3.9", "4.4 4.3", "4.8 4.7",
                                   "5.1 5"));
}

TEST(SimulateTest, PlaysAStreamOfUnknownLength) {
  const auto records = parseRecords(simulate(document("", -1), "play\nrun 100").out);
  EXPECT_THAT(storyOf(records), ElementsAre("0: load complete Begin Ready play Play"));
  EXPECT_EQ(shortRecord(records.back()), "progress(100)");
  const auto isBounded = [](const json& record) { return isRoutine(record) && record["kind"] != "progress"; };
  EXPECT_EQ(std::count_if(records.begin(), records.end(), isBounded), 0)
      << "its duration and ranges must be unknown";
}

TEST(SimulateTest, SimulatesAnHourQuicklyWithTheSameResultEachTime) {
  std::string breaks;
  for (int i = 0; i < 12; ++i)
    breaks += breakWith(fmt::format("ad-{}", i), fmt::format("00:{:02}:00", i * 5));
  const auto hour = document(breaks, 3780, 3600);
  const auto first = simulate(hour, "play\nrun 4000");
  EXPECT_EQ(first.out, simulate(hour, "play\nrun 4000").out);
  const auto records = parseRecords(first.out);
  const auto isBeacon = [](const json& record) { return record["kind"] == "beacon"; };
  EXPECT_EQ(std::count_if(records.begin(), records.end(), isBeacon), 12 * 4);
  EXPECT_EQ(shortRecord(records.back()), "End");
  EXPECT_EQ(records.back()["at"], 3780);
  EXPECT_GT(records.size(), 3780U * 4);
}

TEST(SimulateTest, PrintsTheSessionsEventsForAnUnloadableDocument) {
  const auto outcome = simulate(vmap(simpleBreak("10%", "00:00:30")), "play\nrun 5");
  EXPECT_EQ(outcome.status, 1);
  auto records = parseRecords(outcome.out);
  ASSERT_THAT(records, Not(IsEmpty()));
  EXPECT_EQ(records.back()["error"]["code"], 509);
  EXPECT_EQ(records.back()["error"]["underlying"]["code"], 4011);
  EXPECT_THAT(outcome.err, HasSubstr("AdBreak timeOffset `10%` could not be parsed."));
  records.pop_back();
  EXPECT_EQ(records.front()["cuePoints"], json::array());
  EXPECT_THAT(storyOf(records), ElementsAre("0: error Begin kTarnKyrLifecycleErrorEvent pause Terminate"));
}

TEST(SimulateTest, SimulatesADocumentWithoutAStream) {
  const auto outcome = simulate(vmap("xmlns:vmap='urn:v' xmlns:mh='urn:m'",
                                     "<mh:Marlith payloadlength='660'/>", simpleBreak("start", "00:00:30")),
                                "play\nrun 700");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, HasSubstr("names no stream"));
  const auto story = storyOf(parseRecords(outcome.out));
  EXPECT_THAT(story.front(), "0: complete Begin Ready play Play");
  EXPECT_THAT(story.back(), "660: End");
}

TEST(SimulateTest, SendsTheLibrarysUserAgentUnlessItIsReplaced) {
  LoopbackServer server;
  server.setResponse("/vmap", {.body = kTwoBreaks, .headers = {}});
  const auto url = server.url("/vmap").absoluteString();
  EXPECT_EQ(runKyr({"simulate", url, "--header", "X-One: 1"}).status, 0);
  EXPECT_EQ(runKyr({"simulate", url, "--header", "user-agent: me"}).status, 0);
  const auto requests = server.requests();
  ASSERT_THAT(requests, SizeIs(2));
  EXPECT_THAT(requests[0].values("user-agent"), ElementsAre(StartsWith("ios-lumo-ux/")));
  EXPECT_THAT(requests[0].values("x-one"), ElementsAre("1"));
  EXPECT_THAT(requests[1].values("user-agent"), ElementsAre("me"));
}

TEST(SimulateTest, RejectsWrongScriptsBeforeAnythingRuns) {
  const ScratchFolder folder;
  const auto path = folder.write("document.vmap", kTwoBreaks);
  const std::pair<const char*, std::vector<const char*>> rows[] = {
      {"expected 'run S'", {"run", "run -1", "run 1e10", "run inf", "run 1 2"}},
      {"expected 'play' alone", {"play now"}},
      {"expected 'seek C'", {"seek", "seek +infinity"}},
      {"expected 'skip' alone", {"skip 1"}},
      {"expected 'adsDisabled yes'", {"adsDisabled maybe"}},
      {"expected 'resumeAt C yes'", {"resumeAt 5", "resumeAt now yes"}},
      {"expected 'terminate' alone", {"terminate it"}},
      {"unknown command 'Play'; expected run, play", {"Play"}}};
  for (const auto& [complaint, lines] : rows) {
    for (const char* line : lines) {
      SCOPED_TRACE(line);
      const auto script = folder.write("script", std::string("# head\nplay\n\n") + line + "\nrun 1\n");
      const auto outcome = runKyr({"simulate", path, "--script", script, "--json"});
      EXPECT_EQ(outcome.status, 2);
      EXPECT_THAT(outcome.out, IsEmpty());
      EXPECT_THAT(outcome.err, HasSubstr("script:4: " + std::string(complaint)));
    }
  }
  EXPECT_THAT(runKyr({"simulate", path}, "run 1\nstop").err,
              HasSubstr("(standard input):2: unknown command"));
}

}  // namespace
}  // namespace tarn::test
