#pragma once

#include <QPointer>
#include <QQuickItem>
#include <cstdint>

/// A place in the application's interface for a companion banner.
///
/// The library stores slots and shows nothing in them: a new slot has no view and no size. An application
/// that shows companions sets both, or a subclass does, and selects the ad's companions of exactly that size.
/// Main thread.
class TarnKyrCompanionSlot {
 public:
  /// Must not be used: throws `tarn::ProgrammingError`.
  TarnKyrCompanionSlot();
  TarnKyrCompanionSlot(QQuickItem* view, std::int64_t width, std::int64_t height);
  TarnKyrCompanionSlot(const TarnKyrCompanionSlot&) = delete;
  TarnKyrCompanionSlot& operator=(const TarnKyrCompanionSlot&) = delete;
  virtual ~TarnKyrCompanionSlot() = default;

  /// Owned by its own parent; null when there is none, or it has been destroyed.
  [[nodiscard]] QQuickItem* view() const { return view_; }
  void setView(QQuickItem* view) { view_ = view; }
  /// In pixels of the ad's document.
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
