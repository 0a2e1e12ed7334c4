#pragma once

#include <string>
#include <string_view>

#include "Platform/Result.h"
#include "XML/TarnLumoONOXMLDocument.h"

namespace tarn {

/// The encoding of a name that IANA or ICU has for it, in any case; unknown for every other name.
[[nodiscard]] TarnLumoONOStringEncoding encodingNamed(std::string_view name);

/// `text` (UTF-8) as bytes of `encoding`. UTF-16 and UTF-32 begin with a byte order mark. Fails when the
/// encoding is unknown or cannot hold the text.
[[nodiscard]] Result<std::string> bytesOfText(std::string_view text, TarnLumoONOStringEncoding encoding);

}  // namespace tarn
