#include "Platform/HTTPSession.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <future>
#include <latch>
#include <thread>

#include "HTTPSessionFixture.h"
#include "Support/LoopbackServer.h"
#include "Support/ScriptedServer.h"

using namespace std::chrono_literals;
using namespace tarn;
using namespace tarn::test;
using namespace testing;
using Connection = ScriptedServer::Connection;
using HTTPSessionTest = HTTPSessionFixture;

TEST_F(HTTPSessionTest, DeliversStatusHeadersBodyAndTheURLAfterRedirects) {
  LoopbackServer server;
  const std::string bytes("\0\xFF<vmap/>\r\n", 11);
  server.answer("/document", {404, bytes, {{"X-Twice", "1"}, {"X-Twice", "2"}, {"X-Blank", ""}}});
  server.answer("/moved", {302, "not this", {{"Location", "/document"}, {"X-Moved", "1"}}});
  HTTPSession session;

  const auto response = get(session, server.url("/moved"));
  ASSERT_TRUE(response) << chainDescription(response.error());
  EXPECT_EQ(response->status, 404);
  EXPECT_EQ(response->body, bytes);
  EXPECT_EQ(response->effectiveURL, server.url("/document").absoluteString());
  using Field = std::pair<std::string, std::string>;
  EXPECT_THAT(response->headers, IsSupersetOf({Field("x-twice", "1"), Field("x-twice", "2"),
                                               Field("x-blank", ""), Field("content-length", "11")}));
  EXPECT_THAT(response->headers, Not(Contains(Field("x-moved", "1"))));
}

TEST_F(HTTPSessionTest, SendsHeadersAsGivenAndAccumulatesRepeatedOnes) {
  std::vector<std::string> heads;
  ScriptedServer server([&heads](Connection& connection) {
    while (connection.readRequest()) {
      heads.push_back(connection.head());
      connection.respond();
    }
  });
  HTTPSession session;
  const URL url = server.url("/path?cb=%5BX%5D#fragment");
  const decltype(HTTPRequest::headers) headers = {{"User-Agent", "player/1"},
                                                  {"X-Twice", "1"},
                                                  {"X-Twice", "2; q=0"},
                                                  {"X-Empty", ""},
                                                  {"X-Name", "Zoë"}};
  ASSERT_TRUE(start(session, {url, headers}).get());
  ASSERT_TRUE(get(session, server.url("/plain"))) << "the fields of the request before must be gone";

  ASSERT_EQ(heads.size(), 2U);
  EXPECT_THAT(heads[0], StartsWith("GET /path?cb=%5BX%5D HTTP/1.1\r\n"));
  EXPECT_THAT(heads[0], EndsWith("User-Agent: player/1\r\nX-Twice: 1\r\nX-Twice: 2; q=0\r\nX-Empty:\r\n"
                                 "X-Name: Zoë\r\n\r\n"));
  EXPECT_THAT(heads[1], Not(HasSubstr("X-")));
}

TEST_F(HTTPSessionTest, OverOneConnectionRequestsArriveInTheOrderOfTheirStart) {
  ScriptedServer server(behave);
  HTTPSession session({.maximumConnectionsPerHost = 1, .discardBodies = true});
  std::vector<std::string> expected;
  for (int i = 0; i < 500; ++i) {
    expected.push_back("/" + std::to_string(i));
    session.startAndForget({server.url(expected.back()), {}});
  }
  EXPECT_TRUE(session.flush(60s));
  EXPECT_EQ(server.targets(), expected);
  EXPECT_EQ(server.connections(), 1);
}

