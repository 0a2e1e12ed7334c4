#include <libintl.h>

#include <QGuiApplication>
#include <QPainter>
#include <QQuickPaintedItem>
#include <QTest>
#include <clocale>

#include "OverlayFixture.h"

namespace tarn::test {
namespace {

/// A frame as hard on white text as video can be: light above, all colours below.
class HardFrame final : public QQuickPaintedItem {
 public:
  using QQuickPaintedItem::QQuickPaintedItem;
  void paint(QPainter* painter) override {
    QLinearGradient sky(0, 0, 0, height());
    sky.setColorAt(0, QColor(245, 248, 255));
    sky.setColorAt(0.5, QColor(250, 220, 160));
    sky.setColorAt(1, QColor(40, 90, 60));
    painter->fillRect(boundingRect(), sky);
    for (int i = 0; i < 24; ++i) {
      const double wide = width() / 24;
      painter->fillRect(QRectF(i * wide, height() * 0.55, wide * 0.7, height() * 0.3),
                        QColor::fromHsv(i * 15, 200, 230));
    }
  }
};

class Studio final : public OverlayWindowTest {
 public:
  explicit Studio(QString folder) : folder_(std::move(folder)) {}

  void TestBody() override {
    for (const auto& size : {QSize(1280, 720), QSize(1920, 1080), QSize(3840, 2160)}) {
      useSize(size);
      const auto name = QString::number(size.height());
      shoot(name + "-counting", 2, 0);
      shoot(name + "-ready", 6, 0);
      shoot(name + "-ready-focused", 6, Qt::Key_Down);
      shoot(name + "-more-focused", 6, Qt::Key_Up);
    }
    useSize(QSize(1280, 720));
    for (const char* const language : {"ar", "de", "es", "fr", "ja"}) {
      setenv("LANGUAGE", language, 1);
      textdomain("kyr");
      container = std::make_shared<TarnKyrAdComponentDisplayContainer>(
          stage, TarnKyrAdComponentDisplayContainer::CompanionSlots(), digester);
      shoot(QString("720-%1-counting").arg(language), 2, 0);
      shoot(QString("720-%1-ready-focused").arg(language), 6, Qt::Key_Down);
    }
  }

 private:
  void useSize(QSize size) {
    window.resize(size);
    frame_.setSize(size);
    stage->setSize(size);
  }

  void shoot(const QString& name, double position, int key) {
    advance();
    picture->forceActiveFocus();
    play(makeAd({.duration = 30, .skipOffset = 5, .hasPage = true}), position);
    if (key != 0) typeKey(key);
    runQt();
    window.grabWindow().save(folder_ + "/" + name + ".png");
    session->exitAd(ad);
    session->exitBreak();
    runMainQueue();
  }

  QString folder_;
  HardFrame frame_{picture};
};

}  // namespace
}  // namespace tarn::test

/// usage: overlay_pictures FOLDER. Draws the overlay in its states, sizes and languages, for people to look
/// at.
int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qputenv("QT_QUICK_BACKEND", "software");
  setlocale(LC_ALL, "C.UTF-8");
  const QGuiApplication application(argc, argv);
  if (argc != 2) return 2;
  bindtextdomain("kyr", KYR_LANGUAGES);
  bind_textdomain_codeset("kyr", "UTF-8");
  tarn::test::Studio(QString::fromLocal8Bit(argv[1])).TestBody();
}
