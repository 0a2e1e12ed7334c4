#include "Platform/HTTPSession.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "HTTPSessionFixture.h"

using namespace std::chrono_literals;
using namespace tarn;
using namespace tarn::test;
using namespace testing;
using Connection = LoopbackServer::Connection;
using HTTPSessionTest = HTTPSessionFixture;

TEST_F(HTTPSessionTest, DeliversStatusHeadersBodyAndTheURLAfterRedirects) {
  LoopbackServer server;
  const std::string bytes("\0\xFF<vmap/>\r\n", 11);
  server.setResponse("/document", {404, bytes, {{"X-Twice", "1"}, {"X-Twice", "2"}, {"X-Blank", ""}}});
  server.setResponse("/moved", {302, "not this", {{"Location", "/document"}, {"X-Moved", "1"}}});
  HTTPSession session;

  const auto response = get(session, server.url("/moved"));
  ASSERT_TRUE(response) << chainDescription(response.error());
  EXPECT_EQ(std::tie(response->status, response->body), std::tuple(404, bytes));
  EXPECT_EQ(response->effectiveURL, server.url("/document").absoluteString());
  using Field = std::pair<std::string, std::string>;
  EXPECT_THAT(response->headers, IsSupersetOf({Field("x-twice", "1"), Field("x-twice", "2"),
                                               Field("x-blank", ""), Field("content-length", "11")}));
  EXPECT_THAT(response->headers, Not(Contains(Field("x-moved", "1"))));
}

TEST_F(HTTPSessionTest, SendsHeadersAsGivenAndAccumulatesRepeatedOnes) {
  LoopbackServer server;
  HTTPSession session;
  const HTTPRequest request{server.url("/path?cb=%5BX%5D#fragment"),
                            {{"User-Agent", "player/1"},
                             {"X-Twice", "1"},
                             {"X-Twice", "2; q=0"},
                             {"X-Empty", ""},
                             {"X-Name", "Zoë"}}};
  ASSERT_TRUE(start(session, request).get());
  ASSERT_TRUE(get(session, server.url("/plain"))) << "the previous request's fields must not be sent";

  const auto requests = server.requests();
  ASSERT_THAT(requests, SizeIs(2));
  EXPECT_THAT(requests[0].head, AllOf(StartsWith("GET /path?cb=%5BX%5D HTTP/1.1\r\n"),
                                      EndsWith("User-Agent: player/1\r\nX-Twice: 1\r\nX-Twice: 2; q=0\r\n"
                                               "X-Empty:\r\nX-Name: Zoë\r\n\r\n")));
  EXPECT_THAT(requests[1].head, Not(HasSubstr("X-")));
}

TEST_F(HTTPSessionTest, SendsRequestsInOrderOverOneConnection) {
  LoopbackServer server;
  HTTPSession session({.maximumConnectionsPerHost = 1, .discardBodies = true});
  std::vector<std::string> expected;
  for (int i = 0; i < 500; ++i) {
    expected.push_back("/" + std::to_string(i));
    session.startAndForget({server.url(expected.back()), {}});
  }
  EXPECT_TRUE(session.flush(60s));
  EXPECT_EQ(server.targets(), expected);
  EXPECT_EQ(server.connections(), 1);
  EXPECT_EQ(session.statistics().origins, 0U);
}

// "/first" holds the only connection. "/second" needs another one, which the server does not accept yet. Then
// the first connection becomes free, and "/third" could use it at once.
TEST_F(HTTPSessionTest, KeepsTheOrderWhenALaterRequestCouldUseAFreeConnection) {
  std::promise<void> answerFirst;
  std::promise<bool> thirdArrivedEarly;
  std::promise<void> lookForThird;
  LoopbackServer server([&](Connection& connection) {
    if (connection.number() == 0) {
      connection.readRequest();
      answerFirst.get_future().wait();
      connection.respond({302, "", {{"Location", "/again"}}});
      connection.readRequest();
      connection.respond();
      lookForThird.get_future().wait();
      thirdArrivedEarly.set_value(connection.hasInput());
    }
    connection.serve();
  });
  LoopbackServer other;
  HTTPSession session({.connectionAttemptDelay = std::chrono::hours(1)});
  auto first = start(session, {server.url("/first"), {}});
  while (server.targets().empty()) std::this_thread::yield();

  server.stall();
  auto second = start(session, {server.url("/second"), {}});
  ASSERT_TRUE(get(session, other.url("/"))) << "another origin must not wait";
  answerFirst.set_value();
  ASSERT_TRUE(first.get());
  auto third = start(session, {server.url("/third"), {}});
  ASSERT_TRUE(get(session, other.url("/"))) << "without order the third request would have been sent by now";
  lookForThird.set_value();
  EXPECT_FALSE(thirdArrivedEarly.get_future().get());

  server.resume();
  EXPECT_TRUE(second.get());
  EXPECT_TRUE(third.get());
}

