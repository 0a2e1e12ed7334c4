#include <functional>
#include <optional>
#include <utility>

#include "Host/Tarn_RACBinding.h"
#include "Host/Tarn_RACSubject.h"
#include "Kyr/AdBreakDurations.h"
#include "Kyr/TarnKyrAdComponentView.h"
#include "Kyr/TarnKyrConstants.h"
#include "Kyr/TarnKyrSeekPolicy.h"
#include "Kyr/WholeSeconds.h"
#include "Lumo/TarnLumoAdAnalyticsSession.h"

namespace {

using LifecycleEvent = TarnPlaybackSession::LifecycleEvent;
using LifecycleEvents = TarnKyrAdComponentView::LifecycleEvents;
using Ad = TarnKyrAdComponentView::Ad;
using WeakSession = std::weak_ptr<TarnPlaybackSession>;
using AnalyticsSession = std::shared_ptr<TarnLumoAdAnalyticsSession>;
using Digester = std::shared_ptr<TarnLumoAnalyticsDigester>;
using State = tarn::OverlayButton::State;

LifecycleEvents eventsOfType(const LifecycleEvents& events, const char* type) {
  return events.filter([type](const LifecycleEvent& event) { return event && event->is(type); });
}

/// The ad of an event, told anew as one that beacons can be sent for. Null without a parsed ad.
LifecycleEvent tracked(const LifecycleEvent& event, const Digester& digester) {
  const auto lumoAd = tarn::lumoAd(event->ad());
  if (!lumoAd) return nullptr;
  tarn::Dictionary adProperties;
  adProperties.set(kTarnKyrAdPropertiesKeyLumoAd, lumoAd);
  adProperties.set(kTarnKyrAdPropertiesKeyLumoAdAnalyticsSession,
                   std::make_shared<TarnLumoAdAnalyticsSession>(lumoAd, digester));
  tarn::Dictionary eventProperties;
  eventProperties.set(kTarnPlaybackSessionLifecycleEventPropertiesKeyAd,
                      std::make_shared<const TarnAd>(lumoAd->title(), lumoAd->adId(), lumoAd->logicalOffset(),
                                                     lumoAd->duration(), std::move(adProperties)));
  return std::make_shared<const TarnPlaybackSessionLifecycleEvent>(kTarnPlaybackSessionLifecycleEventAdEnter,
                                                                   std::move(eventProperties));
}

Ad adOfEvent(const LifecycleEvent& event) {
  return event->ad();
}

bool isSkippable(const Ad& ad) {
  return CMTIME_IS_VALID(tarn::lumoAd(ad)->skipOffset());
}

CMTime inAdTime(const LifecycleEvent& adProgress) {
  return adProgress->adProgress().value_or(kCMTimeZero);
}

/// Seconds to be waited for until the ad can be skipped. The position counts within its minute.
std::int64_t skipCountdown(const Ad& ad, const LifecycleEvent& adProgress) {
  const CMTime offset = tarn::lumoAd(ad)->skipOffset();
  const std::int64_t whole = tarn::wholeSeconds(offset);
  const std::int64_t raised = CMTimeGetSeconds(offset) > static_cast<double>(whole) ? whole + 1 : whole;
  const std::int64_t position = tarn::wholeSeconds(inAdTime(adProgress)) % 60;
  return raised > position ? raised - position : 0;
}

AnalyticsSession analyticsOf(const Ad& ad) {
  const auto* const found =
      ad->properties().get<AnalyticsSession>(kTarnKyrAdPropertiesKeyLumoAdAnalyticsSession);
  return found ? *found : nullptr;
}

/// Each value with the session that is current when it is sent.
template <typename T>
Tarn_RACSignal<Tarn_RACTuple<T, WeakSession>> withCurrentSession(
    const Tarn_RACSignal<T>& signal, const TarnKyrAdComponentView::Sessions& sessions) {
  // A session that has been played must not live on here.
  const auto current = sessions.map([](const auto& session) { return WeakSession(session); });
  return tarn::zip(signal, current.sample(signal));
}

/// Nothing is left of `landed` when the player has gone.
void seekExactly(const std::shared_ptr<TarnPlayer>& player, CMTime time,
                 std::function<void(const std::shared_ptr<TarnPlayer>& player)> landed) {
  player->seekToTime(time, kCMTimeZero, kCMTimeZero,
                     [weak = std::weak_ptr(player), landed = std::move(landed)](bool) {
                       if (const auto alive = weak.lock()) landed(alive);
                     });
}

}  // namespace

