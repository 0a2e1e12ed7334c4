#pragma once

#include <memory>
#include <optional>

#include "Host/TarnPlaybackSession.h"
#include "Lumo/TarnLumoProgressTracker.h"
#include "Platform/Dictionary.h"
#include "Reactive/Tarn_RACSignal.h"

namespace tarn {

class HostAds;

/// Translates the inner session's lifecycle and the tracker's events to the lifecycle that the application
/// sees. Its signals refer to it: their subscriptions end before it is destroyed. Main thread.
class LifecycleTranslator {
 public:
  using LifecycleEvent = TarnPlaybackSession::LifecycleEvent;
  using TrackerEvent = std::shared_ptr<const TarnLumoProgressTrackerEvent>;

  /// `hostAds` outlives the translator.
  explicit LifecycleTranslator(HostAds& hostAds) : hostAds_(hostAds) {}

  /// The inner session's events; while an ad plays, AdResume and AdPause in place of Play and Pause.
  [[nodiscard]] Tarn_RACSignal<LifecycleEvent> innerEvents(
      const Tarn_RACSignal<LifecycleEvent>& innerLifecycle,
      const Tarn_RACSignal<TrackerEvent>& trackerEvents) const;

  /// The events of ads and breaks. WillPauseForAd and Pause come before a break, Play after it. An event of
  /// an unknown type becomes null.
  [[nodiscard]] Tarn_RACSignal<LifecycleEvent> adEvents(
      const Tarn_RACSignal<TrackerEvent>& trackerEvents) const;

 private:
  [[nodiscard]] LifecycleEvent translateInnerEvent(const LifecycleEvent& event,
                                                   const TrackerEvent& adState) const;
  [[nodiscard]] LifecycleEvent translateTrackerEvent(const TarnLumoProgressTrackerEvent& event) const;
  [[nodiscard]] std::optional<Dictionary> adProperties(const TarnLumoProgressTrackerEvent& event) const;
  [[nodiscard]] std::optional<Dictionary> adSequenceProperties(
      const TarnLumoProgressTrackerEvent& event) const;

  HostAds& hostAds_;
};

}  // namespace tarn