TEST_F(HTTPSessionTest, StartsTheOriginThatHasWaitedLongestWhenATransferBecomesFree) {
  std::vector<std::unique_ptr<LoopbackServer>> silent;
  HTTPSession session;
  HTTPTask task;
  for (int i = 0; i < 256; ++i) {
    if (i % 16 == 0) silent.push_back(std::make_unique<LoopbackServer>(sendNoResponse));
    task = session.start({silent.back()->url("/"), {}}, queue, [](auto) {});
  }
  for (const auto& server : silent) {
    while (server->connections() < 16) std::this_thread::yield();
  }
  LoopbackServer first;
  LoopbackServer second([&first](Connection& connection) {
    EXPECT_THAT(first.targets(), SizeIs(1));
    connection.serve();
  });
  session.start({*URL::fromString("http://127.0.0.1:1/"), {}}, queue, [](auto) {}).cancel();
  auto early = start(session, {first.url("/"), {}});
  auto late = start(session, {second.url("/"), {}});
  task.cancel();
  EXPECT_TRUE(late.get());
  EXPECT_TRUE(early.get());
}

TEST_F(HTTPSessionTest, TriesAnUnreachableOriginRarelyAndEndsItsRequestsInTime) {
  constexpr int kRequests = 6;
  constexpr std::chrono::milliseconds kLong = 1h;
  const auto hangUp = [](Connection&) {};
  // The server's script (absent: packets are dropped), the delay, the pause, and how many attempts are made.
  const std::tuple<LoopbackServer::Script, std::chrono::milliseconds, std::chrono::milliseconds, int>
      cases[] = {{{}, 1ms, kLong, 4},
                 {sendNoResponse, kLong, kLong, 1},
                 {hangUp, kLong, kLong, 1},
                 {hangUp, kLong, 1ms, 6}};
  std::vector<std::unique_ptr<LoopbackServer>> servers;
  std::vector<std::unique_ptr<HTTPSession>> sessions;
  std::vector<std::future<Result<HTTPResponse>>> outcomes;
  for (const auto& [script, delay, pause, attempts] : cases) {
    auto& server = *servers.emplace_back(std::make_unique<LoopbackServer>(script));
    if (!script) server.stall();
    const HTTPConfiguration configuration{.totalTimeout = attempts < kRequests ? 2s : 60s,
                                          .connectionAttemptDelay = delay,
                                          .failedConnectionPause = pause};
    sessions.push_back(std::make_unique<HTTPSession>(configuration));
    for (int i = 0; i < kRequests; ++i)
      outcomes.push_back(start(*sessions.back(), {withTLS(server.url("/")), {}}));
  }
  for (std::size_t i = 0; i < outcomes.size(); ++i) {
    const auto result = outcomes[i].get();
    const bool isAttempted = static_cast<int>(i % kRequests) < std::get<3>(cases[i / kRequests]);
    ASSERT_EQ(codeOf(result) == HTTPErrorCode::timedOut, !isAttempted) << i;
    EXPECT_EQ(result.error().description->ends_with("its turn did not come within 2000 ms"), !isAttempted);
  }
  for (std::size_t i = 0; i < servers.size(); ++i) {
    const auto& [script, delay, pause, attempts] = cases[i];
    EXPECT_EQ(sessions[i]->statistics().expired, kRequests - attempts);
    EXPECT_EQ(servers[i]->connections(), script ? attempts : 0);
  }
}

