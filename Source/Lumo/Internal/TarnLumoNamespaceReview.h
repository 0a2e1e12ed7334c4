#pragma once

#include <string>

#include "Lumo/Internal/TarnLumoWarningCollector.h"
#include "XML/TarnLumoONOXMLDocument.h"
#include "XML/TarnLumoONOXMLElement.h"

namespace tarn {

/// Warns of a root element that is no vmap:VMAP, and so of a document in which nothing will be found.
void reviewRoot(const TarnLumoONOXMLDocument& xml, WarningCollector& warnings);

/// Why no Ad was found in an AdBreak: what is missing on the way to it, or stands there under another name.
[[nodiscard]] std::string reasonForNoAd(const TarnLumoONOXMLElement& adBreak);

}  // namespace tarn
