#include "ScriptedSession.h"

#include <utility>

#include "Kyr/Internal/TarnKyrHostAds.h"
#include "Support/TimePrinter.h"
#include "Support/TimelineBuilder.h"

namespace tarn::test {
namespace {

/// The overlay does not use the session's own skip handler.
const SkipAd kNoSkip = [](const auto&) {};

std::shared_ptr<const TarnLumoTrackingEventsCollection> skipEvent(const std::string& id) {
  TarnLumoTrackingEventsCollectionBuilder builder;
  builder.addTrackingEventNamed("skip", beacon("skip-" + id));
  return builder.buildTrackingEventsCollection();
}

}  // namespace

ScriptedSession::ScriptedSession(double itemSeconds) {
  player_->loadURL(*tarn::URL::fromString("https://cdn.example/stream.m3u8"));
  player_->becomeReady(itemSeconds);
  player_->play();
  player_->calls()->clear();
}

void ScriptedSession::send(const char* type, tarn::Dictionary properties) {
  lifecycle_.sendNext(std::make_shared<const TarnPlaybackSessionLifecycleEvent>(type, std::move(properties)));
}

void ScriptedSession::enterBreak(const std::vector<LumoAd>& ads) {
  tarn::Dictionary properties;
  properties.set(kTarnPlaybackSessionLifecycleEventPropertiesKeyAdSequence,
                 hostAdSequence(std::make_shared<const TarnLumoAdSequence>(ads), kNoSkip));
  send(kTarnPlaybackSessionLifecycleEventAdSequenceEnter, std::move(properties));
}

void ScriptedSession::progress(const LumoAd& ad, double inAdSeconds) {
  tarn::Dictionary properties;
  properties.set(kTarnPlaybackSessionLifecycleEventPropertiesKeyAdProgress, seconds(inAdSeconds));
  sendWithAd(kTarnPlaybackSessionLifecycleEventAdProgress, ad, std::move(properties));
}

void ScriptedSession::sendWithAd(const char* type, const LumoAd& ad, tarn::Dictionary properties) {
  if (ad) properties.set(kTarnPlaybackSessionLifecycleEventPropertiesKeyAd, hostAd(ad, kNoSkip));
  send(type, std::move(properties));
}

std::shared_ptr<const TarnLumoAd> makeAd(const AdPlan& plan) {
  TarnLumoAdBuilder ad;
  ad.adId = plan.id;
  ad.beginTime = seconds(plan.beginTime);
  ad.duration = seconds(plan.duration);
  ad.logicalOffset = seconds(plan.beginTime);
  if (plan.skipOffset) ad.skipOffset = seconds(*plan.skipOffset);
  ad.trackingEventsCollection = skipEvent(plan.id);
  if (plan.hasPage) ad.clickThroughURL = *tarn::URL::fromString("https://shop.example/" + plan.id);
  ad.clickTrackingURLs = {beacon("click-" + plan.id)};
  return ad.buildAd();
}

}  // namespace tarn::test
