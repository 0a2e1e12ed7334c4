#pragma once

#include <memory>
#include <string>

/// A minimal server on 127.0.0.1, to measure clients: one thread; every request receives 200 with the same
/// body, on a persistent connection.
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
