#include "Lumo/HTTPBeaconSink.h"

namespace tarn {
namespace {

/// The response to a beacon is a pixel at most; a longer one is cut off.
constexpr std::size_t kMaxResponseSize = std::size_t{1} << 20U;

}  // namespace

const std::shared_ptr<HTTPBeaconSink>& HTTPBeaconSink::shared() {
  // Never destroyed: digesters of static objects may outlive any order of destruction.
  static const auto& sink = *new std::shared_ptr<HTTPBeaconSink>(std::make_shared<HTTPBeaconSink>());
  return sink;
}

HTTPConfiguration HTTPBeaconSink::defaultConfiguration() {
  return {.maximumBodySize = kMaxResponseSize, .discardBodies = true, .neverResend = true};
}

HTTPBeaconSink::HTTPBeaconSink(const HTTPConfiguration& configuration) : session_(configuration) {}

void HTTPBeaconSink::send(const URL& url) {
  session_.startAndForget({url, {}});
}

bool HTTPBeaconSink::flush(std::chrono::milliseconds timeout) {
  return session_.flush(timeout);
}

}  // namespace tarn
