#pragma once

#include <libxml/tree.h>

#include <optional>
#include <string>
#include <string_view>

/// Whether `node`'s name and namespace prefix match, without regard to ASCII case; an absent tag or prefix
/// matches any.
[[nodiscard]] bool TarnLumoONOXMLNodeMatchesTagInNamespace(const xmlNode* node,
                                                           std::optional<std::string_view> tag,
                                                           std::optional<std::string_view> prefix);

/// Reads the nodes of a libxml2 tree.
namespace tarn::xml {

/// The text of the node and all below it, entities resolved.
[[nodiscard]] std::string contentOf(const xmlNode* node);

/// Takes ownership of `text`; absent for null.
[[nodiscard]] std::optional<std::string> takeText(xmlChar* text);

/// The attribute's value, entities resolved.
[[nodiscard]] std::string valueOf(const xmlNode* element, const xmlAttr* attribute);

/// The value of the first attribute with that local name, or the default that the document type declares.
[[nodiscard]] std::optional<std::string> attributeOf(const xmlNode* node, std::string_view name);

/// Absent without a namespace or prefix, and for a node that is neither element nor attribute.
[[nodiscard]] std::optional<std::string> namespacePrefixOf(const xmlNode* node);
[[nodiscard]] std::optional<std::string> namespaceURIOf(const xmlNode* node);

/// `node` or the first element among its later siblings; null when there is none.
[[nodiscard]] xmlNode* nextElement(xmlNode* node);
[[nodiscard]] xmlNode* firstChildElement(const xmlNode* node);

/// The node as XML.
[[nodiscard]] std::string serialised(xmlNode* node);

}  // namespace tarn::xml
