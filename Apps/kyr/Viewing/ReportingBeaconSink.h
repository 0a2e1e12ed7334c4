#pragma once

#include <functional>

#include "Lumo/BeaconSink.h"

namespace tarn::cli {

enum class Beacons { reported, reportedAndSent };

/// Calls `report` with each beacon, then sends it if `beacons` says so.
class ReportingBeaconSink final : public BeaconSink {
 public:
  ReportingBeaconSink(Beacons beacons, std::function<void(const URL&)> report);
  void send(const URL& url) override;
  bool flush(std::chrono::milliseconds timeout) override;

 private:
  const Beacons beacons_;
  const std::function<void(const URL&)> report_;
};

}  // namespace tarn::cli
