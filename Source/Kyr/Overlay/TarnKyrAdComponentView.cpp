#include "Overlay/TarnKyrAdComponentView.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QKeyEvent>
#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "Lumo/TarnLumoAnalyticsDigester.h"
#include "Overlay/Internal/AdBreakDurations.h"
#include "Overlay/Internal/OverlaySession.h"
#include "Overlay/Internal/WholeSeconds.h"
#include "Platform/LocalizedString.h"
#include "Reactive/Tarn_RACSubject.h"

namespace {

using State = tarn::OverlayButton::State;
using LifecycleEvent = TarnPlaybackSession::LifecycleEvent;

/// The smallest screen that the layout is designed for, in points.
constexpr double kPointsAcross = 640;
constexpr double kPointsDown = 360;

QString localized(const char* key) {
  return QString::fromStdString(tarn::localizedString(key));
}

QString localized(const char* key, std::int64_t number) {
  return localized(key).replace(QStringLiteral("%@"), QString::number(number));
}

QFont systemFont(double size) {
  QFont font = QGuiApplication::font();
  font.setPixelSize(static_cast<int>(size));
  return font;
}

/// The height of two lines.
double skipButtonHeight() {
  const QFontMetricsF metrics(systemFont(TarnKyrAdComponentView::fontSizeForCurrentIdiom()));
  return std::ceil(
      metrics.boundingRect(QRectF(0, 0, 100, 100), Qt::AlignLeft, QStringLiteral("place\nholder")).height());
}

}  // namespace

TarnKyrAdComponentView::TarnKyrAdComponentView(QQuickItem* parent) : QQuickItem(parent) {
  configure();
}

TarnKyrAdComponentView::TarnKyrAdComponentView(const QRectF& frame, QQuickItem* parent) : QQuickItem(parent) {
  configure();
  setPosition(frame.topLeft());
  setSize(frame.size());
}

TarnKyrAdComponentView::~TarnKyrAdComponentView() = default;

void TarnKyrAdComponentView::configure() {
  // Presses on the bar, and on buttons that are not clickable, end here.
  setAcceptedMouseButtons(Qt::AllButtons);
  look_ = std::make_unique<tarn::OverlayLook>(
      *this, QVariantMap{{QStringLiteral("buttonWidthHeight"), buttonWidthHeightForCurrentIdiom()},
                         {QStringLiteral("fontSize"), fontSizeForCurrentIdiom()},
                         {QStringLiteral("barColor"), componentBackgroundColor()},
                         {QStringLiteral("mirrored"), isMirrored()}});
  topComponentContainer_ = look_->part<QQuickItem>("topComponentContainer");
  durationLabel_ = look_->part<tarn::OverlayLabel>("durationLabel");
  learnMoreButton_ = look_->part<tarn::OverlayButton>("learnMoreButton");
  skipButton_ = look_->part<tarn::OverlayButton>("skipButton");
  configureButtons();
  focus_ = std::make_unique<tarn::OverlayFocus>(*this, *learnMoreButton_, *skipButton_, isMirrored);
  connect(qGuiApp, &QGuiApplication::layoutDirectionChanged, this,
          [this] { look_->root().setProperty("mirrored", isMirrored()); });
}

void TarnKyrAdComponentView::configureButtons() {
  learnMoreButton_->setHidden(true);
  connect(learnMoreButton_, &tarn::OverlayButton::touchUpInside, this,
          [this] { learnMoreButtonDidTouchUpInside(learnMoreButton_); });

  view(*skipButton_, LayoutAttribute::height, skipButtonHeight());
  skipButton_->setTitleColor(State::normal, titleColorControlStateNormal());
  skipButton_->setTitleColor(State::highlighted, titleColorControlStateHighlighted());
  skipButton_->setHidden(true);
  connect(skipButton_, &QQuickItem::enabledChanged, this,
          [this] { skipButton_->setBorderWidth(skipButton_->isEnabled() ? 1 : 0); });
  skipButton_->setEnabled(false);  // no ad that can be skipped yet
  connect(skipButton_, &tarn::OverlayButton::touchUpInside, this,
          [this] { skipButtonDidTouchUpInside(skipButton_); });
}

Tarn_RACSignal<TarnKyrAdClickThrough> TarnKyrAdComponentView::adsByLearnMoreWithSessions(
    const Sessions& sessions, std::shared_ptr<tarn::BeaconSink> beaconSink) {
  const auto digester = std::make_shared<TarnLumoAnalyticsDigester>(std::move(beaconSink));
  const Tarn_RACSubject<TarnKyrAdClickThrough> clickThroughs;
  subscriptions_.add(sessions.subscribeNext([this, digester, clickThroughs](const Session& session) {
    session_.reset();  // before the next one is connected to the same buttons
    if (session) session_ = std::make_unique<tarn::OverlaySession>(*this, session, digester, clickThroughs);
  }));
  return clickThroughs.signal();
}

