#include "Platform/HTTPSession.h"

#include <gmock/gmock.h>
#include <zlib.h>

#include <future>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Operation.h"
#include "Support/LoopbackServer.h"
#include "Support/ScriptedServer.h"

using namespace std::chrono_literals;
using tarn::Error;
using tarn::HTTPConfiguration;
using tarn::HTTPErrorCode;
using tarn::HTTPRequest;
using tarn::HTTPResponse;
using tarn::HTTPSession;
using tarn::Result;
using tarn::URL;
using tarn::test::LoopbackServer;
using tarn::test::ScriptedServer;
using testing::ElementsAre;
using testing::HasSubstr;
using Connection = ScriptedServer::Connection;

namespace {

class HTTPSessionTest : public testing::Test {
 protected:
  std::future<Result<HTTPResponse>> start(HTTPSession& session, HTTPRequest request) {
    auto outcome = std::make_shared<std::promise<Result<HTTPResponse>>>();
    auto future = outcome->get_future();
    session.start(std::move(request), queue, [outcome](Result<HTTPResponse> result) {
      outcome->set_value(std::move(result));  // throws when called twice
    });
    return future;
  }

  Result<HTTPResponse> get(HTTPSession& session, const URL& url) { return start(session, {url, {}}).get(); }

  tarn::OperationQueue queue{"delivery"};
};

HTTPErrorCode codeOf(const Result<HTTPResponse>& result) {
  if (result) return HTTPErrorCode{0};
  EXPECT_EQ(result.error().domain, tarn::kHTTPErrorDomain);
  return static_cast<HTTPErrorCode>(result.error().code);
}

/// Answers every request of a connection with 200.
void behave(Connection& connection) {
  while (connection.readRequest()) connection.respond("ok");
}

void sayNothing(Connection& connection) {
  connection.waitForHangUp();
}

ScriptedServer::Script answering(std::string bytes) {
  return [bytes = std::move(bytes)](Connection& connection) {
    if (connection.readRequest()) connection.send(bytes);
  };
}

/// Sends `piece` again and again behind `head`.
ScriptedServer::Script endless(std::string head, std::string piece) {
  return [head = std::move(head), piece = std::move(piece)](Connection& connection) {
    connection.readRequest();
    connection.send(head);
    while (connection.send(piece)) {
    }
  };
}

std::string gzipped(const std::string& text) {
  z_stream stream{};
  deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
  std::string packed(deflateBound(&stream, text.size()), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

std::string gzipResponse(const std::string& body) {
  const std::string packed = gzipped(body);
  return "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: " + std::to_string(packed.size()) +
         "\r\n\r\n" + packed;
}

}  // namespace

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
  EXPECT_THAT(response->headers,
              testing::IsSupersetOf({Field("x-twice", "1"), Field("x-twice", "2"), Field("x-blank", ""),
                                     Field("content-length", "11")}));
  EXPECT_THAT(response->headers, testing::Not(testing::Contains(Field("x-moved", "1"))));
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
  ASSERT_TRUE(start(session, {url,
                              {{"User-Agent", "player/1"},
                               {"X-Twice", "1"},
                               {"X-Twice", "2; q=0"},
                               {"X-Empty", ""},
                               {"X-Name", "Zoë"}}})
                  .get());
  ASSERT_TRUE(get(session, server.url("/plain"))) << "the fields of the request before must be gone";

  ASSERT_EQ(heads.size(), 2U);
  EXPECT_THAT(heads[0], testing::StartsWith("GET /path?cb=%5BX%5D HTTP/1.1\r\n"));
  EXPECT_THAT(heads[0],
              testing::EndsWith("User-Agent: player/1\r\nX-Twice: 1\r\nX-Twice: 2; q=0\r\nX-Empty:\r\n"
                                "X-Name: Zoë\r\n\r\n"));
  EXPECT_THAT(heads[1], testing::Not(HasSubstr("X-")));
}

TEST_F(HTTPSessionTest, RefusesWhatMustNotBeSentAndSaysWhy) {
  LoopbackServer server;
  HTTPSession session;
  struct Case {
    std::string url;
    std::pair<std::string, std::string> header;
    HTTPErrorCode code;
    std::string named;
  };
  const std::string web = server.url("/x").absoluteString();
  const std::vector<Case> cases{
      {"file:///etc/passwd", {"A", "b"}, HTTPErrorCode::unsupportedScheme, "file:///etc/passwd"},
      {"ftp://127.0.0.1/x", {"A", "b"}, HTTPErrorCode::unsupportedScheme, "ftp://127.0.0.1/x"},
      {web, {"", "b"}, HTTPErrorCode::invalidHeader, "name is empty"},
      {web, {"A:b", "c"}, HTTPErrorCode::invalidHeader, "\"A:b\""},
      {web, {"A b", "c"}, HTTPErrorCode::invalidHeader, "\"A b\""},
      {web, {"X\r\nEvil", "c"}, HTTPErrorCode::invalidHeader, "\"X\\x0d\\x0aEvil\""},
      {web, {"X-Split", "a\r\nEvil: 1"}, HTTPErrorCode::invalidHeader, "\"X-Split\""},
      {web, {"X-Feed", "a\nb"}, HTTPErrorCode::invalidHeader, "\"X-Feed\""},
      {web, {"X-Nul", std::string("a\0b", 3)}, HTTPErrorCode::invalidHeader, "\"X-Nul\""},
      {web, {std::string("X\0", 2), "b"}, HTTPErrorCode::invalidHeader, "\"X\\x00\""},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.named);
    const auto result = start(session, {*URL::fromString(each.url), {{"Fine", "1"}, each.header}}).get();
    ASSERT_EQ(codeOf(result), each.code);
    EXPECT_THAT(*result.error().description, HasSubstr("was not sent"));
    EXPECT_THAT(*result.error().description, HasSubstr(each.url));
    EXPECT_THAT(*result.error().description, HasSubstr(each.named));
    EXPECT_TRUE(result.error().recoverySuggestion);
    session.startAndForget({*URL::fromString(each.url), {each.header}});
  }
  EXPECT_TRUE(session.flush(0ms));
  EXPECT_THAT(server.targets(), ElementsAre());
}

