#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "Lumo/TarnLumoAd.h"
#include "Lumo/TarnLumoAnalyticsDigester.h"
#include "Platform/Liveness.h"

/// Sends the VAST beacons of one play of one ad. Made when the ad is entered, released when it is left. One
/// thread at a time. Any of its operations may end with the destruction of the session, by the sink.
class TarnLumoAdAnalyticsSession {
 public:
  /// Neither is null.
  TarnLumoAdAnalyticsSession(std::shared_ptr<const TarnLumoAd> ad,
                             std::shared_ptr<TarnLumoAnalyticsDigester> digester);
  TarnLumoAdAnalyticsSession(const TarnLumoAdAnalyticsSession&) = delete;
  TarnLumoAdAnalyticsSession& operator=(const TarnLumoAdAnalyticsSession&) = delete;

  [[nodiscard]] const std::shared_ptr<const TarnLumoAd>& ad() const { return ad_; }

  void trackImpression();
  void trackCreativeView();
  /// `time` is in-ad. The first report sends the creative view. A forward step of at most 1.5 s sends the
  /// events in [previous report, `time`); a longer one counts as a seek and sends none of those it passed. So
  /// does a report at or past the ad's `endTime`, which is compared unconverted: a position in the stream.
  void trackProgressToTime(CMTime time);
  void trackAdComplete();
  void trackAdSkip();
  void trackVideoClick();
  /// An unknown identifier sends nothing.
  void trackCompanionCreativeView(std::string_view identifier);
  void trackCompanionClick(std::string_view identifier);

 private:
  using URLs = std::vector<tarn::URL>;

  [[nodiscard]] std::shared_ptr<const TarnLumoCompanionAd> companionWithIdentifier(
      std::string_view identifier) const;
  /// Whether a report of `time` sends the time-based events since the `previous` one.
  [[nodiscard]] bool arePassed(CMTime previous, CMTime time) const;
  void digest(const URLs& urls);
  void digestEventsNamed(const std::shared_ptr<const TarnLumoTrackingEventsCollection>& events,
                         std::string_view name);

  std::shared_ptr<const TarnLumoAd> ad_;
  std::shared_ptr<TarnLumoAnalyticsDigester> digester_;
  CMTime prevTime_;
  CMTime seekThreshold_;
  bool firstProgressEventHasNotOccured_ = true;
  tarn::Liveness liveness_;
};
