#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Platform/Result.h"
#include "XML/Internal/TarnLumoONOXMLHandles.h"

namespace tarn::xml {

/// An error for a document refused for its size or shape; libxml2's own limits carry the same code.
[[nodiscard]] Error limitError(std::string failureReason);

/// Whether the names and texts of a tree are UTF-8 throughout.
[[nodiscard]] bool holdsProperText(const xmlDoc* document);

/// Text as the parser reads it, and the line on which it begins.
struct Markup {
  std::string_view text;
  std::int64_t line = 1;
};

/// Refuses text for which libxml2 would need far more time than its size justifies.
[[nodiscard]] Result<void> checkMarkup(Markup markup);
[[nodiscard]] Result<void> checkHTMLMarkup(Markup markup);

/// Refuses a tree whose document type declares entities that expand above the limits.
[[nodiscard]] Result<void> checkDeclarations(const xmlDoc* document);

}  // namespace tarn::xml
