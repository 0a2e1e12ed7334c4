#pragma once

#include <chrono>
#include <optional>

#include "Platform/HTTPSession.h"

namespace tarn {

/// Decides when an origin's next request may start.
///
/// While connections work, requests keep their order: the next one starts when the one before has a
/// connection. A connection attempt that hangs holds the next request back for `connectionAttemptDelay` only.
/// After a failed attempt there is a pause, which doubles with each failure and ends with the next
/// connection.
class ConnectionPacing {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// `configuration` outlives it.
  explicit ConnectionPacing(const HTTPConfiguration& configuration) : configuration_(configuration) {}

  /// From when on the next request may start, `Time::min()` for any time; absent until a request connects or
  /// ends.
  [[nodiscard]] std::optional<Time> nextStart() const;
  /// Requests that were started and have not ended.
  [[nodiscard]] int active() const { return connecting_ + exchanging_; }

  void started(Time now);
  /// A request that was connecting has a connection now.
  void connected();
  /// A request that was connecting has failed.
  void failedToConnect(Time now);
  /// A request that was connecting was cancelled.
  void abandoned() { --connecting_; }
  /// A request that had a connection has ended; `reusable`: the connection stays.
  void ended(bool reusable);

 private:
  const HTTPConfiguration& configuration_;
  int connecting_ = 0;
  int exchanging_ = 0;
  bool hasIdleConnection_ = false;  // which the next request will find
  std::chrono::milliseconds pause_{0};
  Time notBefore_ = Time::min();
};

}  // namespace tarn
