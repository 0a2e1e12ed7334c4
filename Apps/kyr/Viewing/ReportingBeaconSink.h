#pragma once

#include <functional>

#include "Lumo/BeaconSink.h"

namespace tarn::cli {

enum class Beacons { shown, shownAndSent };

/// Calls `show` with each beacon, before it is sent if it is.
class ShowingBeaconSink final : public BeaconSink {
 public:
  ShowingBeaconSink(Beacons beacons, std::function<void(const URL&)> show);
  void send(const URL& url) override;
  bool flush(std::chrono::milliseconds timeout) override;

 private:
  const Beacons beacons_;
  const std::function<void(const URL&)> show_;
};

}  // namespace tarn::cli
