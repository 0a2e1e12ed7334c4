#pragma once

#include <chrono>
#include <optional>

#include "Platform/HTTPSession.h"

namespace tarn {

/// Decides when an origin's next request may start.
///
/// While connections work, requests keep their order: the next one starts when the previous one has a
/// connection. An unfinished connection attempt delays the next request by `connectionAttemptDelay` only.
/// After a failed attempt there is a pause, which doubles with each failure and ends with the next
/// connection.
class ConnectionPacing {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// `configuration` outlives it.
  explicit ConnectionPacing(const HTTPConfiguration& configuration) : configuration_(configuration) {}

  /// The earliest time for the next request, `Time::min()` for now; absent while it must wait until a request
  /// connects or ends.
  [[nodiscard]] std::optional<Time> nextStart() const;
  /// The number of requests started and not ended.
  [[nodiscard]] int active() const { return connecting_ + exchanging_; }

  void started(Time now);
  /// A request that was connecting has a connection now.
  void connected();
  /// A request that was connecting has failed.
  void failedToConnect(Time now);
  /// A request that was connecting was cancelled.
  void abandoned() { --connecting_; }
  /// A request that had a connection has ended; `reusable`: the connection is kept.
  void ended(bool reusable);

 private:
  const HTTPConfiguration& configuration_;
  int connecting_ = 0;
  int exchanging_ = 0;
  bool hasIdleConnection_ = false;  // that the next request will use
  std::chrono::milliseconds pause_{0};
  Time notBefore_ = Time::min();
};

}  // namespace tarn