TEST_F(HTTPSessionTest, NamesEachFailureTheURLAndTheCause) {
  const HTTPConfiguration small{.maximumRedirects = 3, .maximumBodySize = 10'000};
  HTTPConfiguration impatient = small;
  impatient.totalTimeout = 150ms;
  const std::string ok = "HTTP/1.1 200 OK\r\n";
  const std::string chunked = ok + "Transfer-Encoding: chunked\r\n\r\n";
  struct Case {
    std::string name;
    HTTPConfiguration configuration;
    ScriptedServer::Script script;
    HTTPErrorCode code;
    std::string text;
  };
  const std::vector<Case> cases{
      {"hangs up unasked", small, [](Connection&) {}, HTTPErrorCode::connectionLost, "broke off"},
      {"hangs up unanswered", small, answering(""), HTTPErrorCode::connectionLost, "broke off"},
      {"body cut off", small, answering(ok + "Content-Length: 9\r\n\r\n1234"), HTTPErrorCode::connectionLost,
       "broke"},
      {"chunk cut off", small, answering(chunked + "9\r\n1234"), HTTPErrorCode::connectionLost, "broke off"},
      {"chunk garbage", small, answering(chunked + "zz\r\n1234"), HTTPErrorCode::connectionLost, "broke off"},
      {"not HTTP", small, answering("SSH-2.0-OpenSSH_9.2\r\n"), HTTPErrorCode::other, "not HTTP"},
      {"broken gzip", small, answering(ok + "Content-Encoding: gzip\r\nContent-Length: 4\r\n\r\n\x1F\x8B?!"),
       HTTPErrorCode::other, "failed"},
      {"silent", impatient, sayNothing, HTTPErrorCode::timedOut, "within 150 ms"},
      {"silent in the body", impatient,
       [=](Connection& c) {
         c.send(ok + "Content-Length: 9\r\n\r\n1234");
         c.waitForHangUp();
       },
       HTTPErrorCode::timedOut, "within 150 ms"},
      {"redirect loop", small,
       answering("HTTP/1.1 302 Found\r\nLocation: /again\r\nContent-Length: 0\r\n\r\n"),
       HTTPErrorCode::tooManyRedirects, "more than 3 times"},
      {"redirect to a file", small,
       answering("HTTP/1.1 302 Found\r\nLocation: file:///etc/passwd\r\nContent-Length: 0\r\n\r\n"),
       HTTPErrorCode::unsupportedScheme, "file:///etc/passwd"},
      {"endless body", small, endless(ok + "\r\n", std::string(1'000, 'x')), HTTPErrorCode::responseTooLarge,
       "limit of 10000 bytes"},
      {"endless header", small, endless(ok, "X-More: " + std::string(1'000, 'x') + "\r\n"),
       HTTPErrorCode::responseTooLarge, "header fields"},
      {"endless interim responses", small, endless("", "HTTP/1.1 100 Continue\r\n\r\n"),
       HTTPErrorCode::responseTooLarge, "header fields"},
      {"gzip bomb", small, answering(gzipResponse(std::string(50'000'000, 'x'))),
       HTTPErrorCode::responseTooLarge, "limit of 10000 bytes"},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    ScriptedServer server(each.script);
    HTTPSession session(each.configuration);
    const URL url = server.url("/" + std::to_string(&each - cases.data()));
    const auto result = get(session, url);
    ASSERT_EQ(codeOf(result), each.code) << (result ? result->body : chainDescription(result.error()));
    EXPECT_THAT(*result.error().description, HasSubstr("GET " + url.absoluteString() + " failed"));
    EXPECT_THAT(*result.error().description, HasSubstr(each.text));
    EXPECT_EQ(result.error().recoverySuggestion.has_value(), each.name != "broken gzip");
    ASSERT_NE(result.error().underlying, nullptr);
    EXPECT_EQ(result.error().underlying->domain, "libcurl");
    EXPECT_NE(result.error().underlying->code, 0);
    EXPECT_NE(result.error().underlying->description, std::nullopt);
  }
}

TEST_F(HTTPSessionTest, TellsAConnectionThatIsNotMadeFromASlowResponse) {
  ScriptedServer server(behave);
  server.stall();
  HTTPSession session({.connectTimeout = 100ms});
  const auto unanswered = get(session, server.url("/"));
  EXPECT_EQ(codeOf(unanswered), HTTPErrorCode::cannotConnect);
  EXPECT_THAT(*unanswered.error().description, HasSubstr("did not answer the connection within 100 ms"));

  const URL gone = [] { return ScriptedServer(behave).url("/gone"); }();
  EXPECT_EQ(codeOf(get(session, gone)), HTTPErrorCode::cannotConnect);
  EXPECT_EQ(codeOf(get(session, *URL::fromString("http://nowhere.invalid/"))), HTTPErrorCode::cannotConnect);
}

TEST_F(HTTPSessionTest, AcceptsNoServerThatItCannotVerify) {
  LoopbackServer impostor(LoopbackServer::Transport::selfSignedTLS);
  HTTPSession session;
  EXPECT_EQ(codeOf(get(session, impostor.url("/"))), HTTPErrorCode::tls);
  EXPECT_THAT(impostor.targets(), ElementsAre());

  ScriptedServer plain([](Connection& connection) { connection.respond("too early, and in the clear"); });
  const auto notTLS = *URL::fromString("https" + plain.url("/").absoluteString().substr(4));
  EXPECT_EQ(codeOf(get(session, notTLS)), HTTPErrorCode::tls);
}

TEST_F(HTTPSessionTest, DecompressesAndCountsTheLimitAfterwards) {
  const std::string text(10'000, 'v');
  LoopbackServer server;
  server.answer("/vmap", {200, text, {}, "text/xml"});
  ScriptedServer exact([&](Connection& connection) {
    while (connection.readRequest()) connection.send(gzipResponse(text));
  });
  HTTPSession fits({.maximumBodySize = 10'000});
  const auto response = get(fits, exact.url("/"));
  ASSERT_TRUE(response) << chainDescription(response.error());
  EXPECT_EQ(response->body, text);
  HTTPSession tooSmall({.maximumBodySize = 9'999});
  EXPECT_EQ(codeOf(get(tooSmall, exact.url("/"))), HTTPErrorCode::responseTooLarge);
  EXPECT_EQ(get(fits, server.url("/vmap"))->body, text);
}

TEST_F(HTTPSessionTest, KeepsNothingOfDiscardedBodiesAndStillBoundsThem) {
  HTTPSession session({.maximumBodySize = 10'000, .discardBodies = true});
  ScriptedServer polite(behave);
  EXPECT_EQ(get(session, polite.url("/"))->body, "");
  ScriptedServer rude(endless("HTTP/1.1 200 OK\r\n\r\n", std::string(1'000, 'x')));
  EXPECT_EQ(codeOf(get(session, rude.url("/"))), HTTPErrorCode::responseTooLarge);
}

TEST_F(HTTPSessionTest, ReusesAConnection) {
  ScriptedServer server(behave);
  HTTPSession session;
  for (int i = 0; i < 20; ++i) ASSERT_TRUE(get(session, server.url("/")));
  EXPECT_EQ(server.connections(), 1);
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

TEST_F(HTTPSessionTest, RequestsToOneOriginDoNotWaitForOneAnothersResponses) {
  LoopbackServer server;
  server.hold("/held");
  HTTPSession session({.maximumConnectionsPerHost = 4});
  std::vector<std::future<Result<HTTPResponse>>> held;
  for (int i = 0; i < 3; ++i) held.push_back(start(session, {server.url("/held"), {}}));
  EXPECT_TRUE(get(session, server.url("/free")));
  server.release();
  for (auto& each : held) EXPECT_TRUE(each.get());
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

TEST_F(HTTPSessionTest, FollowsRedirectsAlsoWhereItNeverRepeats) {
  LoopbackServer server;
  server.answer("/1", {302, "", {{"Location", "/2"}}});
  server.answer("/2", {307, "", {{"Location", "/3"}}});
  HTTPSession session({.discardBodies = true, .neverResend = true});
  EXPECT_EQ(get(session, server.url("/1"))->effectiveURL, server.url("/3").absoluteString());
  EXPECT_THAT(server.targets(), ElementsAre("/1", "/2", "/3"));
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
  struct DroppingQueue final : tarn::Queue {
    void async(tarn::Task) override {}
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

TEST(HTTPSessionExitTest, TheProcessExitsAlthoughASessionIsNeverDestroyed) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        static auto* const server = new ScriptedServer(sayNothing);
        static auto* const session = new HTTPSession;
        session->startAndForget({server->url("/"), {}});
        while (server->connections() == 0) std::this_thread::yield();
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
}
