#include "Window/PlayWindow.h"

#include <libintl.h>

#include <QEventLoop>
#include <QGuiApplication>
#include <QQmlError>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>
#include <QTimer>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <utility>

#include "Overlay/QtMainQueue.h"
#include "Overlay/TarnKyrAdComponentDisplayContainer.h"
#include "Platform/Log.h"
#include "Terminal/Report.h"
#include "Window/WindowControls.h"

namespace tarn::cli {
namespace {

constexpr QSize kSize(1280, 720);
/// The driver is available; only software rendering is slow.
constexpr std::chrono::seconds kMaxFirstFrameWait{30};

Error noWindow(const QString& reason) {
  Error error = Error::make("kyr.window", 1, "No window could be opened; --headless plays in the terminal");
  if (!reason.isEmpty()) error.failureReason = reason.toStdString();
  return error;
}

/// Qt's messages, of any thread, go to the log. A fatal one ends the process; the first message about the
/// display is then reported as the reason.
class QtMessages {
 public:
  explicit QtMessages(bool json) {
    json_ = json;
    previous_ = qInstallMessageHandler(&QtMessages::handle);
  }
  QtMessages(const QtMessages&) = delete;
  QtMessages& operator=(const QtMessages&) = delete;
  ~QtMessages() { qInstallMessageHandler(previous_); }

 private:
  static void handle(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    const std::lock_guard lock(mutex_);
    if (displayMessage_.isEmpty() && QByteArrayView(context.category).startsWith("qt.qpa"))
      displayMessage_ = text.trimmed();
    if (type != QtFatalMsg) return MHLog(2, text.toStdString());
    const int status =
        reportFailure(noWindow(displayMessage_.isEmpty() ? text.trimmed() : displayMessage_), json_);
    std::fflush(stdout);
    std::_Exit(status);  // if this returned, Qt would abort
  }

  inline static bool json_ = false;
  inline static std::mutex mutex_;
  inline static QString displayMessage_;
  QtMessageHandler previous_;
};

/// The application's object, with the C locale for numbers and the viewer's locale for texts.
class QtApplication {
 public:
  QtApplication() : application_(count_, arguments_) {
    std::setlocale(LC_NUMERIC, "C");
    bindtextdomain("kyr", KYR_LANGUAGES);
    bind_textdomain_codeset("kyr", "UTF-8");
    textdomain("kyr");
    QGuiApplication::setApplicationDisplayName(QStringLiteral("kyr"));
  }

 private:
  char name_[4] = "kyr";
  char* arguments_[2] = {name_, nullptr};
  int count_ = 1;
  QGuiApplication application_;
};

/// Does not close on a close event: the picture's sink needs its graphics as long as there is a player.
class View final : public QQuickView {
 public:
  std::function<void()> onClose;

 protected:
  bool event(QEvent* event) override {
    if (event->type() != QEvent::Close) return QQuickView::event(event);
    event->ignore();
    onClose();
    return true;
  }
};

}  // namespace

/// In the order of their dependencies.
class PlayWindow::Stage {
 public:
  explicit Stage(bool json) : messages_(json) {}
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;
  ~Stage() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }

  Result<void> open(bool fullScreen);
  bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit);

  [[nodiscard]] WindowControls& controls() { return controls_; }
  [[nodiscard]] QQuickView& view() { return view_; }
  [[nodiscard]] QQuickItem* part(const char* name) const {
    return view_.rootObject()->property(name).value<QQuickItem*>();
  }

 private:
  void connectControls();
  void fillScreen();
  void leaveFullScreen();

  QtMessages messages_;
  QtApplication application_;
  QtMainQueue mainQueue_;
  WindowControls controls_;
  View view_;
  QRect normal_;  // the geometry when not full screen
};

