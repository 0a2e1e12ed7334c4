#include "Terminal/UserInput.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <optional>
#include <utility>

#include "Platform/MainQueue.h"

namespace tarn::cli {
namespace {

/// Decodes the keys from the bytes of a terminal: arrows are control sequences (ECMA-48 §5.4).
class KeyDecoder {
 public:
  /// The key that the byte completes, if any.
  std::optional<char> take(char byte) {
    switch (std::exchange(state_, State::plain)) {
      case State::plain:
        if (byte != kEscape) return byte;
        state_ = State::escape;
        return std::nullopt;
      case State::escape:
        if (byte != '[' && byte != 'O') return byte;
        state_ = State::sequence;
        return std::nullopt;
      case State::sequence:
        if (byte >= ' ' && byte <= '?') state_ = State::sequence;  // a parameter
        if (byte == 'C') return '>';
        if (byte == 'D') return '<';
        return std::nullopt;
    }
    return std::nullopt;
  }

 private:
  static constexpr char kEscape = '\x1b';
  enum class State { plain, escape, sequence };
  State state_ = State::plain;
};

}  // namespace

/// Switches the terminal from lines to single keys during its lifetime. Ctrl-C still sends a signal.
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
  KeyDecoder decoder;
  for (;;) {
    if (poll(inputs.data(), inputs.size(), -1) < 0) continue;
    if (end.revents != 0) return;
    if (interrupted.revents != 0) {
      interrupted.fd = -1;
      MainQueue::shared().async([weak] {
        if (const auto handlers = weak.lock()) handlers->interrupted();
      });
    }
    char byte = 0;
    if (key.revents == 0) continue;
    if (read(key.fd, &byte, 1) != 1) {
      key.fd = -1;  // the terminal was closed
      continue;
    }
    const auto pressed = decoder.take(byte);
    if (!pressed) continue;
    MainQueue::shared().async([weak, pressed = *pressed] {
      if (const auto handlers = weak.lock()) handlers->key(pressed);
    });
  }
}

}  // namespace tarn::cli
