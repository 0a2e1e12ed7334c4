#pragma once

#include <optional>
#include <string>

namespace tarn::cli {

struct ServeOptions {
  int port = 8080;                   ///< 0 picks a free one.
  std::optional<std::string> media;  ///< The folder of the demo stream; absent: the user's cache.
};

/// Runs the demo ad-insertion service on the loopback interface until SIGINT or SIGTERM. Returns the exit
/// status.
[[nodiscard]] int runServe(const ServeOptions& options);

}  // namespace tarn::cli
