#include "Overlay/OverlayLook.h"

#include <QQmlComponent>
#include <QUrl>

#include "Overlay/OverlayButton.h"
#include "Overlay/OverlayLabel.h"
#include "Platform/Log.h"

/// Qt requires this outside any namespace: a static library's resources are linked only when named.
static void initialiseOverlayResources() {
  Q_INIT_RESOURCE(KyrOverlay);
}

namespace tarn {
namespace {

void registerTypes() {
  initialiseOverlayResources();
  qmlRegisterType<OverlayButton>("Kyr.Overlay", 1, 0, "OverlayButton");
  qmlRegisterType<OverlayLabel>("Kyr.Overlay", 1, 0, "OverlayLabel");
}

std::shared_ptr<QQmlEngine> sharedEngine() {
  static std::weak_ptr<QQmlEngine> shared;
  auto engine = shared.lock();
  if (!engine) {
    static const bool registered = (registerTypes(), true);
    Q_UNUSED(registered);
    engine = std::make_shared<QQmlEngine>();
    shared = engine;
  }
  return engine;
}

std::unique_ptr<QQuickItem> makeRoot(QQmlEngine& engine, const QVariantMap& properties) {
  QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/kyr/overlay/AdComponent.qml")));
  std::unique_ptr<QObject> object(component.createWithInitialProperties(properties));
  if (auto* const item = qobject_cast<QQuickItem*>(object.get())) {
    object.release();
    return std::unique_ptr<QQuickItem>(item);
  }
  writeLogLine("The ad overlay cannot be drawn; is the QML module QtQuick installed? " +
               component.errorString().toStdString());
  return std::make_unique<QQuickItem>();
}

}  // namespace

OverlayLook::OverlayLook(QQuickItem& parent, const QVariantMap& properties)
    : engine_(sharedEngine()), root_(makeRoot(*engine_, properties)) {
  root_->setParentItem(&parent);
}

OverlayLook::~OverlayLook() = default;

}  // namespace tarn
