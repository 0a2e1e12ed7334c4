#include "XML/Internal/TarnLumoONOXPath.h"

#include <libxml/xpathInternals.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "XML/Internal/TarnLumoONOXMLParser.h"
#include "XML/TarnLumoONOXMLDocument.h"

namespace tarn::xml {
namespace {

// A query that looks at every node a few times stays far below; one that looks at every node for every node
// ends instead of taking minutes.
constexpr unsigned long kMaxOperationsOfAnyDocument = 200'000;
constexpr unsigned long kMaxOperationsPerElement = 16;

/// How much work a query of the document may take. Numbers the elements in document order on first use:
/// without the numbers, libxml2 walks along the siblings to compare the places of two nodes.
[[nodiscard]] unsigned long operationLimit(xmlDoc* document) {
  if (document->_private == nullptr)
    document->_private = reinterpret_cast<void*>(std::max(xmlXPathOrderDocElems(document), 1L));
  return kMaxOperationsOfAnyDocument +
         kMaxOperationsPerElement * reinterpret_cast<std::uintptr_t>(document->_private);
}

/// Calls back with the prefix and URI of each definition that XPath knows at `node`, the innermost first.
template <typename Definition>
void forEachNamespace(const TarnLumoONOXMLDocument& document, const xmlNode* node,
                      const Definition& definition) {
  const auto& defaults = document.defaultNamespaces();
  for (; node != nullptr && node->parent != nullptr; node = node->parent) {
    if (node->type != XML_ELEMENT_NODE) continue;
    for (const xmlNs* space = node->nsDef; space != nullptr; space = space->next) {
      if (space->prefix != nullptr) {
        definition(view(space->prefix), space->href);
      } else if (defaults) {
        const auto known = defaults->find(view(space->href));
        if (known != defaults->end()) definition(std::string_view(known->second), space->href);
      }
    }
  }
}

[[nodiscard]] bool isText(const std::string& expression) {
  return expression.size() < std::numeric_limits<int>::max() && expression.find('\0') == std::string::npos &&
         xmlCheckUTF8(reinterpret_cast<const unsigned char*>(expression.c_str())) == 1;
}

}  // namespace

const xmlChar* namespaceForPrefix(const TarnLumoONOXMLDocument& document, const xmlNode* node,
                                  std::string_view prefix) {
  if (prefix == "xml") return XML_XML_NAMESPACE;
  const xmlChar* found = nullptr;
  forEachNamespace(document, node, [&](std::string_view known, const xmlChar* uri) {
    if (known == prefix) found = uri;
  });
  return found;
}

XPathObjectHandle evaluate(const TarnLumoONOXMLDocument& document, xmlNode* node,
                           const std::string& expression) {
  if (!isText(expression)) return nullptr;
  const QuietThread quiet;
  const XPathContextHandle context(xmlXPathNewContext(node->doc));
  if (!context) return nullptr;
  context->node = node;
  context->opLimit = operationLimit(node->doc);
  forEachNamespace(document, node, [&](std::string_view prefix, const xmlChar* uri) {
    xmlXPathRegisterNs(context.get(), xmlText(std::string(prefix)), uri);
  });
  return XPathObjectHandle(xmlXPathEvalExpression(xmlText(expression), context.get()));
}

}  // namespace tarn::xml
