#include <gmock/gmock.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <zlib.h>

#include "HTTPSessionFixture.h"

using namespace std::chrono_literals;
using namespace tarn;
using namespace tarn::test;
using namespace testing;
using Connection = LoopbackServer::Connection;
using HTTPSessionErrorTest = HTTPSessionFixture;

namespace {

LoopbackServer::Script returning(std::string bytes) {
  return [bytes = std::move(bytes)](Connection& connection) {
    if (connection.readRequest()) connection.send(bytes);
  };
}

/// Sends `head`, then `piece` repeatedly.
LoopbackServer::Script endless(std::string head, std::string piece) {
  return [head = std::move(head), piece = std::move(piece)](Connection& connection) {
    connection.readRequest();
    connection.send(head);
    while (connection.send(piece)) {
    }
  };
}

std::string redirection(const std::string& location) {
  return "HTTP/1.1 302 Found\r\nLocation: " + location + "\r\nContent-Length: 0\r\n\r\n";
}

std::string compressed(const std::string& text) {
  uLongf size = compressBound(text.size());
  std::string bytes(size, '\0');
  compress(reinterpret_cast<Bytef*>(bytes.data()), &size, reinterpret_cast<const Bytef*>(text.data()),
           text.size());
  bytes.resize(size);
  return bytes;
}

/// Whether a client accepts a certificate for 127.0.0.1 that no authority has signed.
bool acceptTLS(const Connection& connection) {
  const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen("P-256"), &EVP_PKEY_free);
  const std::unique_ptr<X509, decltype(&X509_free)> certificate(X509_new(), &X509_free);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -3'600);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3'600);
  X509_set_pubkey(certificate.get(), key.get());
  X509_NAME* name = X509_get_subject_name(certificate.get());
  const auto* commonName = reinterpret_cast<const unsigned char*>("127.0.0.1");
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, commonName, -1, -1, 0);
  X509_set_issuer_name(certificate.get(), name);
  X509_sign(certificate.get(), key.get(), EVP_sha256());

  const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context(SSL_CTX_new(TLS_server_method()),
                                                                  &SSL_CTX_free);
  SSL_CTX_use_certificate(context.get(), certificate.get());
  SSL_CTX_use_PrivateKey(context.get(), key.get());
  const std::unique_ptr<SSL, decltype(&SSL_free)> tls(SSL_new(context.get()), &SSL_free);
  SSL_set_fd(tls.get(), connection.socket());
  char byte = 0;
  return SSL_accept(tls.get()) == 1 && SSL_read(tls.get(), &byte, 1) == 1;
}

}  // namespace

TEST_F(HTTPSessionErrorTest, ReportsWhyARequestCannotBeSent) {
  LoopbackServer server;
  HTTPSession session;
  const std::string web = server.url("/x").absoluteString();
  // The URL, a header field, and a text that the error contains.
  const std::tuple<std::string, std::pair<std::string, std::string>, std::string> cases[] = {
      {"file:///etc/passwd", {"A", "b"}, "file:///etc/passwd"},
      {web, {"", "b"}, "name is empty"},
      {web, {"A b", "c"}, "\"A b\""},
      {web, {"X\r\nEvil", "c"}, "\"X\\x0d\\x0aEvil\""},
      {web, {"X-Feed", "a\nb"}, "\"X-Feed\""},
      {web, {"X-Nul", std::string("a\0b", 3)}, "\"X-Nul\""},
      {web, {std::string("X\0", 2), "b"}, "\"X\\x00\""}};
  for (const auto& [url, header, named] : cases) {
    SCOPED_TRACE(named);
    const auto result = start(session, {*URL::fromString(url), {{"Fine", "1"}, header}}).get();
    ASSERT_EQ(codeOf(result), url == web ? HTTPErrorCode::invalidHeader : HTTPErrorCode::unsupportedScheme);
    EXPECT_THAT(*result.error().description,
                AllOf(HasSubstr("was not sent"), HasSubstr(url), HasSubstr(named)));
    EXPECT_TRUE(result.error().recoverySuggestion);
    session.startAndForget({*URL::fromString(url), {header}});
  }
  EXPECT_TRUE(session.flush(0ms));
  EXPECT_THAT(server.targets(), IsEmpty());
}

