#include "UserInput.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <utility>

#include "Platform/Queue.h"

namespace tarn::cli {

/// Single keys instead of lines, for as long as it lives. Ctrl-C still makes a signal.
class UserInput::RawTerminal {
 public:
  RawTerminal() {
    tcgetattr(STDIN_FILENO, &saved_);
    termios raw = saved_;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    tcsetattr(STDIN_FILENO, TCSADRAIN, &raw);
  }
  RawTerminal(const RawTerminal&) = delete;
  RawTerminal& operator=(const RawTerminal&) = delete;
  ~RawTerminal() { tcsetattr(STDIN_FILENO, TCSADRAIN, &saved_); }

  [[nodiscard]] static bool isPossible() {
    return isatty(STDIN_FILENO) == 1 && tcgetpgrp(STDIN_FILENO) == getpgrp();
  }

 private:
  termios saved_{};
};

UserInput::UserInput(bool readKeys, Handlers handlers)
    : handlers_(std::make_shared<const Handlers>(std::move(handlers))),
      terminal_(readKeys && RawTerminal::isPossible() ? std::make_unique<RawTerminal>() : nullptr),
      endEvent_(eventfd(0, EFD_CLOEXEC)),
      thread_([this, keys = terminal_ ? STDIN_FILENO : -1] { run(keys); }) {}

UserInput::~UserInput() {
  const std::uint64_t one = 1;
  [[maybe_unused]] const auto written = write(endEvent_, &one, sizeof one);
  thread_.join();
  close(endEvent_);
}

void UserInput::run(int keys) {
  const std::weak_ptr<const Handlers> weak = handlers_;
  std::array<pollfd, 3> inputs{
      {{endEvent_, POLLIN, 0}, {interruption_.descriptor(), POLLIN, 0}, {keys, POLLIN, 0}}};
  auto& [end, interrupted, key] = inputs;
  for (;;) {
    if (poll(inputs.data(), inputs.size(), -1) < 0) continue;
    if (end.revents != 0) return;
    if (interrupted.revents != 0) {
      interrupted.fd = -1;
      MainQueue::shared().async([weak] {
        if (const auto handlers = weak.lock()) handlers->interrupted();
      });
    }
    char pressed = 0;
    if (key.revents == 0) continue;
    if (read(key.fd, &pressed, 1) != 1) {
      key.fd = -1;  // the terminal is gone
      continue;
    }
    MainQueue::shared().async([weak, pressed] {
      if (const auto handlers = weak.lock()) handlers->key(pressed);
    });
  }
}

}  // namespace tarn::cli
