#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

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
  void serve(const std::string& path, std::string body, std::string type) {
    give(path, {.body = std::move(body), .type = std::move(type)});
  }
  /// Does not answer requests for `path` before it is given another answer.
  void hang(const std::string& path) { give(path, {.fault = Fault::hang}); }
  /// Answers with an error status, from now on or once.
  void refuse(const std::string& path, int status, bool once = false) {
    give(path, {.fault = Fault::refuse, .status = status, .once = once});
  }
  /// Cuts the connection after the first half of the body.
  void breakOff(const std::string& path, bool once = false) {
    give(path, {.fault = Fault::breakOff, .once = once});
  }
  /// Behaves from now on.
  void heal(const std::string& path) { give(path, {}); }
  [[nodiscard]] int requests(const std::string& path) const;

 private:
  struct State;
  enum class Fault { none, hang, refuse, breakOff };
  struct Answer {
    Fault fault = Fault::none;
    int status = 200;
    std::optional<std::string> body = std::nullopt;
    std::string type = {};
    bool once = false;
  };

  void give(const std::string& path, Answer answer);

  std::unique_ptr<State> state_;
};

}  // namespace tarn::test
