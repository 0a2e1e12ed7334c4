#include "Viewing/ShowingBeaconSink.h"

#include <utility>

#include "Lumo/HTTPBeaconSink.h"

namespace tarn::cli {

ShowingBeaconSink::ShowingBeaconSink(Beacons beacons, std::function<void(const URL&)> show)
    : beacons_(beacons), show_(std::move(show)) {}

void ShowingBeaconSink::send(const URL& url) {
  show_(url);
  if (beacons_ == Beacons::shownAndSent) HTTPBeaconSink::shared()->send(url);
}

bool ShowingBeaconSink::flush(std::chrono::milliseconds timeout) {
  return beacons_ == Beacons::shown || HTTPBeaconSink::shared()->flush(timeout);
}

}  // namespace tarn::cli
