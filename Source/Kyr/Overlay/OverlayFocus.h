#pragma once

#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <functional>

#include "Overlay/OverlayButton.h"

class QKeyEvent;

namespace tarn {

/// Brings a remote control's focus to the overlay's buttons and back.
///
/// The focus never comes by itself: somebody who presses OK for the player must not click an ad that happened
/// to begin. It is moved by an arrow key that nothing else in the window took, or that the application
/// forwards, and goes back to where it came from by an arrow that leads off, by Back, and when its button can
/// no longer be clicked. Main thread.
class OverlayFocus final : public QObject {
 public:
  /// All live as long as this. `top` lies above `bottom`, both at the trailing edge: the right one, or the
  /// left one while `isMirrored` says so.
  OverlayFocus(QQuickItem& overlay, OverlayButton& top, OverlayButton& bottom,
               std::function<bool()> isMirrored);

  /// Hears the keys that nothing in `window` takes; null for none. The one before is let go of.
  void watchWindow(QQuickWindow* window);
  /// Answers whether the key was for the overlay.
  [[nodiscard]] bool handleKey(const QKeyEvent& event);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  [[nodiscard]] OverlayButton* focusedButton() const;
  [[nodiscard]] int leadingKey() const { return isMirrored_() ? Qt::Key_Right : Qt::Key_Left; }
  [[nodiscard]] bool enterByKey(const QKeyEvent& event);
  void moveByKey(OverlayButton& from, const QKeyEvent& event);
  void focus(OverlayButton& button);
  void focusHasComeTo(OverlayButton& button);
  void giveBackFrom(OverlayButton& button);
  void review(OverlayButton& button);

  QQuickItem& overlay_;
  OverlayButton& top_;
  OverlayButton& bottom_;
  std::function<bool()> isMirrored_;
  QPointer<QQuickItem> keySource_;
  QPointer<QQuickItem> origin_;    // where the focus came from
  OverlayButton* held_ = nullptr;  // the button that had the focus last, until it is given back
};

}  // namespace tarn
