#pragma once

#include <QPointer>
#include <QQuickItem>
#include <functional>
#include <memory>
#include <vector>

#include "Host/TarnSessionConsumer.h"
#include "Lumo/BeaconSink.h"
#include "Overlay/TarnKyrAdClickThrough.h"
#include "Overlay/TarnKyrAdComponentView.h"
#include "Overlay/TarnKyrCompanionSlot.h"
#include "Platform/Liveness.h"
#include "Reactive/Tarn_RACDisposable.h"
#include "Reactive/Tarn_RACInvocations.h"

/// Kept for the application; the library never calls it.
class TarnKyrAdComponentDelegate {
 public:
  virtual ~TarnKyrAdComponentDelegate() = default;
};

/// The ad overlay of an application:
///
///     auto container = std::make_shared<TarnKyrAdComponentDisplayContainer>(videoItem, slots);
///     controller->addSessionConsumer(container);
///
/// It puts the overlay over the application's item when a break of the current session starts, and hides it
/// when that break or session ends: the session terminates, is destroyed, or another one, or none, becomes
/// current. It handles the viewer's clicks: it pauses the player, finds the item that can present a page, and
/// calls the presenting operation, which the application implements. Playback stays paused until the
/// application resumes it.
///
/// Main thread; lives as long as the application holds it, at most as long as the `QGuiApplication`, and
/// removes the overlay when it is destroyed.
class TarnKyrAdComponentDisplayContainer : public TarnSessionConsumer {
 public:
  using Session = std::shared_ptr<TarnPlaybackSession>;
  using CompanionSlots = std::vector<std::shared_ptr<TarnKyrCompanionSlot>>;
  using ClickThroughHandler = std::function<void(const TarnKyrAdClickThrough& clickThrough)>;
  using PagePresenter = std::function<void(QObject* viewController, const std::shared_ptr<const TarnAd>& ad,
                                           const tarn::URL& clickThroughURL, const Session& session)>;

  /// Must not be used: throws `tarn::ProgrammingError`.
  TarnKyrAdComponentDisplayContainer();
  /// `adComponentContainer`, which receives the overlay, is kept weakly; without it nothing is shown.
  /// `companionSlots` are stored. `beaconSink` receives the beacons of clicks and skips; null:
  /// `tarn::HTTPBeaconSink::shared()`.
  TarnKyrAdComponentDisplayContainer(QQuickItem* adComponentContainer, CompanionSlots companionSlots,
                                     std::shared_ptr<tarn::BeaconSink> beaconSink = nullptr);
  /// With a view that is never shown.
  explicit TarnKyrAdComponentDisplayContainer(CompanionSlots companionSlots);
  ~TarnKyrAdComponentDisplayContainer() override;

  [[nodiscard]] std::shared_ptr<TarnKyrAdComponentDelegate> delegate() const { return delegate_.lock(); }
  void setDelegate(const std::shared_ptr<TarnKyrAdComponentDelegate>& delegate) { delegate_ = delegate; }
  [[nodiscard]] QQuickItem* adComponentContainer() const { return adComponentContainer_; }
  [[nodiscard]] const CompanionSlots& companionSlots() const { return companionSlots_; }
  void configureCompanionSlots(CompanionSlots companionSlots);
  /// The session advanced to last; null when it has been destroyed.
  [[nodiscard]] Session currentSession() const { return currentSession_.lock(); }
  /// Never null. The container's own.
  [[nodiscard]] TarnKyrAdComponentView* adComponentView() const { return adComponentView_.get(); }

  /// The handler of clicks; initially as described above. It may be replaced; empty to do nothing. May be
  /// called after the container was destroyed: it then only pauses.
  [[nodiscard]] const ClickThroughHandler& nextBlock() const { return nextBlock_; }
  void setNextBlock(ClickThroughHandler nextBlock) { nextBlock_ = std::move(nextBlock); }

  /// `session` becomes the current one, whose breaks the overlay shows; after null there is none.
  void didAdvanceToPlaybackSession(const Session& session) override;

  /// Presents the advertiser's page: calls the presenter set by `setPagePresenter`, or override it.
  /// `viewController` has an invokable `presentViewController`; `session` is paused.
  virtual void presentLearnMoreWebViewControllerFromViewController(QObject* viewController,
                                                                   const std::shared_ptr<const TarnAd>& ad,
                                                                   const tarn::URL& clickThroughURL,
                                                                   const Session& session);
  void setPagePresenter(PagePresenter presenter) { pagePresenter_ = std::move(presenter); }

 private:
  struct DeleteLater {
    void operator()(TarnKyrAdComponentView* view) const;
  };

  void configureCommon();
  void configureAdComponentContainer(QQuickItem* adComponentContainer);
  void constructSignals(const Tarn_RACSignal<Session>& sessions);
  void showView();

  std::weak_ptr<TarnKyrAdComponentDelegate> delegate_;
  QPointer<QQuickItem> adComponentContainer_;
  CompanionSlots companionSlots_;
  std::weak_ptr<TarnPlaybackSession> currentSession_;
  std::unique_ptr<TarnKyrAdComponentView, DeleteLater> adComponentView_;
  ClickThroughHandler nextBlock_;
  PagePresenter pagePresenter_;
  std::shared_ptr<tarn::BeaconSink> beaconSink_;
  Tarn_RACInvocations<Session> advances_;
  tarn::Liveness liveness_;
  Tarn_RACDeallocDisposable subscriptions_;
};
