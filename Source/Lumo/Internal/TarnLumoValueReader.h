#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Lumo/Internal/TarnLumoWarningCollector.h"
#include "Lumo/TarnLumoCommon.h"
#include "Platform/MediaTime.h"
#include "Platform/URL.h"
#include "XML/TarnLumoONOXMLElement.h"

/// Reads single values of a document and warns of those that could not be read.
namespace tarn {

/// Times that the document gives in seconds become times of this many ticks a second.

/// The element's text as a URL; a text that forms none is absent, with a warning.
[[nodiscard]] std::optional<URL> urlOfText(const TarnLumoONOXMLElement& element, WarningCollector& warnings);

/// The attribute's value as a URL; the same.
[[nodiscard]] std::optional<URL> urlOfAttribute(const TarnLumoONOXMLElement& element, std::string_view name,
                                                WarningCollector& warnings);

/// The attribute's value as an integer; 0, with a warning, when it is missing or does not begin with one.
[[nodiscard]] std::int64_t integerOfAttribute(const TarnLumoONOXMLElement& element, std::string_view name,
                                              WarningCollector& warnings);

/// The attribute's value in seconds (en_US); 0, with a warning, when it is missing or no number.
[[nodiscard]] CMTime lengthOfAttribute(const TarnLumoONOXMLElement& element, std::string_view name,
                                       WarningCollector& warnings);

/// The integer that `text` begins with: white space, a sign, digits; held to 64 bits. Absent without digits.
[[nodiscard]] std::optional<std::int64_t> leadingInteger(std::string_view text);

}  // namespace tarn