TEST_F(HTTPSessionErrorTest, ReportsTheFailureTheURLAndTheCause) {
  const HTTPConfiguration small{.maximumRedirects = 3, .maximumBodySize = 10'000};
  HTTPConfiguration impatient = small;
  impatient.totalTimeout = 500ms;
  const std::string ok = "HTTP/1.1 200 OK\r\n";
  const std::string chunked = ok + "Transfer-Encoding: chunked\r\n\r\n";
  const std::string cut = ok + "Content-Length: 9\r\n\r\n1234";
  const std::string brokenGzip = ok + "Content-Encoding: gzip\r\nContent-Length: 4\r\n\r\n\x1F\x8B?!";
  const std::string many(1'000, 'x');
  const auto silentInTheBody = [=](Connection& c) { c.send(cut), c.waitForHangUp(); };
  using Case = std::tuple<std::string, LoopbackServer::Script, std::string>;
  const std::pair<HTTPErrorCode, std::vector<Case>> cases[] = {
      {HTTPErrorCode::connectionLost,
       {{"hangs up unasked", [](Connection&) {}, "broke off"},
        {"hangs up unanswered", returning(""), "broke off"},
        {"body cut off", returning(cut), "broke"},
        {"chunk cut off", returning(chunked + "9\r\n1234"), "broke off"},
        {"chunk garbage", returning(chunked + "zz\r\n1234"), "broke off"}}},
      {HTTPErrorCode::other,
       {{"not HTTP", returning("SSH-2.0-OpenSSH_9.2\r\n"), "not HTTP"},
        {"broken gzip", returning(brokenGzip), "failed"}}},
      {HTTPErrorCode::timedOut,
       {{"silent", sendNoResponse, "within 500 ms"},
        {"silent in the body", silentInTheBody, "within 500 ms"}}},
      {HTTPErrorCode::tooManyRedirects,
       {{"redirect loop", returning(redirection("/again")), "more than 3 times"}}},
      {HTTPErrorCode::unsupportedScheme,
       {{"redirect to a file", returning(redirection("file:///etc/passwd")), "file:///etc/passwd"}}},
      {HTTPErrorCode::responseTooLarge,
       {{"endless body", endless(ok + "\r\n", many), "limit of 10000 bytes"},
        {"endless header", endless(ok, "X-More: " + many + "\r\n"), "header fields"},
        {"endless interim responses", endless("", "HTTP/1.1 100 Continue\r\n\r\n"), "header fields"}}}};
  for (const auto& [code, group] : cases) {
    for (const auto& [name, script, text] : group) {
      SCOPED_TRACE(name);
      LoopbackServer server(script);
      HTTPSession session(code == HTTPErrorCode::timedOut ? impatient : small);
      const URL url = server.url("/" + std::to_string(name.size()));
      const auto result = get(session, url);
      ASSERT_EQ(codeOf(result), code) << (result ? result->body : chainDescription(result.error()));
      EXPECT_THAT(*result.error().description,
                  AllOf(HasSubstr("GET " + url.absoluteString() + " failed"), HasSubstr(text)));
      EXPECT_EQ(result.error().recoverySuggestion.has_value(), name != "broken gzip");
      EXPECT_THAT(result.error().underlying,
                  Pointee(AllOf(Field(&Error::domain, "libcurl"), Field(&Error::code, Ne(0)),
                                Field(&Error::description, Ne(std::nullopt)))));
    }
  }
}

TEST_F(HTTPSessionErrorTest, DistinguishesAFailedConnectionFromASlowResponse) {
  LoopbackServer server;
  server.stall();
  HTTPSession session({.connectTimeout = 100ms});
  const auto unanswered = get(session, server.url("/"));
  EXPECT_EQ(codeOf(unanswered), HTTPErrorCode::cannotConnect);
  EXPECT_THAT(*unanswered.error().description, HasSubstr("did not answer the connection within 100 ms"));

  LoopbackServer redirecting(returning(redirection(server.url("/").absoluteString())));
  EXPECT_EQ(codeOf(get(session, redirecting.url("/"))), HTTPErrorCode::cannotConnect);

  const URL gone = [] { return LoopbackServer().url("/gone"); }();
  EXPECT_EQ(codeOf(get(session, gone)), HTTPErrorCode::cannotConnect);
  EXPECT_EQ(codeOf(get(session, *URL::fromString("http://nowhere.invalid/"))), HTTPErrorCode::cannotConnect);
}

TEST_F(HTTPSessionErrorTest, RejectsAServerThatItCannotVerify) {
  LoopbackServer unverified([](Connection& connection) {
    EXPECT_FALSE(acceptTLS(connection)) << "the client accepts the certificate";
  });
  HTTPSession session;
  EXPECT_EQ(codeOf(get(session, withTLS(unverified.url("/")))), HTTPErrorCode::tls);
  EXPECT_EQ(unverified.connections(), 1);

  LoopbackServer plain(
      [](Connection& connection) { connection.respond({.body = "too early, and in the clear"}); });
  EXPECT_EQ(codeOf(get(session, withTLS(plain.url("/")))), HTTPErrorCode::tls);
}

TEST_F(HTTPSessionErrorTest, LimitsTheDecompressedSizeAlsoOfDiscardedBodies) {
  const std::string text(10'000, 'v');
  LoopbackServer server;
  server.setResponse("/vmap", {200, compressed(text), {{"Content-Encoding", "deflate"}}});
  server.setResponse("/bomb",
                     {200, compressed(std::string(5'000'000, 'x')), {{"Content-Encoding", "deflate"}}});
  HTTPSession fits({.maximumBodySize = 10'000});
  const auto response = get(fits, server.url("/vmap"));
  ASSERT_TRUE(response) << chainDescription(response.error());
  EXPECT_EQ(response->body, text);
  EXPECT_THAT(server.requests()[0].values("accept-encoding"), ElementsAre(HasSubstr("deflate")));
  HTTPSession tooSmall({.maximumBodySize = 9'999});
  EXPECT_EQ(codeOf(get(tooSmall, server.url("/vmap"))), HTTPErrorCode::responseTooLarge);
  EXPECT_EQ(codeOf(get(fits, server.url("/bomb"))), HTTPErrorCode::responseTooLarge);

  HTTPSession discarding({.maximumBodySize = 9'999, .discardBodies = true});
  LoopbackServer endlessServer(endless("HTTP/1.1 200 OK\r\n\r\n", std::string(1'000, 'x')));
  EXPECT_EQ(codeOf(get(discarding, endlessServer.url("/"))), HTTPErrorCode::responseTooLarge);
  server.setResponse("/short", {.body = "ok"});
  EXPECT_EQ(get(discarding, server.url("/short"))->body, "");
}
