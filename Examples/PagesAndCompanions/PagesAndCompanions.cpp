// Fills what the ad overlay leaves to the application: opens the advertiser's page over the paused video, and
// shows the ad's banner beside it.

#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickView>
#include <clocale>
#include <cstdlib>
#include <iostream>
#include <string>

#include "Host/TarnPlayerSDKManager.h"
#include "HostGStreamer/GStreamerPlayer.h"
#include "Kyr/TarnKyrComponent.h"
#include "Kyr/TarnKyrConstants.h"
#include "Lumo/HTTPBeaconSink.h"
#include "Lumo/TarnLumoAd.h"
#include "Lumo/TarnLumoAdAnalyticsSession.h"
#include "Overlay/QtMainQueue.h"
#include "Overlay/TarnKyrAdComponentDisplayContainer.h"
#include "Reactive/Tarn_RACSubject.h"

namespace {

using Session = std::shared_ptr<TarnPlaybackSession>;
using Ad = std::shared_ptr<const TarnAd>;
using Event = TarnPlaybackSessionLifecycleEvent;
using Events = Tarn_RACSubject<TarnPlaybackSession::LifecycleEvent>;

/// Tells, while an ad's page opens and closes, of each step with the event that is reserved for it, and plays
/// on afterwards. The page itself is drawn in QML, which calls the slots.
class Pages final : public QObject {
  Q_OBJECT

 public:
  explicit Pages(Events events) : events_(std::move(events)) {}

  void present(QObject* viewController, const Ad& ad, const tarn::URL& url, const Session& session) {
    ad_ = ad;
    session_ = session;
    QMetaObject::invokeMethod(viewController, "presentViewController",
                              Q_ARG(QVariant, QString::fromStdString(url.absoluteString())));
  }

 public Q_SLOTS:
  void willOpen() { tell(kTarnKyrLifecycleEventAdWebViewControllerWillOpen); }
  void didOpen() { tell(kTarnKyrLifecycleEventAdWebViewControllerDidOpen); }
  void willClose() { tell(kTarnKyrLifecycleEventAdWebViewControllerWillClose); }
  void didClose() {
    tell(kTarnKyrLifecycleEventAdWebViewControllerDidClose);
    if (const auto session = session_.lock()) session->avPlayerPlay();
  }

 private:
  void tell(const char* type) {
    tarn::Dictionary properties;
    properties.set(kTarnPlaybackSessionLifecycleEventPropertiesKeyAd, ad_);
    events_.sendNext(std::make_shared<const Event>(type, std::move(properties)));
  }

  Events events_;
  Ad ad_;
  std::weak_ptr<TarnPlaybackSession> session_;
};

/// A slot that shows a banner in an `Image`.
class BannerSlot final : public TarnKyrCompanionSlot {
 public:
  BannerSlot(QQuickItem* image, std::int64_t width, std::int64_t height)
      : TarnKyrCompanionSlot(image, width, height) {
    setView(image);
    setWidth(width);
    setHeight(height);
  }

  /// The ad's banner of exactly this size. `analytics` sends its beacons to the advertiser.
  void show(const TarnLumoAd& ad, TarnLumoAdAnalyticsSession& analytics) {
    const auto& companions = ad.companionsCollection();
    const auto fitting = companions ? companions->companionAdsForWidth(width(), height())
                                    : TarnLumoCompanionAdsCollection::Companions();
    if (fitting.empty() || !fitting.front()->staticResourceURL()) return clear();
    showImage(QString::fromStdString(fitting.front()->staticResourceURL()->absoluteString()));
    if (const auto& identifier = fitting.front()->identifier())
      analytics.trackCompanionCreativeView(*identifier);
  }
  void clear() { showImage({}); }

 private:
  void showImage(const QString& address) {
    if (view() != nullptr) view()->setProperty("source", QUrl(address));
  }
};

/// The application's ear: prints what happens, and changes the banner with the ads.
class Listener final : public TarnSessionConsumer {
 public:
  Listener(Events pageEvents, std::shared_ptr<BannerSlot> slot)
      : pageEvents_(std::move(pageEvents)), slot_(std::move(slot)) {}

  void didAdvanceToPlaybackSession(const Session& session) override {
    const auto events = session->lifecycle().merge(pageEvents_);
    subscriptions_.add(events.subscribeNext([this](const TarnPlaybackSession::LifecycleEvent& event) {
      if (event) handle(*event);
    }));
  }

