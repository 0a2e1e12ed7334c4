#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "Platform/HTTPSession.h"
#include "Platform/URL.h"

/// Sends beacons: one GET a URL, fired and forgotten. No retry, no error report; the answer is discarded.
///
/// A call returns at once. Beacons leave in the order of the calls, share connections, never wait for one
/// another and are never sent twice. Any thread.
class TarnLumoAnalyticsDigester {
 public:
  /// Sends over the session that all digesters of the process share.
  TarnLumoAnalyticsDigester();
  /// `session` must not be null. Its configuration decides whether a beacon may be sent twice.
  explicit TarnLumoAnalyticsDigester(std::shared_ptr<tarn::HTTPSession> session);
  TarnLumoAnalyticsDigester(const TarnLumoAnalyticsDigester&) = delete;
  TarnLumoAnalyticsDigester& operator=(const TarnLumoAnalyticsDigester&) = delete;
  virtual ~TarnLumoAnalyticsDigester();

  /// An absent URL sends nothing, nor does one that is neither http nor https.
  virtual void digestEvent(const std::optional<tarn::URL>& url);

  /// For the application's shutdown: waits until the beacons under way have been answered or have failed, at
  /// most `timeout`. Answers whether none is left.
  bool flush(std::chrono::milliseconds timeout);

 private:
  std::shared_ptr<tarn::HTTPSession> session_;
};