Tarn_RACSignal<TarnKyrAdClickThrough> TarnKyrAdComponentView::adsByLearnMoreWithSessions(
    const Sessions& sessions, std::shared_ptr<tarn::BeaconSink> beaconSink) {
  const auto digester = std::make_shared<TarnLumoAnalyticsDigester>(std::move(beaconSink));
  // Subscribed to last, so that what comes at once finds everything wired.
  const Tarn_RACSubject<LifecycleEvent> events;
  // Told once for all who listen: an ad entered is one play of it.
  const Tarn_RACSubject<LifecycleEvent> adEnters;
  subscriptions_.add(eventsOfType(events, kTarnPlaybackSessionLifecycleEventAdEnter)
                         .map([digester](const LifecycleEvent& event) { return tracked(event, digester); })
                         .ignoreNil()
                         .subscribeNext(adEnters));

  bindDurationLabel(events);
  bindSkipButton(events, adEnters, sessions);
  bindLearnMoreButton(events, adEnters);

  const Tarn_RACSubject<TarnKyrAdClickThrough> clickThroughs;
  const auto clicks = clickThroughURLSignalWithAdEnterSignal(adEnters, learnMoreTouches_.signal());
  subscriptions_.add(
      withCurrentSession(clicks, sessions)
          .reduceEach([](const Tarn_RACTuple<Ad, QQuickItem*>& click, const WeakSession& session) {
            const auto& [ad, button] = click;
            return TarnKyrAdClickThrough(ad, session.lock(), *tarn::lumoAd(ad)->clickThroughURL(), button);
          })
          .doNext([](const TarnKyrAdClickThrough& click) { analyticsOf(click.ad())->trackVideoClick(); })
          .subscribeNext(clickThroughs));

  subscriptions_.add(sessions
                         .flattenMap([](const Session& session) {
                           return session ? session->lifecycle() : Tarn_RACSignal<LifecycleEvent>::never();
                         })
                         .subscribeNext(events));
  return clickThroughs.signal();
}

void TarnKyrAdComponentView::bindDurationLabel(const LifecycleEvents& events) {
  const auto durations =
      eventsOfType(events, kTarnPlaybackSessionLifecycleEventAdSequenceEnter)
          .map([](const LifecycleEvent& event) { return tarn::adBreakDurations(event->adSequence()); });
  const auto adProgress = eventsOfType(events, kTarnPlaybackSessionLifecycleEventAdProgress);
  const auto text = tarn::combineLatest(durations, adProgress)
                        .reduceEach([](const tarn::AdBreakDurations& table, const LifecycleEvent& progress) {
                          const auto remaining =
                              tarn::remainingTime(table, tarn::lumoAd(progress->ad()), inAdTime(progress));
                          return std::optional<QString>(formatAdRemainTime(remaining));
                        })
                        .startWith(std::nullopt)
                        .deliverOnMainThread();
  subscriptions_.add(tarn::bindSignal(
      text, [this](const QString& value) { durationLabel_->setText(value); }, QString()));
}

void TarnKyrAdComponentView::bindSkipButton(const LifecycleEvents& events, const LifecycleEvents& adEnters,
                                            const Sessions& sessions) {
  const auto skippableAds = adEnters.map(adOfEvent).filter(isSkippable);
  bindSkipCountdown(skippableAds, events);

  const auto always = [](bool hidden) { return [hidden](const auto&) { return hidden; }; };
  const auto hidden =
      tarn::merge(eventsOfType(events, kTarnPlaybackSessionLifecycleEventAdSequenceEnter).map(always(true)),
                  eventsOfType(events, kTarnPlaybackSessionLifecycleEventAdExit).map(always(true)),
                  skippableAds.map(always(false)))
          .startWith(true)
          .deliverOnMainThread();
  subscriptions_.add(tarn::bindSignal(hidden, [this](bool value) { skipButton_->setHidden(value); }));

  const auto skipTaps = skippableAds.sample(skipTouches_.signal());
  subscriptions_.add(
      withCurrentSession(skipTaps, sessions).deliverOnMainThread().subscribeNext([this](const auto& tap) {
        std::apply([this](const Ad& ad, const WeakSession& session) { skipAd(ad, session); }, tap);
      }));
}

