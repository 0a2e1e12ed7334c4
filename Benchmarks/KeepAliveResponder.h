#pragma once

#include <memory>
#include <string>

/// A server on 127.0.0.1 that costs as little as one can: one thread, and for each request 200 with the same
/// body on a connection that stays. What is measured against it is the client.
class KeepAliveResponder {
 public:
  explicit KeepAliveResponder(const std::string& body = "");
  KeepAliveResponder(const KeepAliveResponder&) = delete;
  KeepAliveResponder& operator=(const KeepAliveResponder&) = delete;
  ~KeepAliveResponder();

  [[nodiscard]] std::string url(const std::string& target) const;

 private:
  class Loop;
  std::unique_ptr<Loop> loop_;
};
