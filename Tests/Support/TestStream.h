#pragma once

#include <filesystem>

namespace tarn::test {

/// A small HLS stream: 4 s, 160x90 at 25 pictures a second with sound, in four segments of 1 s. Created on
/// first use, removed when the process ends. Files: index.m3u8 and segment000.ts to segment003.ts.
[[nodiscard]] const std::filesystem::path& testStreamFolder();

}  // namespace tarn::test
