#include "Lumo/TarnLumoAnalyticsDigester.h"

#include <gmock/gmock.h>

#include "Lumo/HTTPBeaconSink.h"
#include "Support/LoopbackServer.h"

using namespace std::chrono_literals;
using namespace tarn::test;
using namespace testing;
using tarn::HTTPBeaconSink;
using tarn::URL;

TEST(TarnLumoAnalyticsDigesterTest, SendsOnePlainRequestAURLAndReturnsAtOnce) {
  LoopbackServer server;
  server.hold("/impression");
  server.setResponse("/moved", {302, "", {{"Location", "/here"}}});
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
  const auto port = std::to_string(*server.url("/").port());
  EXPECT_EQ(server.requests().front().head,
            "GET /impression?id=%5BX%5D HTTP/1.1\r\nHost: 127.0.0.1:" + port + "\r\nAccept: */*\r\n\r\n");
}

// The server reads the second beacon of each connection and hangs up: it may well have counted it.
TEST(TarnLumoAnalyticsDigesterTest, NoBeaconIsSentTwice) {
  LoopbackServer server([](LoopbackServer::Connection& connection) {
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
