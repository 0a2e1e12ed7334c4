#pragma once

#include <memory>
#include <string>

#include "Lumo/BeaconSink.h"
#include "Lumo/Fetch.h"
#include "Lumo/TarnLumoDocument.h"

/// Options of a provider, for the sessions that it makes after they were set. Main thread.
struct TarnKyrSessionProviderOptions {
  /// "ios-lumo-ux/6.3.12 (model; system version; locale)", of the device that the process runs on.
  [[nodiscard]] static std::string defaultUserAgent();

  /// Added to each request for a VMAP document. Not to beacons, which go to other parties.
  TarnLumoHTTPHeaders httpHeaders = {{"User-Agent", defaultUserAgent()}};

  /// Fetches the sessions' VMAP documents, with those headers: from a file, a cache, a test. Empty: over
  /// HTTP.
  tarn::Fetch fetch;

  /// Receives the sessions' beacons. Null: `tarn::HTTPBeaconSink::shared()`. An application with an overlay
  /// gives it the same sink.
  std::shared_ptr<tarn::BeaconSink> beaconSink;
};