TEST_F(HTTPSessionTest, LimitsTheUnreachableOriginsThatItKeeps) {
  const int port = *[] { return LoopbackServer().url("/"); }().port();
  HTTPSession session({.failedConnectionPause = std::chrono::hours(1)});
  for (int i = 0; i < 1'100; ++i) {
    const std::string host = "127.1." + std::to_string(i / 100) + "." + std::to_string(i % 100);
    session.startAndForget({*URL::fromString("http://" + host + ":" + std::to_string(port)), {}});
  }
  EXPECT_TRUE(session.flush(60s));
  EXPECT_EQ(session.statistics().origins, 1'024U);
}

// The server reads the second request of a connection and hangs up without a response: the client cannot know
// whether the server processed it.
TEST_F(HTTPSessionTest, ResendsARequestOfADeadConnectionUnlessToldNever) {
  for (const bool neverResend : {true, false}) {
    LoopbackServer server([](Connection& connection) {
      connection.readRequest();
      connection.respond();
      connection.readRequest();
    });
    HTTPSession session({.neverResend = neverResend});
    ASSERT_TRUE(get(session, server.url("/warm")));
    EXPECT_EQ(codeOf(get(session, server.url("/beacon"))),
              neverResend ? HTTPErrorCode::connectionLost : HTTPErrorCode{0});
    EXPECT_EQ(server.targets().size(), neverResend ? 2U : 3U);
  }
}

TEST_F(HTTPSessionTest, EndsDroppedAndCancelledRequestsAndAllOthersWhenDestroyed) {
  std::atomic<int> hangUps = 0;
  LoopbackServer server([&hangUps](Connection& connection) {
    connection.waitForHangUp();
    ++hangUps;
  });
  auto session = std::make_unique<HTTPSession>(
      HTTPConfiguration{.maximumConnectionsPerHost = 2, .maximumWaitingRequests = 2});
  std::vector<std::promise<Result<HTTPResponse>>> outcomes(5);
  std::vector<HTTPTask> tasks{HTTPTask()};
  for (std::size_t i = 0; i < outcomes.size(); ++i) {
    tasks.push_back(session->start({server.url("/" + std::to_string(i)), {}}, queue,
                                   [&, i](auto result) { outcomes[i].set_value(std::move(result)); }));
    while (i == 1 && server.connections() < 2) std::this_thread::yield();
  }
  const auto expectEnd = [&](std::size_t i, HTTPErrorCode code, const std::string& text) {
    const auto result = outcomes[i].get_future().get();
    EXPECT_EQ(codeOf(result), code);
    EXPECT_THAT(*result.error().description,
                StartsWith("GET " + server.url("/" + std::to_string(i)).absoluteString() + text));
  };
  expectEnd(2, HTTPErrorCode::dropped, " was not sent");
  EXPECT_EQ(session->statistics().dropped, 1U);
  for (const std::size_t i : {3U, 1U}) {
    tasks[i + 1].cancel();
    expectEnd(i, HTTPErrorCode::cancelled, " was cancelled before");
  }
  while (hangUps == 0 || server.connections() < 3) std::this_thread::yield();
  EXPECT_FALSE(session->flush(1ms));
  tasks[2].cancel();
  session.reset();
  for (const std::size_t i : {0U, 4U})
    expectEnd(i, HTTPErrorCode::cancelled, " was cancelled: its session ended");
  for (const auto& task : tasks) task.cancel();
}

TEST_F(HTTPSessionTest, IsDestroyedOnItsWorkerWhenAQueueDropsTheLastReference) {
  struct DroppingQueue final : Queue {
    void async(Task) override { EXPECT_FALSE(takesSignals()) << "the worker"; }
  } dropping;
  struct Owner {
    explicit Owner(std::promise<void>& p) : destroyed(p) {}
    ~Owner() {
      session.reset();
      destroyed.set_value();
    }
    std::promise<void>& destroyed;
    std::unique_ptr<HTTPSession> session = std::make_unique<HTTPSession>();
  };
  LoopbackServer server;
  std::promise<void> destroyed;
  auto owner = std::make_shared<Owner>(destroyed);
  auto& session = *owner->session;
  session.start({server.url("/"), {}}, dropping, [owner = std::move(owner)](auto) {});
  destroyed.get_future().wait();
  EXPECT_TRUE(takesSignals());
}

TEST_F(HTTPSessionTest, StartsRequestsOfManyThreadsAtOnce) {
  LoopbackServer server;
  HTTPSession session({.discardBodies = true});
  std::vector<std::jthread> threads(4);
  for (auto& thread : threads) {
    thread = std::jthread([&] {
      for (int i = 0; i < 200; ++i) EXPECT_TRUE(get(session, server.url("/")));
    });
  }
  threads.clear();
  EXPECT_TRUE(session.flush(20s));
  EXPECT_EQ(server.targets().size(), 800U);
}

TEST_F(HTTPSessionTest, CancelsRequestsInFlightWhenTheProcessExits) {
  static constexpr int kEach = 100;
  struct CountingQueue final : Queue {
    ~CountingQueue() override {
      if (count != 2 * kEach) _exit(1);
    }
    void async(Task) override { ++count; }
    std::atomic<int> count = 0;
  };
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        static LoopbackServer server(sendNoResponse);
        static auto* const neverDestroyed = new HTTPSession;
        static HTTPSession destroyedAtExit;
        static CountingQueue cancelled;  // destroyed directly after the loops have ended
        for (int i = 0; i < kEach; ++i) {
          for (auto* session : {neverDestroyed, &destroyedAtExit})
            session->start({server.url("/"), {}}, cancelled, [](auto) {});
        }
        while (server.connections() < 2) std::this_thread::yield();
        std::exit(0);
      },
      ExitedWithCode(0), "");
}
