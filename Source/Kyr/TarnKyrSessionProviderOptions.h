#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Lumo/TarnLumoAnalyticsDigester.h"
#include "Lumo/TarnLumoDocument.h"

/// What an application may set on a provider, for the sessions made from then on. Main thread.
struct TarnKyrSessionProviderOptions {
  /// "ios-lumo-ux/6.3.12 (model; system version; locale)", of the device the process runs on.
  [[nodiscard]] static std::string defaultUserAgent();

  /// Added to each request for a VMAP document. Not to beacons, which go to other parties.
  TarnLumoHTTPHeaders httpHeaders = {{"User-Agent", defaultUserAgent()}};

  /// Makes what sends a session's beacons. Empty, or answering null: a plain `TarnLumoAnalyticsDigester`.
  std::function<std::shared_ptr<TarnLumoAnalyticsDigester>()> makeAnalyticsDigester;
};
