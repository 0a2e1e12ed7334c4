#include <gtest/gtest.h>

#include <QGuiApplication>

/// Real windows, items and events, drawn into memory.
int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qputenv("QT_QUICK_BACKEND", "software");
  qputenv("LC_ALL", "C.UTF-8");
  qunsetenv("LANGUAGE");
  testing::InitGoogleTest(&argc, argv);
  const QGuiApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
