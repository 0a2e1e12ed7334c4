#include "OverlayFixture.h"

#include <fmt/format.h>

#include <QCoreApplication>
#include <QTest>
#include <map>

#include "Platform/MainQueue.h"

namespace tarn::test {
namespace {

const std::map<std::string, int> kKeys = {
    {"left", Qt::Key_Left}, {"right", Qt::Key_Right}, {"up", Qt::Key_Up},        {"down", Qt::Key_Down},
    {"ok", Qt::Key_Return}, {"back", Qt::Key_Back},   {"escape", Qt::Key_Escape}};

}  // namespace

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

void OverlayWindowTest::tell(const std::string& script) {
  runScript(
      script, [this](const ScriptCommand& command) { perform(command); },
      [this](const std::string& name) { return found(name); });
}

void OverlayWindowTest::perform(const ScriptCommand& command) {
  using Step = std::function<void(OverlayWindowTest & test, const std::string& argument)>;
  static const std::map<std::string, Step> kSteps = {
      {"click",
       [](auto& test, auto& button) {
         QTest::mouseClick(&test.window, Qt::LeftButton, {}, test.centreOf(test.buttonNamed(button)));
       }},
      {"press",
       [](auto& test, auto& button) {
         QTest::mousePress(&test.window, Qt::LeftButton, {}, test.centreOf(test.buttonNamed(button)));
       }},
      {"release",
       [](auto& test, auto& button) {
         QTest::mouseRelease(&test.window, Qt::LeftButton, {}, test.centreOf(test.buttonNamed(button)));
       }},
      {"key", [](auto& test, auto& key) { test.typeKey(kKeys.at(key)); }},
      {"progress", [](auto& test, auto& inAdSeconds) { test.progress(std::stod(inAdSeconds)); }},
      {"turn", [](auto&, auto&) {}},
      {"enterBreak", [](auto& test, auto&) { test.session->enterBreak({test.ad}); }},
      {"exitBreak", [](auto& test, auto&) { test.session->exitBreak(); }},
      {"enterAd", [](auto& test, auto&) { test.session->enterAd(test.ad); }},
      {"exitAd", [](auto& test, auto&) { test.session->exitAd(test.ad); }},
  };
  if (command.name == "expect") return expectState(command);
  kSteps.at(command.name)(*this, command.arguments.empty() ? "" : command.argument());
  runMainQueue();
}

void OverlayWindowTest::expectState(const ScriptCommand& command) {
  const bool isFocus = command.argument() == "focus";
  EXPECT_EQ(isFocus ? focused() : isShown() ? "shown" : "hidden", command.arguments.back());
}

OverlayButton& OverlayWindowTest::buttonNamed(const std::string& name) {
  return name == "skip" ? skip() : learnMore();
}

std::string OverlayWindowTest::found(const std::string& name) {
  if (name == "label") return view().durationLabel()->text().toStdString();
  if (name == "buttons") return buttons();
  const auto lines = name == "calls" ? session->takeCalls() : sink->take();
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
