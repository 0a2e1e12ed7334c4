#pragma once

#include <cstdint>

#include "Lumo/BeaconSink.h"

namespace kyr_benchmarks {

/// Counts beacons and sends none.
class CountingBeaconSink final : public tarn::BeaconSink {
 public:
  void send(const tarn::URL&) override { ++beacons; }
  bool flush(std::chrono::milliseconds) override { return true; }
  std::int64_t beacons = 0;
};

}  // namespace kyr_benchmarks
