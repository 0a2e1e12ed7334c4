#pragma once

#include <QPointer>
#include <QQuickItem>
#include <cstdint>

/// A place in the application's interface for a companion banner.
///
/// The library stores slots and shows nothing in them: a slot as made has no view and no size. An application
/// that shows companions sets them, or has a subclass do so, and asks the ad's companions for those of just
/// that size. Main thread.
class TarnKyrCompanionSlot {
 public:
  /// Must not be used: throws `tarn::ProgrammingError`.
  TarnKyrCompanionSlot();
  TarnKyrCompanionSlot(QQuickItem* view, std::int64_t width, std::int64_t height);
  TarnKyrCompanionSlot(const TarnKyrCompanionSlot&) = delete;
  TarnKyrCompanionSlot& operator=(const TarnKyrCompanionSlot&) = delete;
  virtual ~TarnKyrCompanionSlot() = default;

  /// Owned by its own parent; null when there is none, or it has gone.
  [[nodiscard]] QQuickItem* view() const { return view_; }
  void setView(QQuickItem* view) { view_ = view; }
  /// Pixels, as the ad's document counts them.
  [[nodiscard]] std::int64_t width() const { return width_; }
  void setWidth(std::int64_t width) { width_ = width; }
  [[nodiscard]] std::int64_t height() const { return height_; }
  void setHeight(std::int64_t height) { height_ = height; }

 private:
  void configureWithView(QQuickItem* view, std::int64_t width, std::int64_t height);

  QPointer<QQuickItem> view_;
  std::int64_t width_ = 0;
  std::int64_t height_ = 0;
};
