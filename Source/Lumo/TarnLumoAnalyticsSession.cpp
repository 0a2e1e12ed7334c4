#include "Lumo/TarnLumoAnalyticsSession.h"

#include <utility>

namespace {

std::shared_ptr<TarnLumoAdAnalyticsSession> analyticsOf(
    std::shared_ptr<const TarnLumoAd> ad, const std::shared_ptr<TarnLumoAnalyticsDigester>& digester) {
  return ad ? std::make_shared<TarnLumoAdAnalyticsSession>(std::move(ad), digester) : nullptr;
}

}  // namespace

std::unique_ptr<TarnLumoAnalyticsSession> TarnLumoAnalyticsSession::initWithProgessTracker(
    std::shared_ptr<TarnLumoProgressTracker> tracker, std::shared_ptr<TarnLumoAnalyticsDigester> digester) {
  return std::unique_ptr<TarnLumoAnalyticsSession>(
      new TarnLumoAnalyticsSession(std::move(tracker), std::move(digester)));
}

TarnLumoAnalyticsSession::TarnLumoAnalyticsSession(std::shared_ptr<TarnLumoProgressTracker> tracker,
                                                   std::shared_ptr<TarnLumoAnalyticsDigester> digester)
    : tracker_(std::move(tracker)),
      digester_(std::move(digester)),
      contentAnalaytics_(tracker_->timeline(), digester_) {
  eventObservation_ = tracker_->event().observe([this](const auto& event) {
    if (event) processEvent(*event);
  });
  contentTimeObservation_ = tracker_->contentTime().observe(
      [this](const CMTime& time) { contentAnalaytics_.trackProgressToTime(time); });
}

/// The sink may destroy this session.
void TarnLumoAnalyticsSession::completeAd() {
  const auto self = liveness_.watch();
  if (adAnalaytics_) adAnalaytics_->trackAdComplete();
  if (self.isAlive()) adAnalaytics_ = nullptr;
}

void TarnLumoAnalyticsSession::processEvent(const TarnLumoProgressTrackerEvent& event) {
  switch (event.type()) {
    case TarnLumoProgressTrackerEventTypeEnterAd:
      adAnalaytics_ = analyticsOf(event.ad(), digester_);
      if (adAnalaytics_) adAnalaytics_->trackImpression();
      break;
    case TarnLumoProgressTrackerEventTypeExitAd:
      completeAd();
      break;
    case TarnLumoProgressTrackerEventTypeAdProgress:
      if (adAnalaytics_) adAnalaytics_->trackProgressToTime(event.adProgress().value_or(CMTime{}));
      break;
    case TarnLumoProgressTrackerEventTypeEnterAdSequence:
    case TarnLumoProgressTrackerEventTypeExitAdSequence:
      break;
  }
}
