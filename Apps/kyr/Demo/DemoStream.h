#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "Demo/TestPictureStream.h"
#include "Platform/Result.h"

namespace tarn::cli {

/// One section of the demo's stitched stream: content or one ad.
struct DemoSection {
  std::string slug;       ///< Unique; used in beacon URLs.
  std::string breakName;  ///< Of the ad break that it belongs to; empty for content.
  std::string adId;       ///< Empty for content.
  int skipAfter = 0;      ///< Seconds until the ad can be skipped; 0 when it cannot.
  TestPicture picture;

  [[nodiscard]] bool isAd() const { return !breakName.empty(); }
};

/// A cut of the demo: the content with some of the ad breaks.
struct DemoCut {
  std::string_view name;
  std::string_view description;
  std::vector<std::string_view> breaks;
};

/// "demo" with every break comes first.
[[nodiscard]] const std::vector<DemoCut>& demoCuts();

/// The sections of a cut in stream order.
[[nodiscard]] std::vector<DemoSection> demoSections(const DemoCut& cut);

/// An HLS playlist (RFC 8216) of the cut, whose segments are in the same folder.
[[nodiscard]] std::string demoPlaylist(const DemoCut& cut);

/// $XDG_CACHE_HOME/kyr, else ~/.cache/kyr.
[[nodiscard]] std::filesystem::path defaultDemoMediaFolder();

/// The folder of the demo's segments inside `media`; makes missing segments. The folder appears complete or
/// not at all, even if several processes make it or one is ended meanwhile.
[[nodiscard]] Result<std::filesystem::path> provideDemoStream(const std::filesystem::path& media,
                                                              const TestPictureProgress& progress);

}  // namespace tarn::cli
