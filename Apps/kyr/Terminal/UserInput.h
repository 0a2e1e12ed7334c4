#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <thread>

#include "Terminal/Interruption.h"

namespace tarn::cli {

/// Passes the user's input to the main queue: the keys of a terminal, and the request to end.
///
/// Made and destroyed on the main thread; nothing is called after it was destroyed. While it reads keys the
/// terminal neither echoes them nor waits for a line's end.
class UserInput {
 public:
  struct Handlers {
    std::function<void(char key)> key;  ///< The left and right arrows are '<' and '>'.
    std::function<void()> interrupted;
  };

  /// Reads keys only if `readKeys` is set and standard input is a terminal whose foreground is this process.
  UserInput(bool readKeys, Handlers handlers);
  UserInput(const UserInput&) = delete;
  UserInput& operator=(const UserInput&) = delete;
  ~UserInput();

 private:
  class RawTerminal;

  void run(int keys);

  Interruption interruption_;
  std::shared_ptr<const Handlers> handlers_;
  std::unique_ptr<RawTerminal> terminal_;
  int endEvent_;
  std::thread thread_;
};

}  // namespace tarn::cli
