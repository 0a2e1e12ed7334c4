#pragma once

#include <string>
#include <string_view>

#include "Demo/DemoStream.h"

namespace tarn::cli {

/// The VMAP 1.0.1 document of a cut of the demo, written as real ad servers do: indented, URLs inside CDATA
/// and line breaks, with macros in them. `baseURL` is the service's, without a slash at its end; `streamURL`
/// is the stitched stream's URL in the document.
[[nodiscard]] std::string demoDocument(const DemoCut& cut, std::string_view baseURL,
                                       std::string_view streamURL);

}  // namespace tarn::cli
