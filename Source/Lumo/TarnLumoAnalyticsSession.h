#pragma once

#include <memory>

#include "Lumo/TarnLumoAdAnalyticsSession.h"
#include "Lumo/TarnLumoContentAnalyticsSession.h"
#include "Lumo/TarnLumoProgressTracker.h"
#include "Platform/Liveness.h"

/// Observes a tracker and sends the beacons that its events and times require. Runs on the thread that feeds
/// the tracker. The sink may destroy it: nothing more is then sent.
class TarnLumoAnalyticsSession {
 public:
  /// The operation that the system calls `initWithProgessTracker:analyticsDigester:`.
  static std::unique_ptr<TarnLumoAnalyticsSession> initWithProgessTracker(
      std::shared_ptr<TarnLumoProgressTracker> tracker, std::shared_ptr<TarnLumoAnalyticsDigester> digester);

  /// Null except while an ad plays.
  [[nodiscard]] std::shared_ptr<TarnLumoAdAnalyticsSession> adAnalaytics() const { return adAnalaytics_; }
  [[nodiscard]] TarnLumoContentAnalyticsSession& contentAnalaytics() { return contentAnalaytics_; }

 private:
  TarnLumoAnalyticsSession(std::shared_ptr<TarnLumoProgressTracker> tracker,
                           std::shared_ptr<TarnLumoAnalyticsDigester> digester);
  void processEvent(const TarnLumoProgressTrackerEvent& event);
  void completeAd();

  std::shared_ptr<TarnLumoProgressTracker> tracker_;
  std::shared_ptr<TarnLumoAnalyticsDigester> digester_;
  std::shared_ptr<TarnLumoAdAnalyticsSession> adAnalaytics_;
  TarnLumoContentAnalyticsSession contentAnalaytics_;
  tarn::Liveness liveness_;
  tarn::Token eventObservation_;
  tarn::Token contentTimeObservation_;
};