void TarnKyrAdComponentView::bindSkipCountdown(const Tarn_RACSignal<Ad>& skippableAds,
                                               const LifecycleEvents& events) {
  const auto adProgress = eventsOfType(events, kTarnPlaybackSessionLifecycleEventAdProgress);
  const auto countdown =
      tarn::combineLatest(skippableAds, adProgress).reduceEach(skipCountdown).distinctUntilChanged();
  subscriptions_.add(countdown.map(skipButtonTitleWithProgress)
                         .deliverOnMainThread()
                         .subscribeNext([this](const QString& title) { skipButton_->setTitle(title); }));
  subscriptions_.add(
      tarn::bindSignal(countdown.map([](std::int64_t seconds) { return seconds == 0; }).deliverOnMainThread(),
                       [this](bool enabled) { skipButton_->setEnabled(enabled); }));
}

/// A press that comes while an earlier one's seek is under way skips nothing.
void TarnKyrAdComponentView::skipAd(const Ad& ad, const std::weak_ptr<TarnPlaybackSession>& session) {
  if (!skipUnderWay_.expired()) return;
  analyticsOf(ad)->trackAdSkip();
  const auto alive = session.lock();
  const auto player = alive ? alive->player() : nullptr;
  if (!player) return;
  player->pause();
  const auto underWay = std::make_shared<char>();
  skipUnderWay_ = underWay;
  const CMTime target = tarn::timeBySeekOffset(tarn::lumoAd(ad)->endTime());
  const CMTime itemEnd = player->currentItemDuration().get().value_or(CMTime{});
  if (CMTimeCompare(target, itemEnd) < 0) {
    return seekExactly(player, target, [underWay](const auto& landed) { landed->play(); });
  }
  // Players do not reliably arrive at an item's end by a first seek. The viewer is not shown the way.
  player->setLayerHidden(true);
  seekExactly(player, itemEnd, [underWay, itemEnd](const auto& landed) {
    seekExactly(landed, itemEnd, [underWay](const auto& arrived) {
      arrived->play();
      arrived->setLayerHidden(false);
    });
  });
}

LifecycleEvents TarnKyrAdComponentView::adEnterSignalWithClickThroughURL(
    const LifecycleEvents& adEnterSignal) {
  return adEnterSignal.filter([](const LifecycleEvent& event) {
    const auto ad = tarn::lumoAd(event->ad());
    return ad && ad->clickThroughURL();
  });
}

Tarn_RACSignal<bool> TarnKyrAdComponentView::shouldHideLearnMoreButtonWithAdEnterSignal(
    const LifecycleEvents& adEnterSignal, const LifecycleEvents& adExitSignal) {
  return tarn::merge(adEnterSignalWithClickThroughURL(adEnterSignal).map([](const auto&) { return false; }),
                     adExitSignal.map([](const auto&) { return true; }))
      .deliverOnMainThread();
}

Tarn_RACSignal<Tarn_RACTuple<Ad, QQuickItem*>> TarnKyrAdComponentView::clickThroughURLSignalWithAdEnterSignal(
    const LifecycleEvents& adEnterSignal,
    const Tarn_RACSignal<Tarn_RACTuple<QQuickItem*>>& learnMoreButtonDidTouchUpInsideSignal) {
  const auto& touches = learnMoreButtonDidTouchUpInsideSignal;
  const auto buttons = touches.reduceEach([](QQuickItem* sender) { return sender; });
  const auto ads = adEnterSignalWithClickThroughURL(adEnterSignal).map(adOfEvent).sample(touches);
  // The buttons are heard first, so that each touch that has an ad finds its own button.
  return tarn::zip(buttons.sample(ads), ads).reduceEach([](QQuickItem* button, const Ad& ad) {
    return Tarn_RACTuple<Ad, QQuickItem*>(ad, button);
  });
}

void TarnKyrAdComponentView::bindLearnMoreButton(const LifecycleEvents& events,
                                                 const LifecycleEvents& adEnters) {
  const auto hidden = shouldHideLearnMoreButtonWithAdEnterSignal(
      adEnters, eventsOfType(events, kTarnPlaybackSessionLifecycleEventAdExit));
  subscriptions_.add(tarn::bindSignal(hidden.doNext([this](bool value) { resetLearnMoreTitles(value); }),
                                      [this](bool value) { learnMoreButton_->setHidden(value); }));
}

void TarnKyrAdComponentView::resetLearnMoreTitles(bool hidden) {
  const QString text = hidden ? QString() : learnMoreButtonTitle();
  learnMoreButton_->setAttributedTitle(State::normal, {text, titleColorControlStateNormal(), true});
  learnMoreButton_->setAttributedTitle(State::highlighted, {text, titleColorControlStateHighlighted(), true});
}
