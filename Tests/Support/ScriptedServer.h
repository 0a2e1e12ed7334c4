#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/URL.h"

namespace tarn::test {

/// A server on 127.0.0.1 for faulty behaviour: each connection runs the script on its own thread and is
/// closed when the script returns.
///
/// Destroying the server closes all connections, so no script waits without end.
class ScriptedServer {
 public:
  class Connection {
   public:
    /// The next request's target; absent when the connection was closed.
    std::optional<std::string> readRequest();
    /// The request line and header fields that were read last, byte for byte.
    [[nodiscard]] const std::string& head() const { return head_; }
    /// False when the client has closed the connection.
    bool send(std::string_view bytes);
    /// Sends 200 with `body` and keeps the connection.
    bool respond(std::string_view body = {});
    void waitForHangUp();
    /// Whether the client has sent something that was not read yet.
    [[nodiscard]] bool hasInput() const;
    /// Counts from 0 in the order of acceptance.
    [[nodiscard]] int number() const { return number_; }

   private:
    friend class ScriptedServer;
    Connection(ScriptedServer& server, int socket, int number)
        : server_(server), socket_(socket), number_(number) {}
    ScriptedServer& server_;
    const int socket_;
    const int number_;
    std::string buffered_;
    std::string head_;
  };
  using Script = std::function<void(Connection&)>;

  explicit ScriptedServer(Script script);
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;
  ~ScriptedServer();

  [[nodiscard]] URL url(const std::string& target) const;
  /// Targets of all requests that scripts read, in that order.
  [[nodiscard]] std::vector<std::string> targets() const;
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
