#pragma once

#include <memory>
#include <string>

#include "Lumo/Internal/ReadingObserver.h"
#include "Lumo/TarnLumoTimeline.h"
#include "Platform/Result.h"
#include "XML/TarnLumoONOXMLDocument.h"

namespace tarn {

/// Reads a parsed VMAP 1.0.1 document; `prefix` is that of the service's extension. Errors are in
/// `TarnLumoErrorDomain` with code 4011. Any thread, one at a time for each document.
[[nodiscard]] Result<std::shared_ptr<const TarnLumoTimeline>> readDocument(const TarnLumoONOXMLDocument& xml,
                                                                           const std::string& prefix,
                                                                           ReadingObserver& observer);

}  // namespace tarn
