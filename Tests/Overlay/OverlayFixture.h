#pragma once

#include <gtest/gtest.h>

#include <QQuickWindow>
#include <memory>
#include <string>
#include <vector>

#include "Kyr/TarnKyrAdComponentDisplayContainer.h"
#include "Kyr/TarnKyrAdComponentView.h"
#include "ScriptedSession.h"
#include "Support/TimelineBuilder.h"

namespace tarn::test {

/// Runs what waits on the main queue, and what that enqueues.
void runMainQueue();
/// Has Qt handle what waits, deletions included.
void runQt();

/// A player's picture, as an application puts it into its window: takes presses and keys, and says so.
class Picture final : public QQuickItem {
  Q_OBJECT
 public:
  explicit Picture(QQuickItem* parent);
  int presses = 0;
  std::vector<int> keys;
  bool takesArrows = false;

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
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

  /// A new session, advanced to.
  std::shared_ptr<ScriptedSession> advance(double itemSeconds = 600);
  /// A break with that one ad, entered and at that in-ad time.
  void play(ScriptedSession& session, const std::shared_ptr<const TarnLumoAd>& ad, double inAdSeconds = 0);
  void progress(ScriptedSession& session, const std::shared_ptr<const TarnLumoAd>& ad, double inAdSeconds);

  [[nodiscard]] QPoint centreOf(const QQuickItem& item) const;
  void click(const QQuickItem& item);
  void pressKey(int key, bool repeated = false);
  void releaseKey(int key);
  void typeKey(int key);

  QQuickWindow window;
  Picture* picture;
  QQuickItem* stage;
  std::shared_ptr<RecordingDigester> digester = std::make_shared<RecordingDigester>();
  std::shared_ptr<TarnKyrAdComponentDisplayContainer> container;
};

}  // namespace tarn::test
