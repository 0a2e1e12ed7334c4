#include "Overlay/Internal/OverlaySession.h"

#include <functional>
#include <utility>

#include "Kyr/TarnKyrConstants.h"
#include "Kyr/TarnKyrSeekPolicy.h"
#include "Lumo/TarnLumoAdAnalyticsSession.h"
#include "Overlay/Internal/AdBreakDurations.h"
#include "Overlay/Internal/WholeSeconds.h"
#include "Platform/MainQueue.h"
#include "Platform/Observable.h"

namespace tarn {
namespace {

using LifecycleEvent = TarnPlaybackSession::LifecycleEvent;
using LifecycleEvents = OverlaySession::LifecycleEvents;
using Ad = OverlaySession::Ad;
using WeakSession = std::weak_ptr<TarnPlaybackSession>;
using AnalyticsSession = std::shared_ptr<TarnLumoAdAnalyticsSession>;
using Digester = std::shared_ptr<TarnLumoAnalyticsDigester>;

LifecycleEvents eventsOfType(const LifecycleEvents& events, const char* type) {
  return events.filter([type](const LifecycleEvent& event) { return event->is(type); });
}

/// The event, with an ad whose beacons can be sent. Null without a parsed ad.
LifecycleEvent tracked(const LifecycleEvent& event, const Digester& digester) {
  const auto lumoAd = tarn::lumoAd(event->ad());
  if (!lumoAd) return nullptr;
  Dictionary adProperties;
  adProperties.set(kTarnKyrAdPropertiesKeyLumoAd, lumoAd);
  adProperties.set(kTarnKyrAdPropertiesKeyLumoAdAnalyticsSession,
                   std::make_shared<TarnLumoAdAnalyticsSession>(lumoAd, digester));
  Dictionary eventProperties;
  eventProperties.set(kTarnPlaybackSessionLifecycleEventPropertiesKeyAd,
                      std::make_shared<const TarnAd>(lumoAd->title(), lumoAd->adId(), lumoAd->logicalOffset(),
                                                     lumoAd->duration(), std::move(adProperties)));
  return std::make_shared<const TarnPlaybackSessionLifecycleEvent>(kTarnPlaybackSessionLifecycleEventAdEnter,
                                                                   std::move(eventProperties));
}

bool isSkippable(const Ad& ad) {
  return CMTIME_IS_VALID(lumoAd(ad)->skipOffset());
}

CMTime inAdTime(const LifecycleEvent& adProgress) {
  return adProgress->adProgress().value_or(kCMTimeZero);
}

/// Seconds to wait until the ad can be skipped. Of the position only the seconds within its minute count.
std::int64_t skipCountdown(const Ad& ad, const LifecycleEvent& adProgress) {
  const CMTime offset = lumoAd(ad)->skipOffset();
  const std::int64_t whole = wholeSeconds(offset);
  const std::int64_t raised = CMTimeGetSeconds(offset) > static_cast<double>(whole) ? whole + 1 : whole;
  const std::int64_t position = wholeSeconds(inAdTime(adProgress)) % 60;
  return raised > position ? raised - position : 0;
}

TarnLumoAdAnalyticsSession& analyticsOf(const Ad& ad) {
  return **ad->properties().get<AnalyticsSession>(kTarnKyrAdPropertiesKeyLumoAdAnalyticsSession);
}

/// `landed` is not called when the player has been destroyed.
void seekExactly(const std::shared_ptr<TarnPlayer>& player, CMTime time,
                 std::function<void(const std::shared_ptr<TarnPlayer>& player)> landed) {
  player->seekToTime(time, kCMTimeZero, kCMTimeZero,
                     [weak = std::weak_ptr(player), landed = std::move(landed)](bool) {
                       if (const auto alive = weak.lock()) landed(alive);
                     });
}

/// Null when the session has ended.
std::shared_ptr<TarnPlayer> playerOf(const WeakSession& session) {
  const auto alive = session.lock();
  return alive ? alive->player() : nullptr;
}

void setLearnMoreHidden(OverlayButton& button, bool hidden) {
  using View = TarnKyrAdComponentView;
  using State = OverlayButton::State;
  const QString text = hidden ? QString() : View::learnMoreButtonTitle();
  button.setAttributedTitle(State::normal, {text, View::titleColorControlStateNormal(), true});
  button.setAttributedTitle(State::highlighted, {text, View::titleColorControlStateHighlighted(), true});
  button.setHidden(hidden);
}

}  // namespace

LifecycleEvents lifecycleUntilEnd(const std::shared_ptr<TarnPlaybackSession>& session) {
  const auto events = session->lifecycle().ignoreNil().deliverOnMainThread();
  return LifecycleEvents::create([events](const Tarn_RACSubscriber<LifecycleEvent>& subscriber) {
    // Destroyed with the source of the events, which belongs to the session.
    const auto life = std::make_shared<Token>(
        [subscriber] { MainQueue::shared().async([subscriber] { subscriber.sendCompleted(); }); });
    return events.subscribeNext([subscriber, life](const LifecycleEvent& event) {
      subscriber.sendNext(event);
      if (event->is(kTarnPlaybackSessionLifecycleEventTerminate)) subscriber.sendCompleted();
    });
  });
}

OverlaySession::OverlaySession(TarnKyrAdComponentView& view,
                               const std::shared_ptr<TarnPlaybackSession>& session, const Digester& digester,
                               const Tarn_RACSubject<TarnKyrAdClickThrough>& clickThroughs)
    : view_(view), session_(session) {
  // Subscribed to last, so that all parts receive the first event.
  const Tarn_RACSubject<LifecycleEvent> events;
  // One value for all subscribers: entering an ad is one play of it.
  const Tarn_RACSubject<LifecycleEvent> adEnters;
  subscriptions_.add(eventsOfType(events, kTarnPlaybackSessionLifecycleEventAdEnter)
                         .map([digester](const LifecycleEvent& event) { return tracked(event, digester); })
                         .ignoreNil()
                         .subscribeNext(adEnters));
  bindDurationLabel(events);
  bindSkipButton(events, adEnters);
  bindLearnMoreButton(events, adEnters);
  followClicks(adEnters, clickThroughs);
  // At once, so that no click counts before the event reaches the main thread.
  subscriptions_.add(
      eventsOfType(session->lifecycle().ignoreNil(), kTarnPlaybackSessionLifecycleEventTerminate)
          .subscribeNext([clicks = clicks_](const auto&) { clicks.dispose(); }));
  subscriptions_.add(lifecycleUntilEnd(session).subscribeNext(
      [events](const LifecycleEvent& event) { events.sendNext(event); }, [](const Error&) {},
      [this] { leave(); }));
}

OverlaySession::~OverlaySession() {
  leave();
}

void OverlaySession::leave() {
  clicks_.dispose();
  subscriptions_.dispose();
  view_.durationLabel()->setText(QString());
  view_.skipButton()->setHidden(true);
  view_.skipButton()->setEnabled(false);
  view_.skipButton()->setTitle(QString());
  setLearnMoreHidden(*view_.learnMoreButton(), true);
}

void OverlaySession::bindDurationLabel(const LifecycleEvents& events) {
  const auto durations =
      eventsOfType(events, kTarnPlaybackSessionLifecycleEventAdSequenceEnter)
          .map([](const LifecycleEvent& event) { return adBreakDurations(event->adSequence()); });
  const auto adProgress = eventsOfType(events, kTarnPlaybackSessionLifecycleEventAdProgress);
  subscriptions_.add(
      combineLatest(durations, adProgress)
          .reduceEach([](const AdBreakDurations& table, const LifecycleEvent& progress) {
            return remainingTime(table, lumoAd(progress->ad()), inAdTime(progress));
          })
          .map(TarnKyrAdComponentView::formatAdRemainTime)
          .subscribeNext([label = view_.durationLabel()](const QString& text) { label->setText(text); }));
}

void OverlaySession::bindSkipButton(const LifecycleEvents& events, const LifecycleEvents& adEnters) {
  const auto skippableAds =
      adEnters.map([](const LifecycleEvent& event) { return event->ad(); }).filter(isSkippable);
  bindSkipCountdown(skippableAds, events);

  const auto always = [](bool hidden) { return [hidden](const auto&) { return hidden; }; };
  const auto hidden =
      merge(eventsOfType(events, kTarnPlaybackSessionLifecycleEventAdSequenceEnter).map(always(true)),
            eventsOfType(events, kTarnPlaybackSessionLifecycleEventAdExit).map(always(true)),
            skippableAds.map(always(false)));
  subscriptions_.add(
      hidden.subscribeNext([button = view_.skipButton()](bool value) { button->setHidden(value); }));
  clicks_.add(
      skippableAds.sample(view_.skipButtonTouches()).subscribeNext([this](const Ad& ad) { skipAd(ad); }));
}

void OverlaySession::bindSkipCountdown(const Tarn_RACSignal<Ad>& skippableAds,
                                       const LifecycleEvents& events) {
  const auto adProgress = eventsOfType(events, kTarnPlaybackSessionLifecycleEventAdProgress);
  subscriptions_.add(combineLatest(skippableAds, adProgress)
                         .reduceEach(skipCountdown)
                         .distinctUntilChanged()
                         .subscribeNext([button = view_.skipButton()](std::int64_t seconds) {
                           button->setTitle(TarnKyrAdComponentView::skipButtonTitleWithProgress(seconds));
                           button->setEnabled(seconds == 0);
                         }));
}

/// A press during the seek of an earlier one skips nothing. The session may end inside any call made here.
void OverlaySession::skipAd(const Ad& ad) {
  const auto session = session_;
  if (session.expired() || !skipInFlight_.expired()) return;
  const auto inFlight = std::make_shared<char>();
  skipInFlight_ = inFlight;
  analyticsOf(ad).trackAdSkip();
  const auto player = playerOf(session);
  if (!player) return;
  player->pause();
  const auto resumePlaying = [session, inFlight](const std::shared_ptr<TarnPlayer>& landed) {
    if (playerOf(session)) landed->play();
  };
  const CMTime target = timeBySeekOffset(lumoAd(ad)->endTime());
  const CMTime itemEnd = player->currentItemDuration().get().value_or(CMTime{});
  if (target < itemEnd) return seekExactly(player, target, resumePlaying);
  // Players do not reliably reach an item's end with one seek. The picture is hidden meanwhile.
  player->setLayerHidden(true);
  seekExactly(player, itemEnd, [session, resumePlaying, itemEnd](const auto& landed) {
    if (!playerOf(session)) return landed->setLayerHidden(false);
    seekExactly(landed, itemEnd, [resumePlaying](const auto& arrived) {
      resumePlaying(arrived);
      arrived->setLayerHidden(false);
    });
  });
}

void OverlaySession::bindLearnMoreButton(const LifecycleEvents& events, const LifecycleEvents& adEnters) {
  subscriptions_.add(TarnKyrAdComponentView::shouldHideLearnMoreButtonWithAdEnterSignal(
                         adEnters, eventsOfType(events, kTarnPlaybackSessionLifecycleEventAdExit))
                         .subscribeNext([button = view_.learnMoreButton()](bool hidden) {
                           setLearnMoreHidden(*button, hidden);
                         }));
}

void OverlaySession::followClicks(const LifecycleEvents& adEnters,
                                  const Tarn_RACSubject<TarnKyrAdClickThrough>& clickThroughs) {
  clicks_.add(
      TarnKyrAdComponentView::clickThroughURLSignalWithAdEnterSignal(adEnters, view_.learnMoreButtonTouches())
          .subscribeNext([weak = session_, clickThroughs](const auto& click) {
            const auto session = weak.lock();
            if (!session) return;
            const auto& [ad, button] = click;
            analyticsOf(ad).trackVideoClick();
            clickThroughs.sendNext({ad, session, *lumoAd(ad)->clickThroughURL(), button});
          }));
}

}  // namespace tarn
