#pragma once

#include <string>
#include <string_view>

#include "XML/Internal/TarnLumoONOXMLHandles.h"

class TarnLumoONOXMLDocument;

namespace tarn::xml {

/// The namespace URI under which XPath knows `prefix` at `node`: of the definitions on the node and its
/// ancestors the outermost; null for an unknown prefix.
[[nodiscard]] const xmlChar* namespaceForPrefix(const TarnLumoONOXMLDocument& document, const xmlNode* node,
                                                std::string_view prefix);

/// Null when the expression cannot be evaluated.
[[nodiscard]] XPathObjectHandle evaluate(const TarnLumoONOXMLDocument& document, xmlNode* node,
                                         const std::string& expression);

}  // namespace tarn::xml
