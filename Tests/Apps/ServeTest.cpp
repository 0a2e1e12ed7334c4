#include <gmock/gmock.h>
#include <httplib.h>
#include <signal.h>

#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "KyrProcess.h"
#include "KyrService.h"

namespace tarn::test {
namespace {

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class ServeTest : public ::testing::Test {
 protected:
  std::string get(const std::string& path, int status = 200) {
    const auto answer = client.Get(path);
    if (!answer) return {};
    EXPECT_EQ(answer->status, status) << path;
    return answer->body;
  }

  KyrService service;
  httplib::Client client{"127.0.0.1", service.port()};
};

struct Playlist {
  double seconds = 0;
  std::set<std::string> segments;
};

Playlist parsePlaylist(const std::string& text) {
  Playlist playlist;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("#EXTINF:")) playlist.seconds += std::stod(line.substr(8));
    if (!line.starts_with("#")) playlist.segments.insert(line);
  }
  return playlist;
}

TEST_F(ServeTest, ServesDocumentsThatMatchTheirStreams) {
  std::set<std::string> all;
  for (const char* cut : {"demo", "no-ads", "pre-roll", "skippable", "post-roll"}) {
    SCOPED_TRACE(cut);
    const auto inspected = runKyr({"inspect", service.url("/vmap/" + std::string(cut) + ".xml"), "--json"});
    ASSERT_EQ(inspected.status, 0) << inspected.err;
    const json timeline = json::parse(inspected.out);
    EXPECT_TRUE(timeline["warnings"].empty()) << timeline["warnings"];
    EXPECT_EQ(timeline["url"], service.url("/stream/" + std::string(cut) + ".m3u8"));
    double ads = 0;
    for (const auto& sequence : timeline["adSequences"]) ads += sequence["duration"].get<double>();
    EXPECT_EQ(timeline["contentLength"], 38);
    EXPECT_EQ(timeline["payloadLength"], 38 + ads);

    const auto playlist = parsePlaylist(get("/stream/" + std::string(cut) + ".m3u8"));
    EXPECT_EQ(playlist.seconds, 38 + ads);
    EXPECT_EQ(playlist.segments.size(), (38 + ads) / 2) << "each segment must be listed once";
    all.insert(playlist.segments.begin(), playlist.segments.end());
  }
  for (const auto& segment : all) {
    const auto answer = client.Head("/stream/" + segment);
    ASSERT_TRUE(answer && answer->status == 200) << segment;
    EXPECT_EQ(answer->get_header_value("Content-Type"), "video/mp2t");
    EXPECT_GT(std::stoi(answer->get_header_value("Content-Length")), 188);
  }
}

TEST_F(ServeTest, ServesADemoWithTheFeaturesOfRealDocuments) {
  const auto inspected = runKyr({"inspect", service.url("/vmap/demo.xml"), "--json"});
  const json timeline = json::parse(inspected.out);
  std::vector<std::pair<double, double>> breaks;
  std::vector<std::string> ids;
  for (const auto& sequence : timeline["adSequences"]) {
    breaks.emplace_back(sequence["beginTime"], sequence["endTime"]);
    for (const auto& ad : sequence["ads"]) ids.push_back(ad["adId"]);
  }
  using Break = std::pair<double, double>;
  EXPECT_THAT(breaks, ElementsAre(Break(0, 12), Break(26, 34), Break(46, 52), Break(64, 70)));
  EXPECT_THAT(ids, ElementsAre("kyr-coffee", "kyr-bicycle", "kyr-travel", "kyr-coffee", "kyr-music"));
  const auto& skippable = timeline["adSequences"][1]["ads"][0];
  EXPECT_EQ(skippable["skipOffset"], 3);
  EXPECT_EQ(skippable["companions"].size(), 1U);
  EXPECT_FALSE(skippable["creativeExtensions"].is_null() || skippable["extensions"].is_null());
  EXPECT_EQ(skippable["trackingEvents"]["ordered"].size(), 4U);
  EXPECT_EQ(timeline["contentImpressions"].size(), 3U);

  EXPECT_EQ(runKyr({"inspect", service.url("/vmap/bad-offset.xml")}).status, 1);
  for (const char* path : {"/vmap/nothing.xml", "/stream/nothing.m3u8", "/stream/segment999.ts",
                           "/stream/..%2f..%2f..%2f..%2fetc%2fpasswd"})
    get(path, 404);
}

TEST_F(ServeTest, ListsReceivedBeaconsUntilTheyAreDeleted) {
  EXPECT_EQ(get("/beacons"), "[]");
  get("/beacon/pre-roll-1/start?cb=%5BX%5D&n=1", 204);
  get("/beacon/%1b%5B2Junknown", 204);
  const json list = json::parse(get("/beacons"));
  ASSERT_EQ(list.size(), 2U);
  EXPECT_EQ(list[0]["url"], service.url("/beacon/pre-roll-1/start?cb=%5BX%5D&n=1"));
  EXPECT_EQ(list[1]["url"], service.url("/beacon/%1b%5B2Junknown"));
  EXPECT_LE(list[0]["ms"], list[1]["ms"]);

  EXPECT_EQ(client.Delete("/beacons")->status, 204);
  EXPECT_EQ(get("/beacons"), "[]");
}

TEST_F(ServeTest, EndsAtOnceWithOpenConnections) {
  for (const int signal : {SIGTERM, SIGINT}) {
    KyrService other;
    httplib::Client idle("127.0.0.1", other.port());
    idle.set_keep_alive(true);
    ASSERT_TRUE(idle.Get("/beacons"));
    EXPECT_EQ(other.end(signal), 0);
  }
}

TEST_F(ServeTest, ReportsAPortInUseAndAnUnwritableFolder) {
  const auto taken = runKyr({"serve", "--port", std::to_string(service.port()), "--media", KYR_TEST_MEDIA});
  EXPECT_EQ(taken.status, 1);
  EXPECT_THAT(taken.err, HasSubstr("--port 0"));
  const auto unwritable = runKyr({"serve", "--port", "0", "--media", "/proc/kyr"});
  EXPECT_EQ(unwritable.status, 2);
  EXPECT_THAT(unwritable.err, HasSubstr("/proc/kyr"));
}

}  // namespace
}  // namespace tarn::test
