#pragma once

#include <chrono>
#include <memory>

#include "Host/TerminationGate.h"
#include "Lumo/BeaconSink.h"

namespace tarn {

/// Passes on the beacons of a session until it terminates.
class GatedBeaconSink final : public BeaconSink {
 public:
  /// Null: `HTTPBeaconSink::shared()`.
  GatedBeaconSink(const TerminationGate& gate, std::shared_ptr<BeaconSink> sink);

  void send(const URL& url) override;
  bool flush(std::chrono::milliseconds timeout) override { return sink_->flush(timeout); }

 private:
  const TerminationGate gate_;
  const std::shared_ptr<BeaconSink> sink_;
};

}  // namespace tarn
