#include "OverlayFixture.h"

#include <fmt/format.h>

#include <QCoreApplication>
#include <QTest>
#include <map>

#include "Platform/Queue.h"
#include "Support/Story.h"

namespace tarn::test {

void runMainQueue() {
  while (MainQueue::shared().drain() > 0) continue;
}

void runQt() {
  QCoreApplication::processEvents();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void Picture::keyPressEvent(QKeyEvent* event) {
  const bool isArrow = event->key() >= Qt::Key_Left && event->key() <= Qt::Key_Down;
  event->setAccepted(!isArrow || takesArrows);
  if (event->isAccepted()) keys.push_back(event->key());
}

OverlayWindowTest::OverlayWindowTest() {
  window.resize(1280, 720);
  picture = new Picture(window.contentItem());
  picture->setSize(QSizeF(1280, 720));
  stage = new QQuickItem(window.contentItem());
  stage->setSize(QSizeF(1280, 720));
  container = std::make_shared<TarnKyrAdComponentDisplayContainer>(
      stage, TarnKyrAdComponentDisplayContainer::CompanionSlots(), sink);
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
  session = std::make_shared<ScriptedSession>(itemSeconds);
  container->didAdvanceToPlaybackSession(session);
  runMainQueue();
  return session;
}

void OverlayWindowTest::play(const std::shared_ptr<const TarnLumoAd>& entered, double inAdSeconds) {
  ad = entered;
  session->enterBreak({ad});
  session->enterAd(ad);
  progress(inAdSeconds);
}

void OverlayWindowTest::progress(double inAdSeconds) {
  session->progress(ad, inAdSeconds);
  runMainQueue();
}

void OverlayWindowTest::tell(const std::string& story) {
  tellStory(
      story, [this](const std::string& step) { take(step); },
      [this](const std::string& place) { return found(place); });
}

void OverlayWindowTest::take(const std::string& step) {
  static const std::map<std::string, int> kKeys = {
      {"left", Qt::Key_Left}, {"right", Qt::Key_Right}, {"up", Qt::Key_Up},        {"down", Qt::Key_Down},
      {"ok", Qt::Key_Return}, {"back", Qt::Key_Back},   {"escape", Qt::Key_Escape}};
  static const std::map<std::string, std::function<void(OverlayWindowTest&)>> kSteps = {
      {"skip",
       [](auto& test) { QTest::mouseClick(&test.window, Qt::LeftButton, {}, test.centreOf(test.skip())); }},
      {"more",
       [](auto& test) {
         QTest::mouseClick(&test.window, Qt::LeftButton, {}, test.centreOf(test.learnMore()));
       }},
      {"press",
       [](auto& test) { QTest::mousePress(&test.window, Qt::LeftButton, {}, test.centreOf(test.skip())); }},
      {"release",
       [](auto& test) { QTest::mouseRelease(&test.window, Qt::LeftButton, {}, test.centreOf(test.skip())); }},
      {"turn", [](auto&) { runMainQueue(); }},
      {"?shown", [](auto& test) { EXPECT_TRUE(test.isShown()); }},
      {"?hidden", [](auto& test) { EXPECT_FALSE(test.isShown()); }},
      {"enterBreak", [](auto& test) { test.session->enterBreak({test.ad}); }},
      {"exitBreak", [](auto& test) { test.session->exitBreak(); }},
      {"enterAd", [](auto& test) { test.session->enterAd(test.ad); }},
      {"exitAd", [](auto& test) { test.session->exitAd(test.ad); }},
  };
  if (const auto key = kKeys.find(step); key != kKeys.end()) return typeKey(key->second);
  if (step[0] >= '0' && step[0] <= '9') return progress(std::stod(step));
  if (const auto known = kSteps.find(step); known != kSteps.end()) {
    known->second(*this);
    runMainQueue();
  } else {
    EXPECT_EQ("?" + focused(), step);
  }
}

std::string OverlayWindowTest::found(const std::string& place) {
  if (place == "label") return view().durationLabel()->text().toStdString();
  if (place == "buttons") return buttons();
  const auto lines = place == "calls" ? session->takeCalls() : sink->take();
  return fmt::format("{}", fmt::join(lines, ", "));
}

std::string OverlayWindowTest::focused() {
  if (skip().hasActiveFocus()) return "skip";
  if (learnMore().hasActiveFocus()) return "more";
  return picture->hasActiveFocus() ? "picture" : "none";
}

std::string OverlayWindowTest::buttons() {
  std::vector<std::string> there;
  for (auto* const button : {&skip(), &learnMore()}) {
    if (button->isHidden()) continue;
    const auto title = button->title().replace('\n', '/').toStdString();
    there.push_back(button->isEnabled() ? title : "(" + title + ")");
  }
  return fmt::format("{}", fmt::join(there, ", "));
}

QPoint OverlayWindowTest::centreOf(const QQuickItem& item) const {
  return item.mapToScene(QPointF(item.width() / 2, item.height() / 2)).toPoint();
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
