#include "Kyr/Internal/GatedBeaconSink.h"

#include <utility>

#include "Lumo/HTTPBeaconSink.h"

namespace tarn {

GatedBeaconSink::GatedBeaconSink(const TerminationGate& gate, std::shared_ptr<BeaconSink> sink)
    : gate_(gate), sink_(sink ? std::move(sink) : HTTPBeaconSink::shared()) {}

void GatedBeaconSink::send(const URL& url) {
  const auto sink = sink_;  // it may release the session, and so this object
  if (gate_.isOpen()) sink->send(url);
}

}  // namespace tarn
