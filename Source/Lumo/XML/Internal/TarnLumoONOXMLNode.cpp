#include "XML/Internal/TarnLumoONOXMLNode.h"

#include <libxml/xmlstring.h>

#include "XML/Internal/TarnLumoONOXMLHandles.h"

namespace tarn::xml {
namespace {

[[nodiscard]] bool isText(const xmlNode* node) {
  return node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE;
}

/// The text of nodes that are nothing but text; absent when there are others among them.
[[nodiscard]] std::optional<std::string> plainText(const xmlNode* nodes) {
  std::string text;
  for (const xmlNode* node = nodes; node != nullptr; node = node->next) {
    if (!isText(node)) return std::nullopt;
    text += view(node->content);
  }
  return text;
}

[[nodiscard]] std::optional<std::string> textOf(const xmlChar* text) {
  return text == nullptr ? std::nullopt : std::optional<std::string>(view(text));
}

/// Other kinds of nodes store something else in its place.
[[nodiscard]] const xmlNs* namespaceOf(const xmlNode* node) {
  return node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE ? node->ns : nullptr;
}

}  // namespace

std::string contentOf(const xmlNode* node) {
  if (node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE) {
    if (auto text = plainText(node->children)) return *std::move(text);
  }
  return std::string(view(TextHandle(xmlNodeGetContent(node)).get()));
}

std::optional<std::string> takeText(xmlChar* text) {
  return textOf(TextHandle(text).get());
}

std::string valueOf(const xmlNode* element, const xmlAttr* attribute) {
  if (auto text = plainText(attribute->children)) return *std::move(text);
  return takeText(xmlNodeListGetString(element->doc, attribute->children, 1)).value_or(std::string());
}

std::optional<std::string> attributeOf(const xmlNode* node, std::string_view name) {
  if (node->type != XML_ELEMENT_NODE) return std::nullopt;
  const xmlAttr* attribute = node->properties;
  while (attribute != nullptr && view(attribute->name) != name) attribute = attribute->next;
  if (attribute != nullptr) return valueOf(node, attribute);
  if (node->doc->intSubset == nullptr) return std::nullopt;
  return takeText(xmlGetProp(node, xmlText(std::string(name))));
}

std::optional<std::string> namespacePrefixOf(const xmlNode* node) {
  const xmlNs* space = namespaceOf(node);
  return space == nullptr ? std::nullopt : textOf(space->prefix);
}

std::optional<std::string> namespaceURIOf(const xmlNode* node) {
  const xmlNs* space = namespaceOf(node);
  return space == nullptr ? std::nullopt : textOf(space->href);
}

xmlNode* nextElement(xmlNode* node) {
  while (node != nullptr && node->type != XML_ELEMENT_NODE) node = node->next;
  return node;
}

xmlNode* firstChildElement(const xmlNode* node) {
  return nextElement(node->children);
}

std::string serialised(xmlNode* node) {
  const BufferHandle buffer(xmlBufferCreate());
  if (!buffer || xmlNodeDump(buffer.get(), node->doc, node, 0, 0) < 0) return {};
  return std::string(view(xmlBufferContent(buffer.get())));
}

}  // namespace tarn::xml

bool TarnLumoONOXMLNodeMatchesTagInNamespace(const xmlNode* node, std::optional<std::string_view> tag,
                                             std::optional<std::string_view> prefix) {
  const auto matches = [](const xmlChar* name, std::string_view wanted) {
    return tarn::xml::view(name).size() == wanted.size() &&
           xmlStrncasecmp(name, reinterpret_cast<const xmlChar*>(wanted.data()),
                          static_cast<int>(wanted.size())) == 0;
  };
  if (tag && !matches(node->name, *tag)) return false;
  if (!prefix) return true;
  if (node->type != XML_ELEMENT_NODE || node->ns == nullptr || node->ns->prefix == nullptr) return false;
  return matches(node->ns->prefix, *prefix);
}
