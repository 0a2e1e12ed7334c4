#pragma once

#include <QColor>
#include <QQuickItem>
#include <QString>
#include <cstdint>
#include <memory>

#include "Host/TarnPlaybackSession.h"
#include "Lumo/BeaconSink.h"
#include "Overlay/OverlayButton.h"
#include "Overlay/OverlayFocus.h"
#include "Overlay/OverlayLabel.h"
#include "Overlay/OverlayLook.h"
#include "Overlay/TarnKyrAdClickThrough.h"
#include "Platform/MediaTime.h"
#include "Reactive/Tarn_RACDisposable.h"
#include "Reactive/Tarn_RACInvocations.h"

namespace tarn {
class OverlaySession;
}

/// The overlay over the video while ads play: at the top a bar with the remaining time of the break and
/// "Learn More", near the bottom a button that counts down to "Skip Ad ⇥" and then skips.
///
/// It follows the lifecycle events of one session at a time, of those sent to `adsByLearnMoreWithSessions`,
/// and polls nothing. When that session ends inside an ad, the ad's texts, buttons and clicks end too. Its
/// sizes are in points: a 360th of the view's height or a 640th of its width, whichever is less, but at least
/// a pixel; so it is equally readable on screens of 720 and of 2160 lines. If the texts, or the application,
/// run from right to left it is mirrored.
///
/// Presses beside the bar and the buttons go to the items below. A remote control reaches the buttons with an
/// arrow key that nothing else in the window handles, or that the application forwards (`Keys.forwardTo`);
/// see `tarn::OverlayFocus`.
///
/// Main thread; it needs an event loop that runs the main queue (`tarn::QtMainQueue`).
class TarnKyrAdComponentView : public QQuickItem {
  Q_OBJECT

 public:
  using Session = std::shared_ptr<TarnPlaybackSession>;
  using Sessions = Tarn_RACSignal<Session>;
  using LifecycleEvents = Tarn_RACSignal<TarnPlaybackSession::LifecycleEvent>;
  using Ad = std::shared_ptr<const TarnAd>;

  explicit TarnKyrAdComponentView(QQuickItem* parent = nullptr);
  /// `frame` in the parent's pixels.
  explicit TarnKyrAdComponentView(const QRectF& frame, QQuickItem* parent = nullptr);
  ~TarnKyrAdComponentView() override;

  /// The view's subviews, never null.
  [[nodiscard]] tarn::OverlayLabel* durationLabel() const { return durationLabel_; }
  [[nodiscard]] tarn::OverlayButton* skipButton() const { return skipButton_; }
  [[nodiscard]] tarn::OverlayButton* learnMoreButton() const { return learnMoreButton_; }
  [[nodiscard]] QQuickItem* topComponentContainer() const { return topComponentContainer_; }

  /// Makes the overlay follow the session sent last until that session terminates or is destroyed, or another
  /// one is sent; null for none. Keeps no session alive. Sessions are sent on the main thread, their events
  /// on any. The signal returned sends each click on "Learn More", after the click's beacons. `beaconSink`
  /// receives the beacons; null: `tarn::HTTPBeaconSink::shared()`. Call it once.
  Tarn_RACSignal<TarnKyrAdClickThrough> adsByLearnMoreWithSessions(
      const Sessions& sessions, std::shared_ptr<tarn::BeaconSink> beaconSink = nullptr);

  /// Called by the buttons. They only send to the signals below.
  void skipButtonDidTouchUpInside(QQuickItem* sender) { skipTouches_(sender); }
  void learnMoreButtonDidTouchUpInside(QQuickItem* sender) { learnMoreTouches_(sender); }
  using Touches = Tarn_RACSignal<Tarn_RACTuple<QQuickItem*>>;
  [[nodiscard]] Touches skipButtonTouches() const { return skipTouches_.signal(); }
  [[nodiscard]] Touches learnMoreButtonTouches() const { return learnMoreTouches_.signal(); }

  // The signals that connect the learn-more button. The events of entered ads have an ad whose properties
  // hold the parsed ad.

  /// On the main thread.
  [[nodiscard]] static Tarn_RACSignal<bool> shouldHideLearnMoreButtonWithAdEnterSignal(
      const LifecycleEvents& adEnterSignal, const LifecycleEvents& adExitSignal);
  /// At each touch of a button: the ad entered last, of those with a page to open, and the button.
  [[nodiscard]] static Tarn_RACSignal<Tarn_RACTuple<Ad, QQuickItem*>> clickThroughURLSignalWithAdEnterSignal(
      const LifecycleEvents& adEnterSignal, const Touches& learnMoreButtonDidTouchUpInsideSignal);
  [[nodiscard]] static LifecycleEvents adEnterSignalWithClickThroughURL(const LifecycleEvents& adEnterSignal);

  /// The texts, in the application's language. Seconds are truncated to whole ones.
  [[nodiscard]] static QString formatAdRemainTime(CMTime time);
  /// `progress` is the number of seconds left to wait.
  [[nodiscard]] static QString skipButtonTitleWithProgress(std::int64_t progress);
  [[nodiscard]] static QString learnMoreButtonTitle();

  // The appearance, in points.

  [[nodiscard]] static double buttonWidthHeightForCurrentIdiom();
  [[nodiscard]] static double fontSizeForCurrentIdiom();
  [[nodiscard]] static QColor titleColorControlStateNormal();
  [[nodiscard]] static QColor titleColorControlStateHighlighted();
  [[nodiscard]] static QColor componentBackgroundColor();
  enum class LayoutAttribute { width, height };
  /// Fixes one attribute of `item`.
  static void view(QQuickItem& item, LayoutAttribute attribute, double constant);
  /// Whether the leading edge is the right one: the application, or the texts, run from right to left.
  [[nodiscard]] static bool isMirrored();

  /// Whether the view handles a press at `point`: it is inside a visible subview.
  [[nodiscard]] bool pointInside(const QPointF& point) const;
  [[nodiscard]] bool contains(const QPointF& point) const override { return pointInside(point); }

 protected:
  void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
  void itemChange(ItemChange change, const ItemChangeData& value) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;

 private:
  void configure();
  void configureButtons();
  void layOut();

  std::unique_ptr<tarn::OverlayLook> look_;
  QQuickItem* topComponentContainer_ = nullptr;
  tarn::OverlayLabel* durationLabel_ = nullptr;
  tarn::OverlayButton* learnMoreButton_ = nullptr;
  tarn::OverlayButton* skipButton_ = nullptr;
  std::unique_ptr<tarn::OverlayFocus> focus_;

  Tarn_RACInvocations<QQuickItem*> skipTouches_;
  Tarn_RACInvocations<QQuickItem*> learnMoreTouches_;
  std::unique_ptr<tarn::OverlaySession> session_;  // the current one's; null when there is none
  Tarn_RACDeallocDisposable subscriptions_;
};