TarnKyrAdComponentView::LifecycleEvents TarnKyrAdComponentView::adEnterSignalWithClickThroughURL(
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

Tarn_RACSignal<Tarn_RACTuple<TarnKyrAdComponentView::Ad, QQuickItem*>>
TarnKyrAdComponentView::clickThroughURLSignalWithAdEnterSignal(
    const LifecycleEvents& adEnterSignal, const Touches& learnMoreButtonDidTouchUpInsideSignal) {
  const auto& touches = learnMoreButtonDidTouchUpInsideSignal;
  const auto buttons = touches.reduceEach([](QQuickItem* sender) { return sender; });
  const auto ads = adEnterSignalWithClickThroughURL(adEnterSignal)
                       .map([](const LifecycleEvent& event) { return event->ad(); })
                       .sample(touches);
  // Subscribes to the buttons first, so that each touch with an ad is paired with its own button.
  return tarn::zip(buttons.sample(ads), ads).reduceEach([](QQuickItem* button, const Ad& ad) {
    return Tarn_RACTuple<Ad, QQuickItem*>(ad, button);
  });
}

QString TarnKyrAdComponentView::formatAdRemainTime(CMTime time) {
  const std::int64_t seconds = tarn::wholeSeconds(time);
  if (seconds == 0) return localized("Your video will resume now");
  if (seconds == 1) return localized("Your video will resume in %@ second", seconds);
  return localized("Your video will resume in %@ seconds", seconds);
}

QString TarnKyrAdComponentView::skipButtonTitleWithProgress(std::int64_t progress) {
  if (progress == 0) return localized("Skip Ad ⇥");
  if (progress == 1) return localized("You can skip this ad\nin %@ second", progress);
  return localized("You can skip this ad\nin %@ seconds", progress);
}

QString TarnKyrAdComponentView::learnMoreButtonTitle() {
  return localized("Learn More");
}

/// Linux has no interface idiom, so the pad layout is never chosen.
double TarnKyrAdComponentView::buttonWidthHeightForCurrentIdiom() {
  return 30;
}

double TarnKyrAdComponentView::fontSizeForCurrentIdiom() {
  return 12;
}

QColor TarnKyrAdComponentView::titleColorControlStateNormal() {
  return Qt::white;
}

QColor TarnKyrAdComponentView::titleColorControlStateHighlighted() {
  return QColor::fromRgbF(2.F / 3, 2.F / 3, 2.F / 3);
}

QColor TarnKyrAdComponentView::componentBackgroundColor() {
  return QColor::fromRgbF(0, 0, 0, 0.6F);
}

void TarnKyrAdComponentView::view(QQuickItem& item, LayoutAttribute attribute, double constant) {
  if (attribute == LayoutAttribute::width) {
    item.setWidth(constant);
  } else {
    item.setHeight(constant);
  }
}

bool TarnKyrAdComponentView::isMirrored() {
  return QGuiApplication::layoutDirection() == Qt::RightToLeft || learnMoreButtonTitle().isRightToLeft();
}

bool TarnKyrAdComponentView::pointInside(const QPointF& point) const {
  const QQuickItem* const subviews[] = {topComponentContainer_, skipButton_};
  return std::any_of(std::begin(subviews), std::end(subviews), [this, &point](const QQuickItem* subview) {
    return subview->isVisible() && subview->contains(mapToItem(subview, point));
  });
}

void TarnKyrAdComponentView::layOut() {
  const double pixelsAPoint = std::max(1., std::min(width() / kPointsAcross, height() / kPointsDown));
  auto& root = look_->root();
  root.setTransformOrigin(TopLeft);
  root.setScale(pixelsAPoint);
  root.setSize(size() / pixelsAPoint);
}

void TarnKyrAdComponentView::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
  QQuickItem::geometryChange(newGeometry, oldGeometry);
  if (look_) layOut();
}

void TarnKyrAdComponentView::itemChange(ItemChange change, const ItemChangeData& value) {
  QQuickItem::itemChange(change, value);
  if (change == ItemSceneChange && focus_) focus_->watchWindow(value.window);
}

void TarnKyrAdComponentView::keyPressEvent(QKeyEvent* event) {
  event->setAccepted(focus_->handleKey(*event));
}

void TarnKyrAdComponentView::mousePressEvent(QMouseEvent* event) {
  event->accept();
}
