#pragma once

#include <memory>

#include "Lumo/BeaconSink.h"
#include "Platform/HTTPSession.h"

namespace tarn {

/// Sends each beacon as one GET and forgets it: no retry, no error report, the response is discarded.
///
/// Beacons to one origin leave in the order of the calls, share connections and do not wait for each other's
/// responses. Any thread.
class HTTPBeaconSink final : public BeaconSink {
 public:
  /// The sink of all digesters that name no other. It starts no thread before the first beacon and is never
  /// destroyed: an application that is about to exit flushes it.
  static const std::shared_ptr<HTTPBeaconSink>& shared();

  /// No beacon is sent twice, and only a short response is read.
  [[nodiscard]] static HTTPConfiguration defaultConfiguration();

  /// Its destructor abandons the beacons in flight.
  explicit HTTPBeaconSink(const HTTPConfiguration& configuration = defaultConfiguration());

  /// A URL that is neither http nor https is dropped.
  void send(const URL& url) override;
  bool flush(std::chrono::milliseconds timeout) override;

 private:
  HTTPSession session_;
};

}  // namespace tarn
