#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/URL.h"

namespace tarn::test {

/// A request that a server received.
struct ReceivedRequest {
  std::string target;
  std::string head;  ///< The request line and the header fields, byte for byte.

  /// The values of the fields of that name in any case, in order.
  [[nodiscard]] std::vector<std::string> values(std::string_view name) const;
};

/// An HTTP server on 127.0.0.1, at a port chosen by the system. It returns the responses that are set below:
///
///     LoopbackServer server;
///     server.setResponse("/vmap", {.body = document});
///     load(server.url("/vmap?id=1"));
///     EXPECT_THAT(server.targets(), ElementsAre("/vmap?id=1"));
///
/// For faults that need control of the bytes and of the connection, give it a script. Destroying the server
/// closes all connections, so no script and no client waits without end. Any thread.
class LoopbackServer {
 public:
  /// A request for a range that has no end ("bytes=100-") receives that part of a body, with status 206.
  struct Response {
    int status = 200;
    std::string body = {};
    std::vector<std::pair<std::string, std::string>> headers = {};  ///< Besides Content-Length.
    bool isCutOff = false;  ///< The connection is closed after half of the body.
  };

  class Connection {
   public:
    /// Returns the next request; absent when the connection was closed.
    std::optional<ReceivedRequest> readRequest();
    // The operations below return false when the connection was closed.
    bool send(std::string_view bytes);
    bool respond(const Response& response);
    bool respond() { return respond({}); }
    /// Sends the response of each request, until the connection is closed.
    void serve();
    void waitForHangUp();
    /// Whether the client has sent something that was not read yet.
    [[nodiscard]] bool hasInput() const;
    [[nodiscard]] int socket() const { return socket_; }
    /// Counts from 0 in the order of acceptance.
    [[nodiscard]] int number() const { return number_; }

   private:
    friend class LoopbackServer;
    Connection(LoopbackServer& server, int socket, int number)
        : server_(server), socket_(socket), number_(number) {}
    LoopbackServer& server_;
    const int socket_;
    const int number_;
    std::string buffered_;
  };
  /// Each connection runs it on a thread of its own and is closed when it returns.
  using Script = std::function<void(Connection&)>;

  explicit LoopbackServer(Script script = &Connection::serve);
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;
  ~LoopbackServer();

  [[nodiscard]] URL url(const std::string& target) const;

  /// The response of a path, with any query, from now on; without one it is status 200 with an empty body.
  void setResponse(const std::string& path, Response response);
  /// The response of the next request for `path` alone.
  void setNextResponse(const std::string& path, Response response);
  /// Requests for `path` receive no response until `release`, or until its response is set.
  void hold(const std::string& path);
  void release();

  /// All requests that were read, in that order.
  [[nodiscard]] std::vector<ReceivedRequest> requests() const;
  [[nodiscard]] std::vector<std::string> targets() const;
  /// Waits until `count` requests have been read; false after 20 s.
  bool waitForRequests(std::size_t count);
  [[nodiscard]] int connections() const;

  /// From this call to `resume`, new clients wait for their connection (the system retries once a second).
  /// Existing connections are not affected.
  void stall();
  void resume();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tarn::test
