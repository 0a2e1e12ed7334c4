#pragma once

#include <QQuickItem>
#include <memory>

#include "Host/TarnPlaybackSession.h"
#include "Lumo/TarnLumoAnalyticsDigester.h"
#include "Overlay/TarnKyrAdClickThrough.h"
#include "Overlay/TarnKyrAdComponentView.h"
#include "Reactive/Tarn_RACDisposable.h"
#include "Reactive/Tarn_RACSubject.h"

namespace tarn {

/// The lifecycle events of a session, without null events, on the main thread. Completes there when the
/// session has terminated, after that event, or has been destroyed: nothing follows the end of a session.
///
/// Keeps neither the session nor its signal alive once it is subscribed to.
[[nodiscard]] Tarn_RACSignal<TarnPlaybackSession::LifecycleEvent> lifecycleUntilEnd(
    const std::shared_ptr<TarnPlaybackSession>& session);

/// Connects the overlay to one session: the texts shown and the buttons' actions.
///
/// Connects the view to the session's events until the session ends, or this object is destroyed. The view is
/// then as before the first ad: the end of a session counts as an exit from its ad. Main thread; may be
/// destroyed inside a click, and inside any call caused by an event or a skip.
class OverlaySession final {
 public:
  using LifecycleEvents = TarnKyrAdComponentView::LifecycleEvents;
  using Ad = TarnKyrAdComponentView::Ad;

  /// `view` outlives this object. `session` is not kept alive. `digester` sends the beacons of skips and
  /// clicks; `clickThroughs` receives each click on "Learn More", after its beacons.
  OverlaySession(TarnKyrAdComponentView& view, const std::shared_ptr<TarnPlaybackSession>& session,
                 const std::shared_ptr<TarnLumoAnalyticsDigester>& digester,
                 const Tarn_RACSubject<TarnKyrAdClickThrough>& clickThroughs);
  OverlaySession(const OverlaySession&) = delete;
  OverlaySession& operator=(const OverlaySession&) = delete;
  ~OverlaySession();

 private:
  void bindDurationLabel(const LifecycleEvents& events);
  void bindSkipButton(const LifecycleEvents& events, const LifecycleEvents& adEnters);
  void bindSkipCountdown(const Tarn_RACSignal<Ad>& skippableAds, const LifecycleEvents& events);
  void bindLearnMoreButton(const LifecycleEvents& events, const LifecycleEvents& adEnters);
  void followClicks(const LifecycleEvents& adEnters,
                    const Tarn_RACSubject<TarnKyrAdClickThrough>& clickThroughs);
  void skipAd(const Ad& ad);
  void leave();

  TarnKyrAdComponentView& view_;
  const std::weak_ptr<TarnPlaybackSession> session_;
  std::weak_ptr<char> skipInFlight_;  // owned by the completion of the player's seek
  const Tarn_RACDisposable clicks_;
  Tarn_RACDeallocDisposable subscriptions_;
};

}  // namespace tarn
