#pragma once

#include <filesystem>

namespace tarn::test {

/// A small HLS stream: 4 s, 160x90 at 25 pictures a second with sound, four segments of 1 s, a key picture
/// every 0.5 s. Made with GStreamer on first use, removed when the process ends. Files: index.m3u8 and
/// segment0.ts to segment3.ts.
[[nodiscard]] const std::filesystem::path& testStreamFolder();

}  // namespace tarn::test
