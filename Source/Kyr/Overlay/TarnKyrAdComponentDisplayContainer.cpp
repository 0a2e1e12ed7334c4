#include "Overlay/TarnKyrAdComponentDisplayContainer.h"

#include <QMetaMethod>
#include <QQmlProperty>
#include <QQuickWindow>
#include <utility>

#include "Overlay/Internal/OverlaySession.h"
#include "Platform/ProgrammingError.h"

namespace {

using LifecycleEvent = TarnPlaybackSession::LifecycleEvent;

/// Whether the session plays a break: sends false when the session becomes current, and when it has ended.
Tarn_RACSignal<bool> isInBreak(const TarnKyrAdComponentDisplayContainer::Session& session) {
  if (!session) return Tarn_RACSignal<bool>::returnValue(false);
  const auto isEnter = [](const LifecycleEvent& event) {
    return event->is(kTarnPlaybackSessionLifecycleEventAdSequenceEnter);
  };
  const auto isEnterOrExit = [isEnter](const LifecycleEvent& event) {
    return isEnter(event) || event->is(kTarnPlaybackSessionLifecycleEventAdSequenceExit);
  };
  return tarn::lifecycleUntilEnd(session)
      .filter(isEnterOrExit)
      .map(isEnter)
      .startWith(false)
      .concat(Tarn_RACSignal<bool>::returnValue(false));
}

/// Whether the object has an operation `presentViewController`, from QML or C++.
bool canPresentViewController(const QObject& object) {
  const auto& type = *object.metaObject();
  for (int i = 0; i < type.methodCount(); ++i) {
    if (type.method(i).name() == "presentViewController") return true;
  }
  return false;
}

/// An item's parent; for the outermost item its window.
QObject* nextResponder(QObject* object) {
  auto* const item = qobject_cast<QQuickItem*>(object);
  if (item == nullptr) return nullptr;
  if (item->parentItem() != nullptr) return item->parentItem();
  return item->window();
}

QObject* presentingResponder(QQuickItem* sender) {
  auto* responder = nextResponder(sender);
  while (responder != nullptr && !canPresentViewController(*responder)) responder = nextResponder(responder);
  return responder;
}

}  // namespace

TarnKyrAdComponentDisplayContainer::TarnKyrAdComponentDisplayContainer() {
  tarn::failProgramming(
      "Do not call -[TarnKyrAdComponentDisplayContainer init] directly, instead use "
      "-[TarnKyrAdComponentDisplayContainer initWithAdComponentContainer:companionSlots:]");
}

TarnKyrAdComponentDisplayContainer::TarnKyrAdComponentDisplayContainer(CompanionSlots companionSlots) {
  configureCommon();
  configureCompanionSlots(std::move(companionSlots));
}

/// The delegated constructor has made a view that is never shown; this one replaces it.
TarnKyrAdComponentDisplayContainer::TarnKyrAdComponentDisplayContainer(
    QQuickItem* adComponentContainer, CompanionSlots companionSlots,
    std::shared_ptr<tarn::BeaconSink> beaconSink)
    : TarnKyrAdComponentDisplayContainer(companionSlots) {
  beaconSink_ = std::move(beaconSink);
  configureCommon();
  configureAdComponentContainer(adComponentContainer);
  configureCompanionSlots(std::move(companionSlots));
}

TarnKyrAdComponentDisplayContainer::~TarnKyrAdComponentDisplayContainer() = default;

/// The container may be destroyed by a click in the view.
void TarnKyrAdComponentDisplayContainer::DeleteLater::operator()(TarnKyrAdComponentView* view) const {
  view->setVisible(false);
  view->setParentItem(nullptr);
  view->deleteLater();
}

void TarnKyrAdComponentDisplayContainer::configureCommon() {
  nextBlock_ = [this, self = liveness_.watch()](const TarnKyrAdClickThrough& click) {
    if (const auto player = click.session()->player()) player->pause();
    auto* const viewController = self.isAlive() ? presentingResponder(click.sender()) : nullptr;
    if (viewController == nullptr) return;
    presentLearnMoreWebViewControllerFromViewController(viewController, click.ad(), click.clickThroughURL(),
                                                        click.session());
  };
  adComponentView_.reset(new TarnKyrAdComponentView(QRectF()));
}

void TarnKyrAdComponentDisplayContainer::configureAdComponentContainer(QQuickItem* adComponentContainer) {
  adComponentContainer_ = adComponentContainer;
  const auto sessions = advances_.signal().reduceEach([](const Session& session) { return session; });
  subscriptions_.add(sessions.subscribeNext([this](const Session& session) { currentSession_ = session; }));
  constructSignals(sessions);
  const auto clicks = adComponentView_->adsByLearnMoreWithSessions(sessions, beaconSink_);
  subscriptions_.add(clicks.subscribeNext([this](const TarnKyrAdClickThrough& click) {
    const auto handler = nextBlock_;  // it may replace itself, or destroy this container
    if (handler) handler(click);
  }));
}

void TarnKyrAdComponentDisplayContainer::constructSignals(const Tarn_RACSignal<Session>& sessions) {
  subscriptions_.add(sessions.map(isInBreak).switchToLatest().subscribeNext([this](bool inBreak) {
    if (inBreak) return showView();
    adComponentView_->setVisible(false);
  }));
}

void TarnKyrAdComponentDisplayContainer::showView() {
  if (adComponentView_->parentItem() == nullptr && adComponentContainer_) {
    adComponentView_->setParentItem(adComponentContainer_);
    // As large as the application's item, now and later.
    QQmlProperty::write(adComponentView_.get(), QStringLiteral("anchors.fill"),
                        QVariant::fromValue(adComponentContainer_.data()));
  }
  adComponentView_->setVisible(true);
}

void TarnKyrAdComponentDisplayContainer::configureCompanionSlots(CompanionSlots companionSlots) {
  companionSlots_ = std::move(companionSlots);
}

void TarnKyrAdComponentDisplayContainer::didAdvanceToPlaybackSession(const Session& session) {
  advances_(session);
}

void TarnKyrAdComponentDisplayContainer::presentLearnMoreWebViewControllerFromViewController(
    QObject* viewController, const std::shared_ptr<const TarnAd>& ad, const tarn::URL& clickThroughURL,
    const Session& session) {
  if (const auto presenter = pagePresenter_) presenter(viewController, ad, clickThroughURL, session);
}
