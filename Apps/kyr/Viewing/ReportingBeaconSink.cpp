#include "Viewing/ReportingBeaconSink.h"

#include <utility>

#include "Lumo/HTTPBeaconSink.h"

namespace tarn::cli {

ReportingBeaconSink::ReportingBeaconSink(Beacons beacons, std::function<void(const URL&)> report)
    : beacons_(beacons), report_(std::move(report)) {}

void ReportingBeaconSink::send(const URL& url) {
  report_(url);
  if (beacons_ == Beacons::reportedAndSent) HTTPBeaconSink::shared()->send(url);
}

bool ReportingBeaconSink::flush(std::chrono::milliseconds timeout) {
  return beacons_ == Beacons::reported || HTTPBeaconSink::shared()->flush(timeout);
}

}  // namespace tarn::cli