Result<void> PlayWindow::Stage::open(bool fullScreen) {
  view_.setTitle(QStringLiteral("kyr"));
  view_.setColor(Qt::black);
  view_.setResizeMode(QQuickView::SizeRootObjectToView);
  view_.setInitialProperties({{QStringLiteral("player"), QVariant::fromValue<QObject*>(&controls_)}});
  view_.setSource(QUrl(QStringLiteral("qrc:/kyr/window/PlayWindow.qml")));
  if (view_.status() != QQuickView::Ready)
    return noWindow(view_.errors().isEmpty() ? QString() : view_.errors().front().toString());
  connectControls();

  std::optional<QString> failure;
  bool drawn = false;
  QObject::connect(&view_, &QQuickWindow::sceneGraphError, &controls_,
                   [&failure](auto, const QString& text) { failure = text; });
  const auto firstFrame =
      QObject::connect(&view_, &QQuickWindow::frameSwapped, &controls_, [&drawn] { drawn = true; });
  view_.resize(kSize);
  fullScreen ? fillScreen() : view_.show();
  view_.requestActivate();  // without a window manager nothing else gives it the keyboard focus
  runUntil([&] { return drawn || failure; }, kMaxFirstFrameWait);
  QObject::disconnect(firstFrame);
  if (failure) return noWindow(*failure);
  return {};
}

/// Without a window manager only the window itself sets its size.
void PlayWindow::Stage::fillScreen() {
  normal_ = view_.geometry();
  view_.setGeometry(view_.screen()->geometry());
  view_.showFullScreen();
}

void PlayWindow::Stage::leaveFullScreen() {
  if (view_.visibility() != QWindow::FullScreen) return;
  view_.showNormal();
  view_.setGeometry(normal_);
}

void PlayWindow::Stage::connectControls() {
  QObject::connect(&controls_, &WindowControls::fullScreenLeft, &view_, [this] { leaveFullScreen(); });
  QObject::connect(&controls_, &WindowControls::fullScreenToggled, &view_,
                   [this] { view_.visibility() == QWindow::FullScreen ? leaveFullScreen() : fillScreen(); });
  view_.onClose = [this] { controls_.press(Qt::Key_Q, false); };
}

bool PlayWindow::Stage::runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
  QTimer alarm;
  bool late = false;
  QObject::connect(&alarm, &QTimer::timeout, [&late] { late = true; });
  alarm.setSingleShot(true);
  alarm.start(limit);
  QEventLoop loop;
  while (!done() && !late) {
    loop.processEvents(QEventLoop::WaitForMoreEvents);
    QCoreApplication::sendPostedEvents(nullptr,
                                       QEvent::DeferredDelete);  // Qt's own loop never ends here
  }
  return done();
}

Result<std::unique_ptr<PlayWindow>> PlayWindow::open(bool fullScreen, bool json) {
  setenv("GST_PLUGIN_FEATURE_RANK", "openalsink:NONE",
         0);  // without sound hardware it writes many messages
  if (const auto prepared = prepareQuickVideo(); !prepared) return prepared.error();
  QQuickWindow::setGraphicsApi(QSGRendererInterface::OpenGL);  // GStreamer shares its textures
  auto stage = std::make_unique<Stage>(json);
  if (const auto opened = stage->open(fullScreen); !opened) return opened.error();
  return std::unique_ptr<PlayWindow>(new PlayWindow(std::move(stage)));
}

PlayWindow::PlayWindow(std::unique_ptr<Stage> stage) : stage_(std::move(stage)) {}

PlayWindow::~PlayWindow() = default;

void PlayWindow::setHandlers(Handlers handlers) {
  stage_->controls().setHandlers(std::move(handlers));
}

SessionObserver& PlayWindow::observer() {
  return stage_->controls();
}

GStreamerPlayerOptions PlayWindow::playerOptions() const {
  return {.audioSink = "autoaudiosink", .quickVideoItem = stage_->part("video")};
}

std::shared_ptr<TarnSessionConsumer> PlayWindow::makeOverlay(std::shared_ptr<BeaconSink> beaconSink) {
  const auto overlay = std::make_shared<TarnKyrAdComponentDisplayContainer>(
      stage_->part("stage"), TarnKyrAdComponentDisplayContainer::CompanionSlots(), std::move(beaconSink));
  overlay->setPagePresenter([](QObject* viewController, const auto&, const URL& page, const auto&) {
    QMetaObject::invokeMethod(viewController, "presentViewController",
                              Q_ARG(QVariant, QString::fromStdString(page.absoluteString())));
  });
  auto* const learnMore = overlay->adComponentView()->learnMoreButton();
  QObject::connect(&stage_->controls(), &WindowControls::learnMoreRequested, learnMore,
                   [learnMore] { learnMore->click(); });
  return overlay;
}

bool PlayWindow::runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
  return stage_->runUntil(done, limit);
}

void PlayWindow::hide() {
  stage_->view().hide();
}

}  // namespace tarn::cli
