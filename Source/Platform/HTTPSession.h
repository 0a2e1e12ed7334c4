#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Queue.h"
#include "Platform/Result.h"
#include "Platform/URL.h"

namespace tarn {

/// Domain of transport errors; codes are `HTTPErrorCode`.
inline constexpr const char* kHTTPErrorDomain = "tarn.http";

enum class HTTPErrorCode : std::int64_t {
  unsupportedScheme = 1,  ///< Neither http nor https, in the request or in a redirect.
  invalidHeader = 2,      ///< A header name or value that cannot be sent (line breaks, empty name).
  cannotConnect = 3,      ///< The host is unknown, or it refuses the connection or does not react.
  timedOut = 4,
  tls = 5,  ///< The certificate or the handshake failed.
  tooManyRedirects = 6,
  responseTooLarge = 7,
  connectionLost = 8,  ///< The connection ended before the response was complete.
  cancelled =
      9,  ///< `HTTPTask::cancel` was called, or the session destroyed, before the response was complete.
  other = 10,
  dropped = 11,  ///< Too many requests were waiting, and this one was the oldest.
};

struct HTTPRequest {
  URL url;
  /// Sent as given and in order; repeated names accumulate.
  std::vector<std::pair<std::string, std::string>> headers;
};

struct HTTPResponse {
  int status = 0;
  std::vector<std::pair<std::string, std::string>> headers;  ///< Names in lower case.
  std::string body;
  std::string effectiveURL;  ///< After redirects.
};

struct HTTPConfiguration {
  /// For one connection attempt, name look-up and TLS handshake included.
  std::chrono::milliseconds connectTimeout{15'000};
  /// From `start` to the last byte received: waiting for other requests, connecting and redirects included. A
  /// request that starts late has only the remaining time, also for connecting.
  std::chrono::milliseconds totalTimeout{60'000};
  /// How long an unfinished connection attempt delays the next request to its origin.
  std::chrono::milliseconds connectionAttemptDelay{1'000};
  /// The pause of an origin between a failed connection attempt and the next one. It doubles with each
  /// further failure, up to 16 times this value, and ends as soon as a connection is made.
  std::chrono::milliseconds failedConnectionPause{500};
  int maximumRedirects = 10;
  /// After decompression. A longer body ends the request with an error, also if bodies are discarded.
  std::size_t maximumBodySize = std::size_t{64} << 20U;
  int maximumConnectionsPerHost = 16;
  /// How many requests to one origin may wait; all origins together may have four times as many waiting. One
  /// more drops the oldest.
  std::size_t maximumWaitingRequests = 20'000;
  /// The same for the bytes of their URLs and header fields.
  std::size_t maximumWaitingBytes = std::size_t{16} << 20U;
  /// Do not keep response bodies: for requests whose response is not read.
  bool discardBodies = false;
  /// Send every request at most once: do not repeat it when a reused connection turns out to be dead.
  bool neverResend = false;
};

struct HTTPStatistics {
  // Requests that were never sent, since the session was made.
  std::uint64_t expired = 0;  ///< Waited longer than `totalTimeout`.
  std::uint64_t dropped = 0;  ///< Were the oldest when too many waited.

  std::size_t origins = 0;  ///< Origins that have requests or a pause now.
};

/// Refers to one request of a session; a copy refers to the same request. May outlive the session.
class HTTPTask {
 public:
  /// Refers to no request.
  HTTPTask() = default;

  /// Ends the request: its completion is called with `cancelled`, and its connection is closed (of HTTP/2:
  /// its stream). Returns at once. No effect once the request has ended, or been cancelled. Any thread.
  void cancel() const;

 private:
  friend class HTTPSession;
  struct Request;
  explicit HTTPTask(std::shared_ptr<const Request> request) : request_(std::move(request)) {}

  std::shared_ptr<const Request> request_;
};

/// Sends GET requests over libcurl on one worker thread that all requests of the session share.
///
/// Connections are kept and reused, HTTP/2 if the server offers it over TLS, compression accepted (if bodies
/// are kept), TLS verified against the system's certificates, http and https only, also across redirects.
/// Nothing is stored: no cookies, cache or credentials. Any thread. A slow, dead or hanging server delays
/// only requests to its own origin, as long as fewer than 256 requests are in flight, the limit for all
/// origins.
///
/// Requests to one origin are sent in the order in which they were started, as long as connecting succeeds: a
/// request starts when the previous one has a connection, or after `connectionAttemptDelay`. At most four
/// attempts may be unfinished at once. A failed attempt fails its request, which is not tried again; later
/// requests wait for the end of the origin's pause. Every request ends within `totalTimeout`, whether it was
/// started or not. If a host has IPv6 and IPv4 addresses, an attempt tries both at once (RFC 8305).
///
/// In a child made by `fork` the session has none of its parent's requests; they complete in the parent only.
class HTTPSession {
 public:
  using Completion = std::function<void(Result<HTTPResponse>)>;

  explicit HTTPSession(HTTPConfiguration configuration = {});
  HTTPSession(const HTTPSession&) = delete;
  HTTPSession& operator=(const HTTPSession&) = delete;
  /// Ends all requests with `cancelled` and waits for the worker.
  ~HTTPSession();

  /// Starts the request and returns at once. `completion` is called exactly once, on `deliveryQueue`, which
  /// must outlive the request. Any HTTP status counts as a response.
  HTTPTask start(HTTPRequest request, Queue& deliveryQueue, Completion completion);

  /// Starts the request without a completion: its response and errors are dropped.
  void startAndForget(HTTPRequest request);

  [[nodiscard]] HTTPStatistics statistics() const;

  /// Waits until every request has ended, at most `timeout`; returns whether all have.
  bool flush(std::chrono::milliseconds timeout);

 private:
  class Worker;
  const std::unique_ptr<Worker> worker_;
};

}  // namespace tarn
