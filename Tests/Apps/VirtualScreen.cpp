#include "VirtualScreen.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <map>
#include <thread>
#include <utility>

namespace tarn::test {
namespace {

constexpr std::chrono::seconds kPatience{15};
constexpr int kTolerance = 6;  // for colours changed by the video encoder

}  // namespace

Colour Colour::dimmed(double share) const {
  const auto dim = [share](int value) { return static_cast<int>(value * share + 0.5); };
  return {dim(red), dim(green), dim(blue)};
}

bool Colour::isNear(const Colour& other) const {
  return std::abs(red - other.red) <= kTolerance && std::abs(green - other.green) <= kTolerance &&
         std::abs(blue - other.blue) <= kTolerance;
}

/// The dump's header is a list of numbers.
std::size_t Frame::headerNumber(std::size_t index) const {
  std::size_t number = 0;
  for (std::size_t i = 0; i < 4; ++i)
    number = number << 8U | static_cast<unsigned char>(dump_.at(index * 4 + i));
  return number;
}

Frame::Frame(std::string dump) : dump_(std::move(dump)) {
  constexpr std::size_t kColourMapEntry = 12;
  pixels_ = headerNumber(0) + headerNumber(19) * kColourMapEntry;
  bytesPerLine_ = headerNumber(12);
}

Colour Frame::at(int x, int y) const {
  const std::size_t place =
      pixels_ + static_cast<std::size_t>(y) * bytesPerLine_ + static_cast<std::size_t>(x) * 4;
  const auto* const pixel = reinterpret_cast<const unsigned char*>(&dump_.at(place));
  return {pixel[2], pixel[1], pixel[0]};
}

int Frame::count(const Area& area, const Colour& colour) const {
  int found = 0;
  for (int y = area.top; y < area.top + area.height; ++y) {
    for (int x = area.left; x < area.left + area.width; ++x) found += at(x, y).isNear(colour) ? 1 : 0;
  }
  return found;
}

Colour Frame::background(const Area& area) const {
  std::map<Colour, int> pixels;
  for (int y = area.top; y < area.top + area.height; ++y) {
    for (int x = area.left; x < area.left + area.width; ++x) ++pixels[at(x, y)];
  }
  const auto most = std::max_element(pixels.begin(), pixels.end(),
                                     [](const auto& a, const auto& b) { return a.second < b.second; });
  return most->first;
}

std::string VirtualScreen::whatIsMissing() {
  for (const char* const program : {"Xvfb", "xdotool"}) {
    if (std::system((std::string("command -v ") + program + " >/dev/null").c_str()) != 0)
      return std::string(program) + " is not installed: no screen to look at";
  }
  return {};
}

VirtualScreen::VirtualScreen() {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) return;
  server_ = fork();
  if (server_ == 0) {
    const std::string readyEnd = std::to_string(ends[1]);
    close(ends[0]);
    execlp("Xvfb", "Xvfb", "-displayfd", readyEnd.c_str(), "-screen", "0", "1280x720x24", "-fbdir",
           memory_.path("").c_str(), "-nocursor", "-nolisten", "tcp", nullptr);
    _exit(127);
  }
  close(ends[1]);
  std::string number;
  char byte = 0;
  while (read(ends[0], &byte, 1) == 1 && byte != '\n') number += byte;
  close(ends[0]);
  EXPECT_FALSE(number.empty()) << "Xvfb did not start";
  setenv("DISPLAY", (":" + number).c_str(), 1);
}

VirtualScreen::~VirtualScreen() {
  kill(server_, SIGTERM);
  waitpid(server_, nullptr, 0);
  unsetenv("DISPLAY");
}

/// Xvfb keeps its memory in a file.
Frame VirtualScreen::frame() const {
  return Frame(readFile(memory_.path("Xvfb_screen0")));
}

bool VirtualScreen::comesToShow(const std::function<bool(const Frame&)>& wanted) const {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (std::chrono::steady_clock::now() < end) {
    if (wanted(frame())) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // a screen does not report changes
  }
  return false;
}

void VirtualScreen::pressKey(const std::string& key) const {
  EXPECT_EQ(std::system(("xdotool key " + key).c_str()), 0);
}

void VirtualScreen::click(int x, int y) const {
  EXPECT_EQ(
      std::system(("xdotool mousemove " + std::to_string(x) + " " + std::to_string(y) + " click 1").c_str()),
      0);
}

}  // namespace tarn::test