// "/first" holds the only connection. "/second" needs another, which the server does not let it have yet; the
// first one gets free meanwhile, and "/third" could go out over it at once.
TEST_F(HTTPSessionTest, ARequestDoesNotOvertakeOneThatStillConnects) {
  std::promise<void> answerFirst;
  std::promise<bool> thirdArrivedEarly;
  std::promise<void> lookForThird;
  ScriptedServer server([&](Connection& connection) {
    if (connection.number() == 0) {
      connection.readRequest();
      answerFirst.get_future().wait();
      connection.respond();
      lookForThird.get_future().wait();
      thirdArrivedEarly.set_value(connection.hasInput());
    }
    behave(connection);
  });
  ScriptedServer other(behave);
  HTTPSession session;
  auto first = start(session, {server.url("/first"), {}});
  while (server.targets().empty()) std::this_thread::yield();

  server.stall();
  auto second = start(session, {server.url("/second"), {}});
  ASSERT_TRUE(get(session, other.url("/"))) << "another origin does not wait";
  answerFirst.set_value();
  ASSERT_TRUE(first.get());
  auto third = start(session, {server.url("/third"), {}});
  ASSERT_TRUE(get(session, other.url("/"))) << "by now the third request would have left";
  lookForThird.set_value();
  EXPECT_FALSE(thirdArrivedEarly.get_future().get());

  server.resume();
  EXPECT_TRUE(second.get());
  EXPECT_TRUE(third.get());
}

