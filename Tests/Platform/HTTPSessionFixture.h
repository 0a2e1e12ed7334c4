#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <future>

#include "Platform/HTTPSession.h"
#include "Platform/Operation.h"
#include "Support/LoopbackServer.h"

namespace tarn::test {

/// Whether signals are delivered to the calling thread.
inline bool takesSignals() {
  sigset_t blocked;
  pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
  return sigismember(&blocked, SIGTERM) == 0;
}

/// Starts requests and waits for their results.
class HTTPSessionFixture : public testing::Test {
 protected:
  HTTPSessionFixture() {
    queue.async([] {});
  }  // starts the pool's threads on this thread

  std::future<Result<HTTPResponse>> start(HTTPSession& session, HTTPRequest request) {
    auto outcome = std::make_shared<std::promise<Result<HTTPResponse>>>();
    auto future = outcome->get_future();
    session.start(std::move(request), queue, [outcome](Result<HTTPResponse> result) {
      EXPECT_FALSE(takesSignals()) << "the pool";
      outcome->set_value(std::move(result));  // throws when called twice
    });
    return future;
  }

  Result<HTTPResponse> get(HTTPSession& session, const URL& url) { return start(session, {url, {}}).get(); }

  OperationQueue queue{"delivery"};
};

inline HTTPErrorCode codeOf(const Result<HTTPResponse>& result) {
  if (result) return HTTPErrorCode{0};
  EXPECT_EQ(result.error().domain, kHTTPErrorDomain);
  return static_cast<HTTPErrorCode>(result.error().code);
}

/// The same address with the scheme https.
inline URL withTLS(const URL& url) {
  return *URL::fromString("https" + url.absoluteString().substr(4));
}

inline void sendNoResponse(LoopbackServer::Connection& connection) {
  connection.waitForHangUp();
}

}  // namespace tarn::test
