#include "Lumo/TarnLumoAnalyticsDigester.h"

#include <utility>

namespace {

/// A beacon's answer is a pixel at most; whoever sends more is hung up on.
constexpr std::size_t kMaximumAnswer = std::size_t{1} << 20U;

/// Never destroyed: digesters of static objects may outlive any order. It takes no thread before the first
/// beacon and ends with the process.
const std::shared_ptr<tarn::HTTPSession>& beaconSession() {
  static const auto& session =
      *new std::shared_ptr<tarn::HTTPSession>(std::make_shared<tarn::HTTPSession>(tarn::HTTPConfiguration{
          .maximumBodySize = kMaximumAnswer, .discardBodies = true, .neverResend = true}));
  return session;
}

}  // namespace

TarnLumoAnalyticsDigester::TarnLumoAnalyticsDigester() : TarnLumoAnalyticsDigester(beaconSession()) {}

TarnLumoAnalyticsDigester::TarnLumoAnalyticsDigester(std::shared_ptr<tarn::HTTPSession> session)
    : session_(std::move(session)) {}

TarnLumoAnalyticsDigester::~TarnLumoAnalyticsDigester() = default;

void TarnLumoAnalyticsDigester::digestEvent(const std::optional<tarn::URL>& url) {
  if (url) session_->startAndForget({*url, {}});
}

bool TarnLumoAnalyticsDigester::flush(std::chrono::milliseconds timeout) {
  return session_->flush(timeout);
}
