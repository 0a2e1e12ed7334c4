#pragma once

#include <chrono>

#include "Platform/URL.h"

namespace tarn {

/// Receives the beacons that fall due. An application derives from it to send, count, show or withhold them.
class BeaconSink {
 public:
  BeaconSink() = default;
  BeaconSink(const BeaconSink&) = delete;
  BeaconSink& operator=(const BeaconSink&) = delete;
  virtual ~BeaconSink() = default;

  /// Takes one beacon and returns at once. Called on the thread that feeds the tracker, and on the main
  /// thread for the overlay's clicks, in the order in which the beacons fall due. It may destroy the sender:
  /// the rest of a list of beacons is then not sent.
  virtual void send(const URL& url) = 0;

  /// Waits until no beacon is in flight, at most `timeout`; returns whether none is. A sink that keeps
  /// nothing in flight returns true.
  virtual bool flush(std::chrono::milliseconds timeout) = 0;
};

}  // namespace tarn
