#pragma once

#include <string>

#include "Document/DocumentSource.h"

namespace tarn::cli {

/// The stitched stream as an SVG document: the absolute axis with content and ads, the content axis with the
/// points into which the breaks collapse, every break at a scale of its own with its ads' tracking events,
/// and notes on everything that could not be drawn. The number of shapes is limited for any document.
[[nodiscard]] std::string timelinePicture(const LoadedTimeline& loaded, const std::string& source);

}  // namespace tarn::cli
