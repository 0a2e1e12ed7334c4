#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "Platform/Result.h"

namespace tarn {

/// One section of a stream of test pictures. Its picture and tone show a viewer the position in the stream.
struct TestPicture {
  std::string title;         ///< Drawn large, in the middle.
  int seconds = 0;           ///< A multiple of the stream's segment length.
  std::string pattern;       ///< One of videotestsrc's, for example "solid-color" or "ball".
  std::uint32_t colour = 0;  ///< 0xRRGGBB, for the patterns that have a colour.
  double frequency = 440;    ///< Of its tone, in Hz.
};

struct TestPictureFormat {
  int width = 640;
  int height = 360;
  int framesPerSecond = 25;
  int segmentSeconds = 2;
};

/// Called with the share done, 0 to 1, several times a second; returns whether to continue.
using TestPictureProgress = std::function<bool(double fraction)>;

/// The name of a segment's file, counted from 0.
[[nodiscard]] std::string testPictureSegmentName(int index);

/// Makes the stream, H.264 and AAC in MPEG-TS, as segments in an existing folder. Each section begins with a
/// new segment, and each segment with a key picture, so that any playlist of them can be played.
///
/// Blocks; any thread. Errors: an element that is not installed, with the package to install; a folder that
/// cannot be written; "cancelled" when `progress` returned false. The folder is then incomplete.
[[nodiscard]] Result<void> makeTestPictureStream(const std::vector<TestPicture>& pictures,
                                                 const TestPictureFormat& format,
                                                 const std::filesystem::path& folder,
                                                 const TestPictureProgress& progress);

}  // namespace tarn
