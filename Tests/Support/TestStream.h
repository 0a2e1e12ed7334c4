#pragma once

#include <filesystem>
#include <string>

#include "Support/LoopbackServer.h"

namespace tarn::test {

/// A small HLS stream: 4 s, 160x90 at 25 pictures a second with sound, in four segments of 1 s. Created on
/// first use, removed when the process ends. Files: index.m3u8 and segment000.ts to segment003.ts.
[[nodiscard]] const std::filesystem::path& testStreamFolder();

/// The response that contains the file "/index.m3u8" or "/segment000.ts".
[[nodiscard]] LoopbackServer::Response testStreamFile(const std::string& path, bool isCutOff = false);

/// Serves the stream at "/index.m3u8", and status 404 at "/nowhere.m3u8".
struct StreamServer final : LoopbackServer {
  StreamServer();
};

}  // namespace tarn::test
