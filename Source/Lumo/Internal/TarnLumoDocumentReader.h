#pragma once

#include <memory>

#include "Lumo/Internal/TarnLumoWarningCollector.h"
#include "Lumo/TarnLumoDocument.h"
#include "XML/TarnLumoONOXMLDocument.h"

/// Reads a parsed VMAP 1.0.1 document; `document` names the prefix of the service's extension. Errors are in
/// `TarnLumoErrorDomain` with code 4011. Any thread, one at a time for each document.
[[nodiscard]] tarn::Result<std::shared_ptr<const TarnLumoTimeline>>
TarnLumoDeserializeTimelineFromXMLDocumentWithError(const TarnLumoDocument& document,
                                                    const TarnLumoONOXMLDocument& xml,
                                                    tarn::WarningCollector& warnings);
