#pragma once

#include <string>
#include <string_view>

#include "Demo/DemoStream.h"

namespace tarn::cli {

/// The VMAP 1.0.1 document of a cut of the demo, in the manner of real ad servers: indented, URLs wrapped in
/// CDATA and line breaks, with macros left in them. `baseURL` is the service's, without a slash at its end;
/// `streamURL` is what the document names as the stitched stream.
[[nodiscard]] std::string demoDocument(const DemoCut& cut, std::string_view baseURL,
                                       std::string_view streamURL);

}  // namespace tarn::cli
