#include "Kyr/Internal/LifecycleTranslator.h"

#include <utility>
#include <vector>

#include "Kyr/Internal/HostAds.h"

namespace tarn {
namespace {

using LifecycleEvent = LifecycleTranslator::LifecycleEvent;
using TrackerEvent = LifecycleTranslator::TrackerEvent;

LifecycleEvent makeEvent(const char* type, std::optional<Dictionary> properties = std::nullopt) {
  return std::make_shared<const TarnPlaybackSessionLifecycleEvent>(type, std::move(properties));
}

bool is(const LifecycleEvent& event, const char* type) {
  return event && event->is(type);
}

bool isAdState(const TrackerEvent& event) {
  return event->type() == TarnLumoProgressTrackerEventTypeEnterAd ||
         event->type() == TarnLumoProgressTrackerEventTypeExitAd;
}

/// The application's controls show that the content stops for a break, and continues after it.
std::vector<LifecycleEvent> withContentPauses(const LifecycleEvent& event) {
  if (is(event, kTarnPlaybackSessionLifecycleEventAdSequenceEnter)) {
    return {makeEvent(kTarnPlaybackSessionLifecycleEventWillPauseForAd),
            makeEvent(kTarnPlaybackSessionLifecycleEventPause), event};
  }
  if (is(event, kTarnPlaybackSessionLifecycleEventAdSequenceExit))
    return {event, makeEvent(kTarnPlaybackSessionLifecycleEventPlay)};
  return {event};
}

}  // namespace

Tarn_RACSignal<LifecycleEvent> LifecycleTranslator::innerEvents(
    const Tarn_RACSignal<LifecycleEvent>& innerLifecycle,
    const Tarn_RACSignal<TrackerEvent>& trackerEvents) const {
  const auto noAd = std::make_shared<const TarnLumoProgressTrackerEvent>(
      TarnLumoProgressTrackerEventTypeExitAd, std::nullopt);
  const auto adState = trackerEvents.filter(isAdState).startWith(noAd);
  return zip(innerLifecycle, adState.sample(innerLifecycle))
      .reduceEach([this](const LifecycleEvent& event, const TrackerEvent& state) {
        return translateInnerEvent(event, state);
      });
}

Tarn_RACSignal<LifecycleEvent> LifecycleTranslator::adEvents(
    const Tarn_RACSignal<TrackerEvent>& trackerEvents) const {
  return trackerEvents.map([this](const TrackerEvent& event) { return translateTrackerEvent(*event); })
      .flattenMap([](const LifecycleEvent& event) {
        return Tarn_RACSignal<LifecycleEvent>::values(withContentPauses(event));
      });
}

LifecycleEvent LifecycleTranslator::translateInnerEvent(const LifecycleEvent& event,
                                                        const TrackerEvent& adState) const {
  if (adState->type() != TarnLumoProgressTrackerEventTypeEnterAd) return event;
  if (is(event, kTarnPlaybackSessionLifecycleEventPause))
    return makeEvent(kTarnPlaybackSessionLifecycleEventAdPause, adProperties(*adState));
  if (is(event, kTarnPlaybackSessionLifecycleEventPlay))
    return makeEvent(kTarnPlaybackSessionLifecycleEventAdResume, adProperties(*adState));
  return event;
}

LifecycleEvent LifecycleTranslator::translateTrackerEvent(const TarnLumoProgressTrackerEvent& event) const {
  switch (event.type()) {
    case TarnLumoProgressTrackerEventTypeEnterAd:
      return makeEvent(kTarnPlaybackSessionLifecycleEventAdEnter, adProperties(event));
    case TarnLumoProgressTrackerEventTypeExitAd:
      return makeEvent(kTarnPlaybackSessionLifecycleEventAdExit, adProperties(event));
    case TarnLumoProgressTrackerEventTypeEnterAdSequence:
      return makeEvent(kTarnPlaybackSessionLifecycleEventAdSequenceEnter, adSequenceProperties(event));
    case TarnLumoProgressTrackerEventTypeExitAdSequence:
      return makeEvent(kTarnPlaybackSessionLifecycleEventAdSequenceExit, adSequenceProperties(event));
    case TarnLumoProgressTrackerEventTypeAdProgress: {
      auto properties = adProperties(event).value_or(Dictionary());
      if (const auto progress = event.adProgress())
        properties.set(kTarnPlaybackSessionLifecycleEventPropertiesKeyAdProgress, *progress);
      return makeEvent(kTarnPlaybackSessionLifecycleEventAdProgress, std::move(properties));
    }
  }
  return nullptr;
}

std::optional<Dictionary> LifecycleTranslator::adProperties(const TarnLumoProgressTrackerEvent& event) const {
  const auto ad = hostAds_.adForLumoAd(event.ad());
  if (!ad) return std::nullopt;
  Dictionary properties;
  properties.set(kTarnPlaybackSessionLifecycleEventPropertiesKeyAd, ad);
  return properties;
}

std::optional<Dictionary> LifecycleTranslator::adSequenceProperties(
    const TarnLumoProgressTrackerEvent& event) const {
  const auto adSequence = hostAds_.adSeqeunceForLumoAdSequence(event.adSequence());
  if (!adSequence) return std::nullopt;
  Dictionary properties;
  properties.set(kTarnPlaybackSessionLifecycleEventPropertiesKeyAdSequence, adSequence);
  return properties;
}

}  // namespace tarn
