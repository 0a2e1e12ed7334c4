#include "Terminal/Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace tarn::cli {
namespace {

constexpr std::size_t kNarrowest = 60;
constexpr std::size_t kWidest = 200;

bool isSet(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

std::string_view codeOf(Style style) {
  switch (style) {
    case Style::plain:
      return "";
    case Style::strong:
      return "\x1b[1m";
    case Style::faint:
      return "\x1b[2m";
    case Style::content:
      return "\x1b[34m";
    case Style::ad:
      return "\x1b[33m";
    case Style::warning:
      return "\x1b[35m";
  }
  return "";
}

}  // namespace

Terminal Terminal::ofStandardOutput() {
  Terminal terminal;
  if (::isatty(STDOUT_FILENO) == 0) return terminal;
  const char* kind = std::getenv("TERM");
  terminal.colours = !isSet("NO_COLOR") && kind != nullptr && std::string_view(kind) != "dumb";
  winsize size{};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    terminal.width = std::clamp<std::size_t>(size.ws_col, kNarrowest, kWidest);
  }
  return terminal;
}

std::string Terminal::styled(std::string_view text, Style style) const {
  if (!colours || style == Style::plain || text.empty()) return std::string(text);
  return std::string(codeOf(style)).append(text).append("\x1b[0m");
}

}  // namespace tarn::cli
