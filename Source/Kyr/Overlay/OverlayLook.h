#pragma once

#include <QQmlEngine>
#include <QQuickItem>
#include <QVariantMap>
#include <memory>

namespace tarn {

/// The overlay's appearance, created by QML. Main thread.
///
/// All looks of the process share one QML engine, which is destroyed with the last of them.
class OverlayLook final {
 public:
  /// Drawn in `parent`, which outlives the look; `properties` are set on its root before anything is shown.
  /// If QML cannot create it (an incomplete installation) the reason is logged, and the look is empty.
  OverlayLook(QQuickItem& parent, const QVariantMap& properties);
  OverlayLook(const OverlayLook&) = delete;
  OverlayLook& operator=(const OverlayLook&) = delete;
  ~OverlayLook();

  /// Never null.
  [[nodiscard]] QQuickItem& root() const { return *root_; }
  /// The root's part of that name; one without an appearance if there is none.
  template <typename Part>
  [[nodiscard]] Part* part(const char* name) const {
    auto* const named = qvariant_cast<Part*>(root_->property(name));
    return named != nullptr ? named : new Part(root_.get());
  }

 private:
  std::shared_ptr<QQmlEngine> engine_;
  std::unique_ptr<QQuickItem> root_;
};

}  // namespace tarn
