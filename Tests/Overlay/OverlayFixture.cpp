#include "OverlayFixture.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QTest>

#include "Platform/Queue.h"

namespace tarn::test {

void runMainQueue() {
  while (MainQueue::shared().drain() > 0) continue;
}

void runQt() {
  QCoreApplication::processEvents();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

Picture::Picture(QQuickItem* parent) : QQuickItem(parent) {
  setAcceptedMouseButtons(Qt::AllButtons);
}

void Picture::mousePressEvent(QMouseEvent* event) {
  ++presses;
  event->accept();
}

void Picture::keyPressEvent(QKeyEvent* event) {
  const bool isArrow = event->key() >= Qt::Key_Left && event->key() <= Qt::Key_Down;
  event->setAccepted(!isArrow || takesArrows);
  if (event->isAccepted()) keys.push_back(event->key());
}

void Picture::keyReleaseEvent(QKeyEvent* event) {
  event->accept();
}

OverlayWindowTest::OverlayWindowTest() {
  window.resize(1280, 720);
  picture = new Picture(window.contentItem());
  picture->setSize(QSizeF(1280, 720));
  stage = new QQuickItem(window.contentItem());
  stage->setSize(QSizeF(1280, 720));
  container = std::make_shared<TarnKyrAdComponentDisplayContainer>(
      stage, TarnKyrAdComponentDisplayContainer::CompanionSlots(), digester);
  window.show();
  window.requestActivate();
  EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
  picture->forceActiveFocus();
}

OverlayWindowTest::~OverlayWindowTest() {
  container.reset();
  runMainQueue();
  runQt();
}

std::shared_ptr<ScriptedSession> OverlayWindowTest::advance(double itemSeconds) {
  auto session = std::make_shared<ScriptedSession>(itemSeconds);
  container->didAdvanceToPlaybackSession(session);
  runMainQueue();
  return session;
}

void OverlayWindowTest::play(ScriptedSession& session, const std::shared_ptr<const TarnLumoAd>& ad,
                             double inAdSeconds) {
  session.enterBreak({ad});
  session.enterAd(ad);
  progress(session, ad, inAdSeconds);
}

void OverlayWindowTest::progress(ScriptedSession& session, const std::shared_ptr<const TarnLumoAd>& ad,
                                 double inAdSeconds) {
  session.progress(ad, inAdSeconds);
  runMainQueue();
}

QPoint OverlayWindowTest::centreOf(const QQuickItem& item) const {
  return item.mapToScene(QPointF(item.width() / 2, item.height() / 2)).toPoint();
}

void OverlayWindowTest::click(const QQuickItem& item) {
  QTest::mouseClick(&window, Qt::LeftButton, {}, centreOf(item));
  runMainQueue();
}

void OverlayWindowTest::pressKey(int key, bool repeated) {
  QKeyEvent event(QEvent::KeyPress, key, {}, QString(), repeated);
  QCoreApplication::sendEvent(&window, &event);
}

void OverlayWindowTest::releaseKey(int key) {
  QTest::keyRelease(&window, static_cast<Qt::Key>(key));
  runMainQueue();
}

void OverlayWindowTest::typeKey(int key) {
  QTest::keyPress(&window, static_cast<Qt::Key>(key));
  releaseKey(key);
}

}  // namespace tarn::test
