#include "Lumo/TarnLumoAnalyticsDigester.h"

#include <utility>

#include "Lumo/HTTPBeaconSink.h"

TarnLumoAnalyticsDigester::TarnLumoAnalyticsDigester(std::shared_ptr<tarn::BeaconSink> sink)
    : sink_(sink ? std::move(sink) : tarn::HTTPBeaconSink::shared()) {}

void TarnLumoAnalyticsDigester::digestEvent(const std::optional<tarn::URL>& url) {
  const auto sink = sink_;  // it may destroy this digester
  if (url) sink->send(*url);
}
