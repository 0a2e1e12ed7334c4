#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "Demo/TestPictureStream.h"
#include "Platform/Result.h"

namespace tarn::cli {

/// One stretch of the demo's stitched stream, content or one ad.
struct DemoStretch {
  std::string slug;       ///< Unique; used in beacon URLs.
  std::string breakName;  ///< Of the ad break that it belongs to; empty for content.
  std::string adId;       ///< Empty for content.
  int skipAfter = 0;      ///< Seconds until the ad may be skipped; 0 when it may not.
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

/// The stretches of a cut in stream order.
[[nodiscard]] std::vector<DemoStretch> demoStretches(const DemoCut& cut);

/// An HLS playlist (RFC 8216) of the cut, whose segments stand beside it.
[[nodiscard]] std::string demoPlaylist(const DemoCut& cut);

/// $XDG_CACHE_HOME/kyr, else ~/.cache/kyr.
[[nodiscard]] std::filesystem::path defaultDemoMediaFolder();

/// The folder of the demo's segments inside `media`, which are made when they are not there yet. They appear
/// all at once, however many processes make them and whenever one of them is ended.
[[nodiscard]] Result<std::filesystem::path> provideDemoStream(const std::filesystem::path& media,
                                                              const TestPictureProgress& progress);

}  // namespace tarn::cli
