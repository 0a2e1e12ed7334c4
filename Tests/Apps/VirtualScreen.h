#pragma once

#include <sys/types.h>

#include <compare>
#include <functional>
#include <string>

#include "KyrProcess.h"

namespace tarn::test {

struct Colour {
  int red = 0;
  int green = 0;
  int blue = 0;

  auto operator<=>(const Colour&) const = default;
  [[nodiscard]] Colour dimmed(double share) const;
  [[nodiscard]] bool isNear(const Colour& other) const;
};

struct Area {
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
};

/// A picture of a screen.
class Frame {
 public:
  /// An X window dump (X11/XWDFile.h) with four bytes a pixel, blue first.
  explicit Frame(std::string dump);

  [[nodiscard]] Colour at(int x, int y) const;
  /// The number of pixels in the area with the colour, or one near it.
  [[nodiscard]] int count(const Area& area, const Colour& colour) const;
  /// The colour of most of the area's pixels.
  [[nodiscard]] Colour background(const Area& area) const;

 private:
  [[nodiscard]] std::size_t headerNumber(std::size_t index) const;

  std::string dump_;
  std::size_t pixels_ = 0;  ///< The offset of the first one.
  std::size_t bytesPerLine_ = 0;
};

/// A virtual screen of 1280×720 (Xvfb), for programs started by the test.
class VirtualScreen {
 public:
  /// The programs missing to start a screen, as a sentence; empty if none.
  [[nodiscard]] static std::string whatIsMissing();

  VirtualScreen();
  VirtualScreen(const VirtualScreen&) = delete;
  VirtualScreen& operator=(const VirtualScreen&) = delete;
  ~VirtualScreen();

  [[nodiscard]] Frame frame() const;
  /// Takes pictures until `matches` accepts one; false at the timeout.
  [[nodiscard]] bool comesToShow(const std::function<bool(const Frame&)>& wanted) const;
  /// Presses a key of the keyboard, by its X name.
  void pressKey(const std::string& key) const;
  void click(int x, int y) const;

 private:
  ScratchFolder memory_;
  pid_t server_ = -1;
};

}  // namespace tarn::test
