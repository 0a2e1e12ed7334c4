#pragma once

#include <string>
#include <vector>

#include "Platform/Result.h"

namespace tarn::cli {

/// One command of a script for the player.
struct PlayStep {
  enum class Kind { run, play, pause };
  Kind kind;
  double seconds = 0;  ///< Of `run`.
};

/// Reads the whole script before anything is played. Errors of the call's domain name the file and the line.
[[nodiscard]] Result<std::vector<PlayStep>> readPlayScript(const std::string& path);

}  // namespace tarn::cli
