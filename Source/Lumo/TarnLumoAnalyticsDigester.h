#pragma once

#include <memory>
#include <optional>

#include "Lumo/BeaconSink.h"

/// Passes the URLs of beacons on to a sink. Any thread that the sink allows.
class TarnLumoAnalyticsDigester {
 public:
  /// Without a sink the beacons go to `tarn::HTTPBeaconSink::shared()`.
  explicit TarnLumoAnalyticsDigester(std::shared_ptr<tarn::BeaconSink> sink = nullptr);

  /// An absent URL sends nothing.
  void digestEvent(const std::optional<tarn::URL>& url);

 private:
  std::shared_ptr<tarn::BeaconSink> sink_;  // never null
};
