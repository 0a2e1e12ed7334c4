#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Lumo/Internal/ReadingObserver.h"
#include "Platform/MediaTime.h"
#include "Platform/URL.h"
#include "XML/TarnLumoONOXMLElement.h"

/// Reads single values of a document and reports those that cannot be read.
namespace tarn {

[[nodiscard]] std::int64_t lineOf(const TarnLumoONOXMLElement& element);
[[nodiscard]] ElementPlace placeOf(const TarnLumoONOXMLElement& element);

/// The element's text as a URL; absent, and reported, when it forms none.
[[nodiscard]] std::optional<URL> urlOfText(const TarnLumoONOXMLElement& element, ReadingObserver& observer);

/// The attribute's value as a URL; absent, and reported, when it is missing or forms none.
[[nodiscard]] std::optional<URL> urlOfAttribute(const TarnLumoONOXMLElement& element, std::string_view name,
                                                ReadingObserver& observer);

/// The attribute's value as an integer; 0, and reported, when it is missing or does not begin with one.
[[nodiscard]] std::int64_t integerOfAttribute(const TarnLumoONOXMLElement& element, std::string_view name,
                                              ReadingObserver& observer);

/// The attribute's value in seconds (en_US); 0, and reported, when it is missing or not a number.
[[nodiscard]] CMTime lengthOfAttribute(const TarnLumoONOXMLElement& element, std::string_view name,
                                       ReadingObserver& observer);

/// The integer that `text` begins with: white space, a sign, digits; clamped to 64 bits. Absent without
/// digits.
[[nodiscard]] std::optional<std::int64_t> leadingInteger(std::string_view text);

}  // namespace tarn
