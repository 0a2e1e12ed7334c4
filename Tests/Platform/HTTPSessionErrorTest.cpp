#include <gmock/gmock.h>
#include <zlib.h>

#include <string>
#include <vector>

#include "HTTPSessionFixture.h"
#include "Platform/HTTPSession.h"
#include "Support/LoopbackServer.h"
#include "Support/ScriptedServer.h"

using namespace std::chrono_literals;
using tarn::HTTPConfiguration;
using tarn::HTTPErrorCode;
using tarn::HTTPSession;
using tarn::URL;
using tarn::test::behave;
using tarn::test::codeOf;
using tarn::test::LoopbackServer;
using tarn::test::sayNothing;
using tarn::test::ScriptedServer;
using testing::ElementsAre;
using testing::HasSubstr;
using Connection = ScriptedServer::Connection;
using HTTPSessionErrorTest = tarn::test::HTTPSessionFixture;

namespace {

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

TEST_F(HTTPSessionErrorTest, RefusesWhatMustNotBeSentAndSaysWhy) {
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

TEST_F(HTTPSessionErrorTest, NamesEachFailureTheURLAndTheCause) {
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

TEST_F(HTTPSessionErrorTest, TellsAConnectionThatIsNotMadeFromASlowResponse) {
  ScriptedServer server(behave);
  server.stall();
  HTTPSession session({.connectTimeout = 100ms});
  const auto unanswered = get(session, server.url("/"));
  EXPECT_EQ(codeOf(unanswered), HTTPErrorCode::cannotConnect);
  EXPECT_THAT(*unanswered.error().description, HasSubstr("did not answer the connection within 100 ms"));

  ScriptedServer redirecting([&](Connection& connection) {
    connection.readRequest();
    connection.send("HTTP/1.1 302 Found\r\nLocation: " + server.url("/").absoluteString() +
                    "\r\nContent-Length: 0\r\n\r\n");
  });
  EXPECT_EQ(codeOf(get(session, redirecting.url("/"))), HTTPErrorCode::cannotConnect);

  const URL gone = [] { return ScriptedServer(behave).url("/gone"); }();
  EXPECT_EQ(codeOf(get(session, gone)), HTTPErrorCode::cannotConnect);
  EXPECT_EQ(codeOf(get(session, *URL::fromString("http://nowhere.invalid/"))), HTTPErrorCode::cannotConnect);
}

TEST_F(HTTPSessionErrorTest, AcceptsNoServerThatItCannotVerify) {
  LoopbackServer impostor(LoopbackServer::Transport::selfSignedTLS);
  HTTPSession session;
  EXPECT_EQ(codeOf(get(session, impostor.url("/"))), HTTPErrorCode::tls);
  EXPECT_THAT(impostor.targets(), ElementsAre());

  ScriptedServer plain([](Connection& connection) { connection.respond("too early, and in the clear"); });
  const auto notTLS = *URL::fromString("https" + plain.url("/").absoluteString().substr(4));
  EXPECT_EQ(codeOf(get(session, notTLS)), HTTPErrorCode::tls);
}

TEST_F(HTTPSessionErrorTest, DecompressesAndCountsTheLimitAfterwards) {
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

TEST_F(HTTPSessionErrorTest, KeepsNothingOfDiscardedBodiesAndStillBoundsThem) {
  HTTPSession session({.maximumBodySize = 10'000, .discardBodies = true});
  ScriptedServer polite(behave);
  EXPECT_EQ(get(session, polite.url("/"))->body, "");
  ScriptedServer rude(endless("HTTP/1.1 200 OK\r\n\r\n", std::string(1'000, 'x')));
  EXPECT_EQ(codeOf(get(session, rude.url("/"))), HTTPErrorCode::responseTooLarge);
}
