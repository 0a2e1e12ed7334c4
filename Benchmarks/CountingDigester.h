#pragma once

#include <cstdint>

#include "Lumo/TarnLumoAnalyticsDigester.h"

namespace kyr_benchmarks {

/// Counts beacons and sends none.
class CountingDigester final : public TarnLumoAnalyticsDigester {
 public:
  CountingDigester() : TarnLumoAnalyticsDigester(nullptr) {}
  void digestEvent(const std::optional<tarn::URL>&) override { ++beacons; }
  std::int64_t beacons = 0;
};

}  // namespace kyr_benchmarks
