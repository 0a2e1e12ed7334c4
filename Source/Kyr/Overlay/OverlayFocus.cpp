#include "Overlay/OverlayFocus.h"

#include <QKeyEvent>
#include <utility>

namespace tarn {
namespace {

bool isArrow(int key) {
  return key == Qt::Key_Up || key == Qt::Key_Down || key == Qt::Key_Left || key == Qt::Key_Right;
}

bool isBack(int key) {
  return key == Qt::Key_Back || key == Qt::Key_Escape;
}

OverlayButton* firstClickable(OverlayButton& preferred, OverlayButton& other) {
  if (preferred.isClickable()) return &preferred;
  return other.isClickable() ? &other : nullptr;
}

bool canHaveFocus(const QQuickItem* item) {
  return item != nullptr && item->isVisible() && item->isEnabled() && item->window() != nullptr;
}

}  // namespace

OverlayFocus::OverlayFocus(QQuickItem& overlay, OverlayButton& top, OverlayButton& bottom,
                           std::function<bool()> isMirrored)
    : overlay_(overlay), top_(top), bottom_(bottom), isMirrored_(std::move(isMirrored)) {
  for (auto* const button : {&top, &bottom}) {
    connect(button, &QQuickItem::activeFocusChanged, this, [this, button](bool active) {
      if (active) focusMovedTo(*button);
    });
    connect(button, &OverlayButton::clickableChanged, this, [this, button] { updateFocus(*button); });
  }
}

void OverlayFocus::watchWindow(QQuickWindow* window) {
  if (keySource_) keySource_->removeEventFilter(this);
  // The window's content item receives the keys that the focused item and its parents did not handle.
  keySource_ = window != nullptr ? window->contentItem() : nullptr;
  if (keySource_) keySource_->installEventFilter(this);
}

bool OverlayFocus::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::KeyPress && handleKey(*static_cast<QKeyEvent*>(event))) {
    event->accept();
    return true;
  }
  return QObject::eventFilter(watched, event);
}

bool OverlayFocus::handleKey(const QKeyEvent& event) {
  if (!isArrow(event.key()) && !isBack(event.key())) return false;
  auto* const from = focusedButton();
  if (from == nullptr) return enterByKey(event);
  if (!event.isAutoRepeat()) moveByKey(*from, event);
  return true;
}

OverlayButton* OverlayFocus::focusedButton() const {
  if (top_.hasActiveFocus()) return &top_;
  return bottom_.hasActiveFocus() ? &bottom_ : nullptr;
}

/// A held key was pressed for another purpose.
bool OverlayFocus::enterByKey(const QKeyEvent& event) {
  if (event.isAutoRepeat() || !isArrow(event.key()) || event.key() == leadingKey()) return false;
  auto* const target =
      event.key() == Qt::Key_Up ? firstClickable(top_, bottom_) : firstClickable(bottom_, top_);
  if (target == nullptr) return false;
  focus(*target);
  return true;
}

/// A key that leads nowhere leaves the focus where it is.
void OverlayFocus::moveByKey(OverlayButton& from, const QKeyEvent& event) {
  const bool fromTop = &from == &top_;
  auto& other = fromTop ? bottom_ : top_;
  const int towardsOther = fromTop ? Qt::Key_Down : Qt::Key_Up;
  const int outwards = fromTop ? Qt::Key_Up : Qt::Key_Down;
  if (event.key() == towardsOther && other.isClickable()) return focus(other);
  if (isBack(event.key()) || event.key() == leadingKey()) return returnFocusFrom(from);
  // In one direction is the picture, in the other the edge of the screen.
  if (fromTop ? event.key() == towardsOther : event.key() == outwards) returnFocusFrom(from);
}

void OverlayFocus::focus(OverlayButton& button) {
  auto* const before = overlay_.window() != nullptr ? overlay_.window()->activeFocusItem() : nullptr;
  if (before != &top_ && before != &bottom_) origin_ = before;
  held_ = &button;
  button.forceActiveFocus(Qt::TabFocusReason);
}

/// Moved by the Tab key, by the application, or because the window is active again.
void OverlayFocus::focusMovedTo(OverlayButton& button) {
  if (held_ == nullptr) origin_ = nullptr;
  held_ = &button;
}

void OverlayFocus::updateFocus(OverlayButton& button) {
  if (held_ == &button && !button.isClickable()) returnFocusFrom(button);
}

/// If the application has moved the focus in the meantime, it does not change.
void OverlayFocus::returnFocusFrom(OverlayButton& button) {
  held_ = nullptr;
  const auto origin = std::exchange(origin_, nullptr);
  auto* const window = overlay_.window();
  auto* const active = window != nullptr ? window->activeFocusItem() : nullptr;
  const bool isElsewhere = active != nullptr && active != &button && !active->isAncestorOf(&button);
  button.setFocus(false);
  if (isElsewhere || !canHaveFocus(origin) || origin == window->contentItem()) return;
  origin->forceActiveFocus(Qt::OtherFocusReason);
}

}  // namespace tarn