 private:
  void handle(const Event& event) {
    if (!event.is(kTarnPlaybackSessionLifecycleEventAdProgress)) std::cout << event.eventType() << std::endl;
    if (const auto error = event.error()) std::cerr << tarn::chainDescription(*error) << '\n';
    if (event.is(kTarnPlaybackSessionLifecycleEventAdEnter) && event.ad()) showBannerOf(*event.ad());
    if (event.is(kTarnPlaybackSessionLifecycleEventAdExit)) slot_->clear();
    if (event.is(kTarnPlaybackSessionLifecycleEventEnd) ||
        event.is(kTarnPlaybackSessionLifecycleEventTerminate)) {
      QCoreApplication::quit();
    }
  }

  void showBannerOf(const TarnAd& ad) {
    const auto* lumoAd =
        ad.properties().get<std::shared_ptr<const TarnLumoAd>>(kTarnKyrAdPropertiesKeyLumoAd);
    if (lumoAd == nullptr) return;
    TarnLumoAdAnalyticsSession analytics(*lumoAd, digester_);
    slot_->show(**lumoAd, analytics);
  }

  Events pageEvents_;
  std::shared_ptr<BannerSlot> slot_;
  std::shared_ptr<TarnLumoAnalyticsDigester> digester_ = std::make_shared<TarnLumoAnalyticsDigester>();
  Tarn_RACDeallocDisposable subscriptions_;
};

QQuickItem* part(const QQuickView& view, const char* name) {
  return view.rootObject()->property(name).value<QQuickItem*>();
}

/// The controller over a player whose picture `video` shows.
std::shared_ptr<TarnPlaybackController> makeController(QQuickItem* video) {
  const auto manager = std::make_shared<TarnPlayerSDKManager>([video] {
    return std::make_shared<tarn::GStreamerPlayer>(
        tarn::GStreamerPlayerOptions{.audioSink = "autoaudiosink", .quickVideoItem = video});
  });
  return createKyrPlaybackController(manager);
}

}  // namespace

int main(int argc, char** argv) {
  const auto vmap = argc == 2 ? tarn::URL::fromString(argv[1]) : std::nullopt;
  if (!vmap) {
    std::cerr << "usage: pages_and_companions VMAP-URL\n";
    return 2;
  }
  if (const auto prepared = tarn::prepareQuickVideo(); !prepared) {
    std::cerr << tarn::chainDescription(prepared.error()) << '\n';
    return 1;
  }
  QQuickWindow::setGraphicsApi(QSGRendererInterface::OpenGL);
  const QGuiApplication application(argc, argv);
  std::setlocale(LC_NUMERIC, "C");
  const tarn::QtMainQueue mainQueue;

  const Events pageEvents;
  Pages pages(pageEvents);
  QQuickView view;
  view.setResizeMode(QQuickView::SizeRootObjectToView);
  view.setInitialProperties({{QStringLiteral("pages"), QVariant::fromValue<QObject*>(&pages)}});
  view.setSource(QUrl(QStringLiteral("qrc:/PagesAndCompanions.qml")));
  if (view.status() != QQuickView::Ready) return 1;  // Qt has printed the reason
  view.resize(1280, 720);

  const auto slot = std::make_shared<BannerSlot>(part(view, "bannerPlace"), 300, 60);
  const auto overlay = std::make_shared<TarnKyrAdComponentDisplayContainer>(
      part(view, "overlayPlace"), TarnKyrAdComponentDisplayContainer::CompanionSlots{slot});
  overlay->setPagePresenter(
      [&pages](QObject* viewController, const Ad& ad, const tarn::URL& url, const Session& session) {
        pages.present(viewController, ad, url, session);
      });
  const auto listener = std::make_shared<Listener>(pageEvents, slot);

  const auto controller = makeController(part(view, "video"));
  controller->addSessionConsumer(overlay);
  controller->addSessionConsumer(listener);
  const auto source = std::make_shared<const TarnSource>(vmap, kTarnSourceDeliveryLumo);
  controller->addVideo(std::make_shared<const TarnVideo>(TarnMutableVideo{.sources = {source}}));
  // The picture needs the window's graphics context.
  QObject::connect(
      &view, &QQuickWindow::frameSwapped, &view, [&controller] { controller->begin(); },
      static_cast<Qt::ConnectionType>(Qt::QueuedConnection | Qt::SingleShotConnection));
  view.show();
  view.requestActivate();
  QGuiApplication::exec();
  controller->terminate();
  tarn::HTTPBeaconSink::shared()->flush(std::chrono::seconds(5));
}

#include "PagesAndCompanions.moc"
