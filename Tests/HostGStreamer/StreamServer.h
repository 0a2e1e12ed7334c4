#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Platform/URL.h"

namespace tarn::test {

/// A real HTTP server on the loopback interface that serves the test stream, and misbehaves on request.
class StreamServer {
 public:
  StreamServer();
  StreamServer(const StreamServer&) = delete;
  StreamServer& operator=(const StreamServer&) = delete;
  ~StreamServer();

  /// "/index.m3u8" is the whole stream; others see the handlers below.
  [[nodiscard]] URL url(const std::string& path) const;

  /// Answers `path` with this body from now on.
  void serve(const std::string& path, std::string body, std::string type);
  /// Does not answer requests for `path` before it is given another answer.
  void hang(const std::string& path);
  /// Answers with an error status.
  void refuse(const std::string& path, int status);
  /// Cuts the connection after the first half of the body.
  void breakOff(const std::string& path);
  /// Behaves from now on, or after the next request.
  void heal(const std::string& path);
  void healAfterOne(const std::string& path);
  [[nodiscard]] int requests(const std::string& path) const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tarn::test
