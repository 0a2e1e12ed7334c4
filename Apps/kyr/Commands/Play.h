#pragma once

#include <optional>
#include <string>

#include "Document/DocumentSource.h"

namespace tarn::cli {

struct PlayOptions {
  SourceOptions source;
  bool headless = false;  ///< In the terminal instead of a window.
  bool fullScreen = false;
  std::string player = "gstreamer";  ///< Or "mpv".
  std::optional<std::string> script;
  bool json = false;
  std::optional<double> seconds;  ///< The longest playing time, from when the stream is ready.
};

/// Plays a document's stream on the real player and sends its beacons. Returns the exit status.
[[nodiscard]] int runPlay(const PlayOptions& options);

}  // namespace tarn::cli
