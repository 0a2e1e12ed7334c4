#include "Platform/Internal/ConnectionPacing.h"

#include <algorithm>

namespace tarn {
namespace {

/// Simultaneous connection attempts: enough to survive a lost packet or two without flooding a dead server.
constexpr int kMaxAttempts = 4;

constexpr int kMaxPauseFactor = 16;

}  // namespace

std::optional<ConnectionPacing::Time> ConnectionPacing::nextStart() const {
  if (active() >= std::max(configuration_.maximumConnectionsPerHost, 1)) return std::nullopt;
  if (connecting_ >= kMaxAttempts && !hasIdleConnection_) return std::nullopt;
  return notBefore_;
}

void ConnectionPacing::started(Time now) {
  ++connecting_;
  hasIdleConnection_ = false;
  notBefore_ = now + std::max(configuration_.connectionAttemptDelay, pause_);
}

void ConnectionPacing::connected() {
  --connecting_;
  ++exchanging_;
  pause_ = {};
  notBefore_ = Time::min();
}

void ConnectionPacing::failedToConnect(Time now) {
  --connecting_;
  const auto first = configuration_.failedConnectionPause;
  pause_ = std::clamp(2 * pause_, first, kMaxPauseFactor * first);
  notBefore_ = now + pause_;
}

void ConnectionPacing::ended(bool reusable) {
  --exchanging_;
  if (reusable) hasIdleConnection_ = true;
}

}  // namespace tarn
