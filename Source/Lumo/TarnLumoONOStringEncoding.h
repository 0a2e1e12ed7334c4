#pragma once

#include <string>
#include <string_view>

#include "Lumo/TarnLumoONOXMLDocument.h"
#include "Platform/Result.h"

namespace tarn {

/// The encoding that an IANA character-set name (any case) stands for; unknown for a name without a code.
[[nodiscard]] TarnLumoONOStringEncoding encodingNamed(std::string_view name);

/// `text` (UTF-8) as bytes of `encoding`. UTF-16 and UTF-32 begin with a byte order mark. Fails when the
/// encoding is unknown or cannot hold the text.
[[nodiscard]] Result<std::string> bytesOfText(std::string_view text, TarnLumoONOStringEncoding encoding);

}  // namespace tarn
