#pragma once

#include <gtest/gtest.h>

#include <QKeyEvent>
#include <QMouseEvent>
#include <QQuickWindow>
#include <memory>
#include <string>
#include <vector>

#include "Overlay/TarnKyrAdComponentDisplayContainer.h"
#include "Overlay/TarnKyrAdComponentView.h"
#include "ScriptedSession.h"
#include "Support/Script.h"
#include "Support/TimelineBuilder.h"

namespace tarn::test {

/// Runs all tasks of the main queue, including those that they enqueue.
void runMainQueue();
/// Makes Qt handle all pending events, deletions included.
void runQt();

/// The player's picture in an application's window; it records the presses and keys that it receives.
class Picture final : public QQuickItem {
  Q_OBJECT
 public:
  explicit Picture(QQuickItem* parent) : QQuickItem(parent) { setAcceptedMouseButtons(Qt::AllButtons); }
  int presses = 0;
  std::vector<int> keys;
  bool takesArrows = false;

 protected:
  void mousePressEvent(QMouseEvent* event) override { ++presses, event->accept(); }
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override { event->accept(); }
};

/// An application's window of 1280 × 720 pixels, shown and active: the picture, and over it an item for the
/// overlay. A point is two pixels.
class OverlayWindowTest : public ::testing::Test {
 protected:
  OverlayWindowTest();
  ~OverlayWindowTest() override;

  [[nodiscard]] TarnKyrAdComponentView& view() { return *container->adComponentView(); }
  [[nodiscard]] tarn::OverlayButton& skip() { return *view().skipButton(); }
  [[nodiscard]] tarn::OverlayButton& learnMore() { return *view().learnMoreButton(); }

  /// Makes a new session current.
  std::shared_ptr<ScriptedSession> advance(double itemSeconds = 600);
  /// Starts in that session a break with only that ad, at that in-ad time.
  void play(const std::shared_ptr<const TarnLumoAd>& entered, double inAdSeconds = 0);
  /// Plays the current ad (the one entered last by default) to that in-ad time.
  void progress(double inAdSeconds);

  /// Runs a script (see `runScript`) whose commands are
  ///
  ///     click skip, click more, press skip, release skip      the mouse on a button
  ///     key left, right, up, down, ok, back, escape           the remote control
  ///     progress 6                                            the current ad, in in-ad time
  ///     turn                                                  runs the main queue
  ///     expect focus skip, more, picture, none
  ///     expect shown, hidden                                  the overlay
  ///
  /// and the names of operations of the session. Values to observe: the "label", the visible "buttons" (in
  /// brackets if not clickable), the player's "calls", the "beacons".
  void tell(const std::string& script);

  [[nodiscard]] QPoint centreOf(const QQuickItem& item) const;
  void pressKey(int key, bool repeated = false);
  void releaseKey(int key);
  void typeKey(int key);

  std::shared_ptr<ScriptedSession> session;
  std::shared_ptr<const TarnLumoAd> ad;
  QQuickWindow window;
  Picture* picture;
  QQuickItem* stage;
  std::shared_ptr<RecordingSink> sink = std::make_shared<RecordingSink>();
  std::shared_ptr<TarnKyrAdComponentDisplayContainer> container;

 private:
  void perform(const ScriptCommand& command);
  void expectState(const ScriptCommand& command);
  [[nodiscard]] tarn::OverlayButton& buttonNamed(const std::string& name);
  [[nodiscard]] std::string found(const std::string& name);
  [[nodiscard]] std::string focused();
  [[nodiscard]] bool isShown() { return view().parentItem() != nullptr && view().isVisible(); }
  [[nodiscard]] std::string buttons();
};

}  // namespace tarn::test
