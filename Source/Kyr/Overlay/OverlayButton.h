#pragma once

#include <QColor>
#include <QQuickItem>
#include <QString>
#include <array>

namespace tarn {

/// The content of a button in one of its states.
struct OverlayTitle {
  QString text;
  QColor color;
  bool underlined = false;
};

/// The behaviour of an overlay button; its appearance is drawn in QML.
///
/// A press clicks when it begins and ends on the button, and the button was clickable throughout: with the
/// left mouse button or a finger, or with the OK key while the button has the focus. A press that began
/// before the button was shown, became active or got the focus clicks nothing, however long it is held.
///
/// `hidden` and `enabled` are the button's own properties; it is clickable only if all its parents are shown
/// and enabled too. Main thread.
class OverlayButton : public QQuickItem {
  Q_OBJECT
  Q_PROPERTY(QString title READ title NOTIFY lookChanged)
  Q_PROPERTY(QColor titleColor READ titleColor NOTIFY lookChanged)
  Q_PROPERTY(bool titleUnderlined READ titleUnderlined NOTIFY lookChanged)
  Q_PROPERTY(bool highlighted READ isHighlighted NOTIFY lookChanged)
  Q_PROPERTY(qreal borderWidth READ borderWidth NOTIFY lookChanged)

 public:
  enum class State { normal, highlighted };

  explicit OverlayButton(QQuickItem* parent = nullptr);

  [[nodiscard]] QString title() const { return current().text; }
  [[nodiscard]] QColor titleColor() const { return current().color; }
  [[nodiscard]] bool titleUnderlined() const { return current().underlined; }
  /// Whether it is pressed.
  [[nodiscard]] bool isHighlighted() const { return highlighted_; }
  /// Points.
  [[nodiscard]] qreal borderWidth() const { return borderWidth_; }
  [[nodiscard]] bool isHidden() const { return hidden_; }
  [[nodiscard]] bool isClickable() const { return !hidden_ && isVisible() && isEnabled(); }

  /// The text of both states.
  void setTitle(const QString& text);
  void setTitleColor(State state, const QColor& color);
  void setAttributedTitle(State state, const OverlayTitle& title);
  void setBorderWidth(qreal width);
  void setHidden(bool hidden);

  /// Clicks the button without a press, for example for a screen reader; does nothing while it is not
  /// clickable.
  Q_INVOKABLE void click();

 Q_SIGNALS:
  void touchUpInside();
  void lookChanged();
  void clickableChanged();

 protected:
  void itemChange(ItemChange change, const ItemChangeData& value) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseUngrabEvent() override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  [[nodiscard]] const OverlayTitle& current() const { return titles_[highlighted_ ? 1 : 0]; }
  [[nodiscard]] OverlayTitle& titleFor(State state) { return titles_[state == State::highlighted ? 1 : 0]; }
  void setHighlighted(bool highlighted);
  void cancelPress();

  std::array<OverlayTitle, 2> titles_;
  qreal borderWidth_ = 0;
  bool hidden_ = false;
  bool highlighted_ = false;
  int pressedKey_ = 0;
};

}  // namespace tarn
