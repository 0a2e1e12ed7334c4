#pragma once

#include <QQmlEngine>
#include <QQuickItem>
#include <QVariantMap>
#include <memory>

namespace tarn {

/// The overlay as it is drawn: what QML makes of it. Main thread.
///
/// All looks of the process share one QML engine, which goes with the last of them.
class OverlayLook final {
 public:
  /// Drawn in `parent`, which outlives the look; `properties` are set on its root before anything is shown.
  /// Where QML cannot make it (an incomplete installation) a log line tells why, and the look is empty.
  OverlayLook(QQuickItem& parent, const QVariantMap& properties);
  OverlayLook(const OverlayLook&) = delete;
  OverlayLook& operator=(const OverlayLook&) = delete;
  ~OverlayLook();

  /// Never null.
  [[nodiscard]] QQuickItem& root() const { return *root_; }
  /// The part that the root names so; one without a look where it names none.
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
