#include "Lumo/TarnLumoAdAnalyticsSession.h"

#include <utility>

#include "Lumo/TarnLumoCommon.h"

TarnLumoAdAnalyticsSession::TarnLumoAdAnalyticsSession(std::shared_ptr<const TarnLumoAd> ad,
                                                       std::shared_ptr<TarnLumoAnalyticsDigester> digester)
    : ad_(std::move(ad)),
      digester_(std::move(digester)),
      prevTime_(kCMTimeZero),
      seekThreshold_(CMTimeMakeWithSeconds(1.5, tarn::kDocumentTimescale)) {}

void TarnLumoAdAnalyticsSession::trackImpression() {
  digest(ad_->impressionURLs());
}

void TarnLumoAdAnalyticsSession::trackCreativeView() {
  digestEventsNamed(ad_->trackingEventsCollection(), "creativeView");
}

void TarnLumoAdAnalyticsSession::trackProgressToTime(CMTime time) {
  URLs due;
  const auto& events = ad_->trackingEventsCollection();
  if (std::exchange(firstProgressEventHasNotOccured_, false) && events) {
    due = events->URLsForTrackingEventsNamed("creativeView");
  }
  const CMTime previous = std::exchange(prevTime_, time);
  if (events && arePassed(previous, time)) {
    const auto passed = events->URLsForTrackingEventsAtOrAfter(previous, time);
    due.insert(due.end(), passed.begin(), passed.end());
  }
  digest(due);
}

bool TarnLumoAdAnalyticsSession::arePassed(CMTime previous, CMTime time) const {
  const bool goesForward = previous < time;
  // The bound is the ad's end in the stream although `time` is in-ad: it only matters for an ad at the very
  // start of the stream.
  const bool endsBeforeAd = time < ad_->endTime();
  const bool isSeek = CMTimeSubtract(time, previous) > seekThreshold_;
  return goesForward && endsBeforeAd && !isSeek;
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

/// The sink may destroy this session. The ad, which may own `urls`, is kept alive until the end.
void TarnLumoAdAnalyticsSession::digest(const URLs& urls) {
  const auto ad = ad_;
  const auto self = liveness_.watch();
  for (const auto& url : urls) {
    if (!self.isAlive()) return;
    digester_->digestEvent(url);
  }
}

void TarnLumoAdAnalyticsSession::digestEventsNamed(
    const std::shared_ptr<const TarnLumoTrackingEventsCollection>& events, std::string_view name) {
  if (events) digest(events->URLsForTrackingEventsNamed(name));
}
