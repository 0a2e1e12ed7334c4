#pragma once

#include <QQuickItem>
#include <QString>
#include <utility>

namespace tarn {

/// A line of text in the overlay; its appearance is drawn in QML. Main thread.
class OverlayLabel : public QQuickItem {
  Q_OBJECT
  Q_PROPERTY(QString text READ text NOTIFY textChanged)

 public:
  using QQuickItem::QQuickItem;

  [[nodiscard]] const QString& text() const { return text_; }
  void setText(const QString& text) {
    if (std::exchange(text_, text) != text) Q_EMIT textChanged();
  }

 Q_SIGNALS:
  void textChanged();

 private:
  QString text_;
};

}  // namespace tarn
