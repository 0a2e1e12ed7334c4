#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Platform/URL.h"

namespace tarn::test {

/// A request that a server received. Header names are in lower case, in the order of arrival.
struct ReceivedRequest {
  std::string target;
  std::vector<std::pair<std::string, std::string>> headers;

  /// The values of the fields named `name`, in order.
  [[nodiscard]] std::vector<std::string> values(const std::string& name) const;
};

/// A well-behaved HTTP server on 127.0.0.1, at a port chosen by the system. Every target returns 200 with an
/// empty body unless set otherwise. Each request has its own connection. Any thread.
class LoopbackServer {
 public:
  enum class Transport { plain, selfSignedTLS };

  struct Answer {
    int status = 200;
    std::string body = {};
    std::vector<std::pair<std::string, std::string>> headers = {};
    std::string contentType = "application/octet-stream";  ///< Text types are compressed on request.
  };

  explicit LoopbackServer(Transport transport = Transport::plain);
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;
  ~LoopbackServer();

  [[nodiscard]] URL url(const std::string& target) const;
  void answer(const std::string& path, Answer answer);

  /// Requests for `path` receive no response until `release`.
  void hold(const std::string& path);
  void release();

  /// In the order of arrival.
  [[nodiscard]] std::vector<ReceivedRequest> requests() const;
  [[nodiscard]] std::vector<std::string> targets() const;
  /// Waits until `count` requests have arrived; false after 20 s.
  bool waitForRequests(std::size_t count);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tarn::test
