#pragma once

#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <functional>

#include "Overlay/OverlayButton.h"

class QKeyEvent;

namespace tarn {

/// Moves a remote control's focus to the overlay's buttons and back.
///
/// The buttons never take the focus on their own: a viewer who presses OK for the player must not click an ad
/// that has just begun. An arrow key moves it there, if nothing else in the window handles the key or if the
/// application forwards it. It returns to its previous item with an arrow that points away, with Back, and
/// when its button is no longer clickable. Main thread.
class OverlayFocus final : public QObject {
 public:
  /// All must outlive this object. `top` is above `bottom`, both at the trailing edge: the right one, or the
  /// left one while `isMirrored` returns true.
  OverlayFocus(QQuickItem& overlay, OverlayButton& top, OverlayButton& bottom,
               std::function<bool()> isMirrored);

  /// Receives the keys that nothing in `window` handles, instead of those of the previous window; null for
  /// none.
  void watchWindow(QQuickWindow* window);
  /// Returns whether the overlay handled the key.
  [[nodiscard]] bool handleKey(const QKeyEvent& event);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  [[nodiscard]] OverlayButton* focusedButton() const;
  [[nodiscard]] int leadingKey() const { return isMirrored_() ? Qt::Key_Right : Qt::Key_Left; }
  [[nodiscard]] bool enterByKey(const QKeyEvent& event);
  void moveByKey(OverlayButton& from, const QKeyEvent& event);
  void focus(OverlayButton& button);
  void focusMovedTo(OverlayButton& button);
  void returnFocusFrom(OverlayButton& button);
  void updateFocus(OverlayButton& button);

  QQuickItem& overlay_;
  OverlayButton& top_;
  OverlayButton& bottom_;
  std::function<bool()> isMirrored_;
  QPointer<QQuickItem> keySource_;
  QPointer<QQuickItem> origin_;    // the item that had the focus before
  OverlayButton* held_ = nullptr;  // the button that has the focus, until the focus returns
};

}  // namespace tarn