TEST_F(HTTPSessionTest, TenThousandRequestsToADeadServerDelayNoOther) {
  ScriptedServer dead(sayNothing);
  ScriptedServer alive(behave);
  HTTPSession session;
  for (int i = 0; i < 10'000; ++i) session.startAndForget({dead.url("/" + std::to_string(i)), {}});
  for (int i = 0; i < 10; ++i) EXPECT_TRUE(get(session, alive.url("/")));
  EXPECT_LE(dead.connections(), 16);
  EXPECT_FALSE(session.flush(0ms));
}

TEST_F(HTTPSessionTest, ManyDeadServersLeaveTheRestWaitingButLoseNothing) {
  constexpr int kServers = 20;  // at 16 connections each more than may be under way at once
  constexpr int kRequests = 16;
  std::vector<std::unique_ptr<ScriptedServer>> servers;
  HTTPSession session({.totalTimeout = 300ms});
  std::latch ended(kServers * kRequests);
  for (int i = 0; i < kServers; ++i) {
    servers.push_back(std::make_unique<ScriptedServer>(sayNothing));
    for (int j = 0; j < kRequests; ++j) {
      session.start({servers.back()->url("/"), {}}, queue, [&ended](auto) { ended.count_down(); });
    }
  }
  ended.wait();
  EXPECT_TRUE(session.flush(20s));
}

// The server reads the second request of a connection and hangs up without an answer: the client cannot know
// whether it was counted.
TEST_F(HTTPSessionTest, RepeatsARequestOnADeadConnectionOnlyWhereItMay) {
  const auto script = [](Connection& connection) {
    connection.readRequest();
    connection.respond();
    connection.readRequest();
  };
  for (const bool neverResend : {true, false}) {
    SCOPED_TRACE(neverResend);
    ScriptedServer server(script);
    HTTPSession session({.neverResend = neverResend});
    ASSERT_TRUE(get(session, server.url("/warm")));
    const auto result = get(session, server.url("/beacon"));
    if (neverResend) {
      EXPECT_EQ(codeOf(result), HTTPErrorCode::connectionLost);
      EXPECT_THAT(server.targets(), ElementsAre("/warm", "/beacon"));
    } else {
      EXPECT_TRUE(result);
      EXPECT_THAT(server.targets(), ElementsAre("/warm", "/beacon", "/beacon"));
    }
  }
}

TEST_F(HTTPSessionTest, CancellingEndsOneRequestWaitingOrInFlightAndNoOther) {
  ScriptedServer server([](Connection& connection) {
    if (connection.number() == 0) {
      connection.readRequest();
      return connection.waitForHangUp();
    }
    behave(connection);
  });
  auto session = std::make_unique<HTTPSession>(HTTPConfiguration{.maximumConnectionsPerHost = 1});
  std::vector<std::promise<Result<HTTPResponse>>> outcomes(3);
  std::vector<HTTPTask> tasks{HTTPTask()};
  for (std::size_t i = 0; i < outcomes.size(); ++i) {
    tasks.push_back(session->start({server.url("/" + std::to_string(i)), {}}, queue,
                                   [&, i](auto result) { outcomes[i].set_value(std::move(result)); }));
  }
  while (server.targets().empty()) std::this_thread::yield();
  for (const std::size_t i : {1U, 0U}) {
    tasks[i + 1].cancel();
    const auto result = outcomes[i].get_future().get();
    EXPECT_EQ(codeOf(result), HTTPErrorCode::cancelled);
    EXPECT_EQ(result.error().description, "GET " + server.url("/" + std::to_string(i)).absoluteString() +
                                              " was cancelled before the response was complete");
  }
  EXPECT_TRUE(outcomes[2].get_future().get());
  for (const auto& task : tasks) task.cancel();
  EXPECT_TRUE(session->flush(20s));
  EXPECT_THAT(server.targets(), ElementsAre("/0", "/2"));
  session.reset();
  tasks.back().cancel();
}

TEST_F(HTTPSessionTest, ItsEndCancelsWhatIsUnderWayAndWhatWaits) {
  ScriptedServer server(sayNothing);
  std::vector<std::future<Result<HTTPResponse>>> outcomes;
  {
    HTTPSession session({.maximumConnectionsPerHost = 2});
    for (int i = 0; i < 5; ++i) outcomes.push_back(start(session, {server.url("/" + std::to_string(i)), {}}));
    while (server.connections() < 2) std::this_thread::yield();
    EXPECT_FALSE(session.flush(1ms));
  }
  for (auto& each : outcomes) {
    const auto result = each.get();
    EXPECT_EQ(codeOf(result), HTTPErrorCode::cancelled);
    EXPECT_THAT(*result.error().description, HasSubstr(server.url("/").absoluteString()));
  }
}

TEST_F(HTTPSessionTest, ACompletionMayHoldTheLastReferenceToItsSession) {
  ScriptedServer server(behave);
  for (int i = 0; i < 20; ++i) {
    std::promise<void> ended;
    auto session = std::make_shared<HTTPSession>();
    auto& reference = *session;
    reference.start({server.url("/"), {}}, queue, [&ended, owner = std::move(session)](auto) mutable {
      owner.reset();
      ended.set_value();
    });
    ended.get_future().wait();
  }
}

TEST_F(HTTPSessionTest, AQueueThatDropsItsTasksMayLeaveTheWorkerTheLastReference) {
  struct DroppingQueue final : Queue {
    void async(Task) override {}
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
  ScriptedServer server(behave);
  std::promise<void> destroyed;
  auto owner = std::make_shared<Owner>(destroyed);
  auto& session = *owner->session;
  session.start({server.url("/"), {}}, dropping, [owner = std::move(owner)](auto) {});
  destroyed.get_future().wait();
}

TEST_F(HTTPSessionTest, ManyThreadsMayStartRequestsAtOnce) {
  ScriptedServer server(behave);
  HTTPSession session({.discardBodies = true});
  constexpr int kThreads = 4;
  constexpr int kEach = 200;
  std::latch answered(kThreads * kEach);
  std::vector<std::jthread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int j = 0; j < kEach; ++j) {
        session.start({server.url("/"), {}}, queue, [&](auto result) {
          EXPECT_TRUE(result);
          answered.count_down();
        });
      }
    });
  }
  answered.wait();
  EXPECT_TRUE(session.flush(20s));
  EXPECT_EQ(server.targets().size(), std::size_t{kThreads * kEach});
}

TEST(HTTPSessionExitTest, TheProcessExitsWithRequestsUnderWay) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        static ScriptedServer server(sayNothing);
        static auto* const neverDestroyed = new HTTPSession;
        static HTTPSession destroyedAtExit;
        for (auto* session : {neverDestroyed, &destroyedAtExit})
          session->startAndForget({server.url("/"), {}});
        while (server.connections() < 2) std::this_thread::yield();
        std::exit(0);
      },
      ExitedWithCode(0), "");
}
