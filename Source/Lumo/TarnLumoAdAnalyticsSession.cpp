#include "Lumo/TarnLumoAdAnalyticsSession.h"

#include <utility>

TarnLumoAdAnalyticsSession::TarnLumoAdAnalyticsSession(std::shared_ptr<const TarnLumoAd> ad,
                                                       std::shared_ptr<TarnLumoAnalyticsDigester> digester)
    : ad_(std::move(ad)),
      digester_(std::move(digester)),
      prevTime_(kCMTimeZero),
      seekThreshold_(CMTimeMakeWithSeconds(1.5, 600)) {}

void TarnLumoAdAnalyticsSession::trackImpression() {
  digest(ad_->impressionURLs());
}

void TarnLumoAdAnalyticsSession::trackCreativeView() {
  digestEventsNamed(ad_->trackingEventsCollection(), "creativeView");
}

void TarnLumoAdAnalyticsSession::trackProgressToTime(CMTime time) {
  if (firstProgressEventHasNotOccured_) {
    trackCreativeView();
    firstProgressEventHasNotOccured_ = false;
  }
  const CMTime previous = std::exchange(prevTime_, time);
  const bool goesForward = CMTimeCompare(previous, time) < 0;
  // The bound is the ad's end in the stream although `time` is in-ad: it only matters for an ad at the very
  // start of the stream.
  const bool endsBeforeAd = CMTimeCompare(time, ad_->endTime()) < 0;
  if (!goesForward || !endsBeforeAd) return;
  if (CMTimeCompare(CMTimeSubtract(time, previous), seekThreshold_) > 0) return;
  if (const auto& events = ad_->trackingEventsCollection()) {
    digest(events->URLsForTrackingEventsAtOrAfter(previous, time));
  }
}

void TarnLumoAdAnalyticsSession::trackAdComplete() {
  digestEventsNamed(ad_->trackingEventsCollection(), "complete");
}

void TarnLumoAdAnalyticsSession::trackAdSkip() {
  digestEventsNamed(ad_->trackingEventsCollection(), "skip");
}

void TarnLumoAdAnalyticsSession::trackVideoClick() {
  digest(ad_->clickTrackingURLs());
}

void TarnLumoAdAnalyticsSession::trackCompanionCreativeView(std::string_view identifier) {
  if (const auto companion = companionWithIdentifier(identifier)) {
    digestEventsNamed(companion->trackingEventsCollection(), "creativeView");
  }
}

void TarnLumoAdAnalyticsSession::trackCompanionClick(std::string_view identifier) {
  if (const auto companion = companionWithIdentifier(identifier)) digest(companion->clickTrackingURLs());
}

std::shared_ptr<const TarnLumoCompanionAd> TarnLumoAdAnalyticsSession::companionWithIdentifier(
    std::string_view identifier) const {
  const auto& companions = ad_->companionsCollection();
  return companions ? companions->companionAdWithIdentifier(identifier) : nullptr;
}

void TarnLumoAdAnalyticsSession::digest(const std::vector<tarn::URL>& urls) {
  for (const auto& url : urls) digester_->digestEvent(url);
}

void TarnLumoAdAnalyticsSession::digestEventsNamed(
    const std::shared_ptr<const TarnLumoTrackingEventsCollection>& events, std::string_view name) {
  if (events) digest(events->URLsForTrackingEventsNamed(name));
}
