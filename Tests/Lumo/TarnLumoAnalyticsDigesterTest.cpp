#include "Lumo/TarnLumoAnalyticsDigester.h"

#include <gmock/gmock.h>

#include "Lumo/HTTPBeaconSink.h"
#include "Support/LoopbackServer.h"
#include "Support/ScriptedServer.h"

using namespace std::chrono_literals;
using namespace tarn::test;
using namespace testing;
using tarn::HTTPBeaconSink;
using tarn::URL;

TEST(TarnLumoAnalyticsDigesterTest, SendsOnePlainRequestAURLAndReturnsAtOnce) {
  LoopbackServer server;
  server.hold("/impression");
  server.answer("/moved", {302, "", {{"Location", "/here"}}});
  TarnLumoAnalyticsDigester digester;
  for (const auto& nothing :
       {std::optional<URL>(), URL::fromString("file:///etc/passwd"), URL::fromString("data:text/plain,x")}) {
    digester.digestEvent(nothing);
    EXPECT_TRUE(HTTPBeaconSink::shared()->flush(0ms));
  }
  digester.digestEvent(server.url("/impression?id=%5BX%5D"));
  ASSERT_TRUE(server.waitForRequests(1));
  EXPECT_FALSE(HTTPBeaconSink::shared()->flush(0ms)) << "the response is still held";
  digester.digestEvent(server.url("/moved"));
  ASSERT_TRUE(server.waitForRequests(3)) << "no beacon waits for another's response";
  server.release();
  EXPECT_TRUE(HTTPBeaconSink::shared()->flush(20s));

  EXPECT_THAT(server.targets(), ElementsAre("/impression?id=%5BX%5D", "/moved", "/here"));
  std::vector<std::string> names;
  for (const auto requests = server.requests(); const auto& [name, value] : requests.front().headers)
    names.push_back(name);
  EXPECT_THAT(names, UnorderedElementsAre("host", "accept"));
}

// The server reads the second beacon of each connection and hangs up: it may well have counted it.
TEST(TarnLumoAnalyticsDigesterTest, NoBeaconIsSentTwice) {
  ScriptedServer server([](ScriptedServer::Connection& connection) {
    connection.readRequest();
    connection.respond();
    connection.readRequest();
  });
  TarnLumoAnalyticsDigester digester;
  for (const char* target : {"/1", "/2", "/3"}) {
    digester.digestEvent(server.url(target));
    EXPECT_TRUE(HTTPBeaconSink::shared()->flush(20s));
  }
  EXPECT_THAT(server.targets(), ElementsAre("/1", "/2", "/3"));
}
