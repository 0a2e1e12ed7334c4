#include "Overlay/OverlayButton.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <utility>

namespace tarn {
namespace {

/// The keys that remote controls and keyboards send for OK. Not space, which players use for play and pause.
bool isOK(int key) {
  return key == Qt::Key_Select || key == Qt::Key_Return || key == Qt::Key_Enter;
}

}  // namespace

OverlayButton::OverlayButton(QQuickItem* parent) : QQuickItem(parent) {
  setAcceptedMouseButtons(Qt::LeftButton);
  setActiveFocusOnTab(true);
}

void OverlayButton::setTitle(const QString& text) {
  for (auto& title : titles_) title.text = text;
  Q_EMIT lookChanged();
}

void OverlayButton::setTitleColor(State state, const QColor& color) {
  titleFor(state).color = color;
  Q_EMIT lookChanged();
}

void OverlayButton::setAttributedTitle(State state, const OverlayTitle& title) {
  titleFor(state) = title;
  Q_EMIT lookChanged();
}

void OverlayButton::setBorderWidth(qreal width) {
  borderWidth_ = width;
  Q_EMIT lookChanged();
}

void OverlayButton::setHidden(bool hidden) {
  if (std::exchange(hidden_, hidden) == hidden) return;
  setVisible(!hidden);
}

void OverlayButton::click() {
  if (isClickable()) Q_EMIT touchUpInside();
}

void OverlayButton::setHighlighted(bool highlighted) {
  if (std::exchange(highlighted_, highlighted) != highlighted) Q_EMIT lookChanged();
}

void OverlayButton::cancelPress() {
  pressedKey_ = 0;
  setHighlighted(false);
}

void OverlayButton::itemChange(ItemChange change, const ItemChangeData& value) {
  QQuickItem::itemChange(change, value);
  if (change != ItemVisibleHasChanged && change != ItemEnabledHasChanged) return;
  if (!isClickable()) cancelPress();
  Q_EMIT clickableChanged();
}

void OverlayButton::mousePressEvent(QMouseEvent* event) {
  event->accept();
  setHighlighted(true);
}

void OverlayButton::mouseMoveEvent(QMouseEvent* event) {
  event->accept();
  setHighlighted(contains(event->position()));
}

void OverlayButton::mouseReleaseEvent(QMouseEvent* event) {
  event->accept();
  const bool ended = highlighted_ && contains(event->position());
  cancelPress();
  if (ended) click();
}

void OverlayButton::mouseUngrabEvent() {
  cancelPress();
}

void OverlayButton::keyPressEvent(QKeyEvent* event) {
  if (!isOK(event->key())) return event->ignore();
  event->accept();
  // The auto-repeat of a key that was pressed on another item is not a press.
  if (event->isAutoRepeat()) return;
  pressedKey_ = event->key();
  setHighlighted(true);
}

void OverlayButton::keyReleaseEvent(QKeyEvent* event) {
  if (!isOK(event->key())) return event->ignore();
  event->accept();
  if (event->isAutoRepeat() || pressedKey_ != event->key()) return;
  cancelPress();
  click();
}

void OverlayButton::focusOutEvent(QFocusEvent* event) {
  QQuickItem::focusOutEvent(event);
  cancelPress();
}

}  // namespace tarn
