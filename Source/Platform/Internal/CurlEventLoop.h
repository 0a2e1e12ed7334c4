#pragma once

#include <curl/curl.h>

#include <chrono>
#include <functional>
#include <optional>

#include "Platform/Error.h"
#include "Platform/Internal/CurlHandles.h"
#include "Platform/Internal/FileDescriptor.h"
#include "Platform/Internal/SocketWatches.h"

namespace tarn {

/// Drives libcurl's multi handle with epoll: its sockets, its timer, and wake-ups from other threads. Belongs
/// to the worker thread, except `wake`.
class CurlEventLoop {
 public:
  using Clock = std::chrono::steady_clock;

  CurlEventLoop() = default;
  CurlEventLoop(const CurlEventLoop&) = delete;
  CurlEventLoop& operator=(const CurlEventLoop&) = delete;
  ~CurlEventLoop() = default;

  /// Before anything else. At most `maxConnections` idle connections are kept. Fails when the system has no
  /// more descriptors or memory.
  [[nodiscard]] std::optional<Error> setUp(long maxConnections);

  /// Opens and closes the sockets of `handle` through this loop, which must outlive its connections.
  void attachSockets(CURL* handle);

  /// Returns whether `handle` was added and its transfer can begin.
  [[nodiscard]] bool add(CURL* handle);
  void remove(CURL* handle);

  /// Calls `ended` with each transfer that has ended; returns whether there was one.
  bool reportEnded(const std::function<void(CURL*, CURLcode)>& ended);

  /// Waits for events, at most `timeout` milliseconds (-1: without limit), and lets libcurl handle them.
  void wait(int timeout);
  /// Lets libcurl do the work that is due now.
  void runTimers();
  /// When libcurl next has work to do; absent when it has set no timer.
  [[nodiscard]] std::optional<Clock::time_point> nextTimer() const { return timer_; }

  /// Makes `wait` return. Any thread.
  void wake();

  /// Closes all connections and frees the multi handle, from which all handles have been removed.
  void close() { multi_.reset(); }

 private:
  static int onSocket(CURL* easy, curl_socket_t socket, int what, void* self, void*);
  static curl_socket_t openSocket(void* self, curlsocktype purpose, curl_sockaddr* address);
  static int closeSocket(void* self, curl_socket_t socket);
  static int onTimer(CURLM* multi, long timeout, void* self);

  FileDescriptor epoll_;
  FileDescriptor wakeUp_;
  std::optional<SocketWatches> watches_;  // outlives the connections, which `multi_` closes
  CurlMulti multi_;
  std::optional<Clock::time_point> timer_;
};

}  // namespace tarn
