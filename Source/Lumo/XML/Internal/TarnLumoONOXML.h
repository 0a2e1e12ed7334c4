#pragma once

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xpath.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Platform/Result.h"
#include "XML/TarnLumoONOXMLDocument.h"

/// What the pieces of the XML layer share: the one place where libxml2's handles meet their owners.

/// Stores `error`'s code and trimmed message in `result`, then resets `error`. Does nothing if either is
/// null.
void TarnLumoONOSetErrorFromXMLErrorPtr(std::optional<tarn::Error>* result, xmlError* error);

/// Whether `node`'s name and namespace prefix match, without regard to ASCII case; an absent tag or prefix
/// matches any.
[[nodiscard]] bool TarnLumoONOXMLNodeMatchesTagInNamespace(const xmlNode* node,
                                                           std::optional<std::string_view> tag,
                                                           std::optional<std::string_view> prefix);

namespace tarn::xml {

template <auto function>
struct Deleter {
  template <typename T>
  void operator()(T* handle) const {
    function(handle);
  }
};

using DocumentHandle = std::unique_ptr<xmlDoc, Deleter<xmlFreeDoc>>;
using BufferHandle = std::unique_ptr<xmlBuffer, Deleter<xmlBufferFree>>;
using XPathObjectHandle = std::unique_ptr<xmlXPathObject, Deleter<xmlXPathFreeObject>>;
using XPathContextHandle = std::unique_ptr<xmlXPathContext, Deleter<xmlXPathFreeContext>>;

struct FreeText {
  void operator()(xmlChar* text) const { xmlFree(text); }
};
using TextHandle = std::unique_ptr<xmlChar, FreeText>;

/// Valid as long as the tree; empty for null.
[[nodiscard]] inline std::string_view view(const xmlChar* text) {
  return text == nullptr ? std::string_view() : std::string_view(reinterpret_cast<const char*>(text));
}

[[nodiscard]] inline const xmlChar* xmlText(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

/// An error for a document refused for its size or shape; libxml2's own limits carry the same code.
[[nodiscard]] Error limitError(std::string failureReason);

/// Whether the names and texts of a tree are UTF-8 throughout.
[[nodiscard]] bool holdsProperText(const xmlDoc* document);

/// Text as the parser reads it, and the line on which it begins.
struct Markup {
  std::string_view text;
  std::int64_t line = 1;
};

/// Refuses text that libxml2 would take time out of proportion to parse.
[[nodiscard]] Result<void> checkMarkup(Markup markup);
[[nodiscard]] Result<void> checkHTMLMarkup(Markup markup);

/// Refuses a tree whose document type declares entities that expand beyond measure.
[[nodiscard]] Result<void> checkDeclarations(const xmlDoc* document);

/// The namespace URI under which XPath knows `prefix` at `node`: of the definitions on the node and its
/// ancestors the outermost; null for an unknown prefix.
[[nodiscard]] const xmlChar* namespaceForPrefix(const TarnLumoONOXMLDocument& document, const xmlNode* node,
                                                std::string_view prefix);

/// Null when the expression cannot be evaluated.
[[nodiscard]] XPathObjectHandle evaluate(const TarnLumoONOXMLDocument& document, xmlNode* node,
                                         const std::string& expression);

}  // namespace tarn::xml
