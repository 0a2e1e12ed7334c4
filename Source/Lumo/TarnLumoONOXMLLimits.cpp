#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Lumo/TarnLumoONOXML+Private.h"
#include "Lumo/TarnLumoText.h"

// libxml2 compares every attribute of a tag with every other, and looks every prefixed name up in the list of
// all namespaces in scope, so a tag of 100,000 attributes takes minutes. It offers no hook before that
// happens; the bytes have to be looked at.

namespace tarn::xml {
namespace {

constexpr std::size_t kMaximumAttributes = 500;
constexpr std::size_t kMaximumNamespaceDefinitions = 50;
constexpr std::size_t kShortestNamespaceDefinition = sizeof(" xmlns:a='b'") - 1;
constexpr std::size_t kLongestHarmlessTag = kMaximumNamespaceDefinitions * kShortestNamespaceDefinition;
constexpr std::size_t kMaximumSizeOfUncommonEncoding = 64 * 1024;
constexpr std::size_t kMaximumEntityExpansion = 1024 * 1024;
constexpr std::size_t kMaximumEntityDepth = 64;
constexpr std::size_t kMaximumAttributeDefaults = 256;

[[nodiscard]] bool isXMLSpace(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

struct TagSize {
  std::size_t attributes = 0;
  std::size_t namespaceDefinitions = 0;
};

/// Counts the quoted values of a start tag. `tag` begins behind its "<" and holds no other, for an attribute
/// value may not either; so the count is right in every tag that is one, whatever stands around it.
[[nodiscard]] TagSize measureTag(std::string_view tag) {
  TagSize size;
  for (std::size_t i = 0; i < tag.size() && tag[i] != '>'; ++i) {
    if (isXMLSpace(tag[i]) && tag.substr(i + 1, 5) == "xmlns") ++size.namespaceDefinitions;
    if (tag[i] != '"' && tag[i] != '\'') continue;
    ++size.attributes;
    i = tag.find(tag[i], i + 1);
    if (i == std::string_view::npos) break;
  }
  return size;
}

[[nodiscard]] Result<void> checkTags(std::string_view text) {
  std::size_t begin = text.find('<');
  while (begin != std::string_view::npos) {
    const std::size_t next = text.find('<', begin + 1);
    const std::string_view tag = text.substr(begin + 1, std::min(next, text.size()) - begin - 1);
    if (tag.size() > kLongestHarmlessTag) {
      const TagSize size = measureTag(tag);
      if (size.attributes > kMaximumAttributes || size.namespaceDefinitions > kMaximumNamespaceDefinitions) {
        const auto line =
            1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(begin), '\n');
        return limitError("The tag at line " + std::to_string(line) + " has more than " +
                          std::to_string(kMaximumAttributes) + " attributes or " +
                          std::to_string(kMaximumNamespaceDefinitions) + " namespace definitions");
      }
    }
    begin = next;
  }
  return {};
}

/// How wide a character is, and where in it the byte of an ASCII character stands.
struct Width {
  std::size_t bytes = 1;
  std::size_t low = 0;
};

[[nodiscard]] Width widthOf(xmlCharEncoding encoding) {
  switch (encoding) {
    case XML_CHAR_ENCODING_UTF16LE:
      return {2, 0};
    case XML_CHAR_ENCODING_UTF16BE:
      return {2, 1};
    case XML_CHAR_ENCODING_UCS4LE:
      return {4, 0};
    case XML_CHAR_ENCODING_UCS4BE:
      return {4, 3};
    default:
      return {};
  }
}

/// The text with every character beyond ASCII replaced by one that means nothing in markup.
[[nodiscard]] std::string narrow(std::string_view bytes, Width width) {
  std::string text;
  text.reserve(bytes.size() / width.bytes);
  for (std::size_t i = 0; i + width.bytes <= bytes.size(); i += width.bytes) {
    bool ascii = true;
    for (std::size_t k = 0; k < width.bytes; ++k) ascii = ascii && (k == width.low || bytes[i + k] == '\0');
    text.push_back(ascii ? bytes[i + width.low] : 'x');
  }
  return text;
}

/// What the first bytes tell, as libxml2 looks at them.
[[nodiscard]] xmlCharEncoding detectedEncoding(std::string_view bytes) {
  const auto* start = reinterpret_cast<const unsigned char*>(bytes.data());
  return xmlDetectCharEncoding(start, static_cast<int>(std::min(bytes.size(), std::size_t{4})));
}

/// The encoding name of an XML declaration in ASCII; empty without one.
[[nodiscard]] std::string declaredEncoding(std::string_view bytes) {
  const std::string_view declaration = bytes.substr(0, bytes.find('>'));
  if (!declaration.starts_with("<?xml")) return {};
  std::size_t begin = declaration.find("encoding");
  if (begin == std::string_view::npos) return {};
  begin = declaration.find_first_of("\"'", begin);
  if (begin == std::string_view::npos) return {};
  std::string name(
      declaration.substr(begin + 1, declaration.find(declaration[begin], begin + 1) - begin - 1));
  std::transform(name.begin(), name.end(), name.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
  return name;
}

/// Whether bytes of the encoding that look like ASCII markup are just that.
[[nodiscard]] bool keepsASCII(std::string_view encoding) {
  static constexpr std::array<std::string_view, 15> kPrefixes = {
      "UTF-8", "UTF8",      "US-ASCII", "ASCII", "ISO-8859-", "ISO_8859-", "LATIN", "WINDOWS-125",
      "CP125", "SHIFT_JIS", "EUC-",     "GB",    "BIG5",      "KOI8-",     "TIS-"};
  // libxml2 takes a declaration that it could read as ASCII for proof that the document is not UTF-16.
  return encoding.empty() || encoding == "UTF-16" ||
         std::any_of(kPrefixes.begin(), kPrefixes.end(),
                     [&](std::string_view prefix) { return encoding.starts_with(prefix); });
}

class ExpansionCheck {
 public:
  explicit ExpansionCheck(const xmlDoc* document) : document_(document) {}

  /// What the references below `node` and its siblings expand to, text outside of them included if asked for.
  /// Absent when it is beyond measure.
  [[nodiscard]] std::optional<std::size_t> sizeOf(const xmlNode* first, bool countText, std::size_t depth) {
    if (depth > kMaximumEntityDepth) return std::nullopt;
    std::size_t total = 0;
    std::vector<const xmlNode*> pending;
    const auto push = [&pending](const xmlNode* list) {
      for (; list != nullptr; list = list->next) pending.push_back(list);
    };
    push(first);
    while (!pending.empty()) {
      const xmlNode* node = pending.back();
      pending.pop_back();
      if (node->type == XML_ENTITY_REF_NODE) {
        const auto size = sizeOfEntity(node->name, depth);
        if (!size) return std::nullopt;
        total += *size;
      } else if (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE) {
        if (countText) total += view(node->content).size();
      } else if (node->type == XML_ELEMENT_NODE) {
        for (const xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next)
          push(attribute->children);
        push(node->children);
      }
      if (total > kMaximumEntityExpansion) return std::nullopt;
    }
    return total;
  }

 private:
  [[nodiscard]] std::optional<std::size_t> sizeOfEntity(const xmlChar* name, std::size_t depth) {
    const xmlEntity* entity = xmlGetDocEntity(document_, name);
    if (entity == nullptr) return 0;
    if (const auto known = sizes_.find(entity); known != sizes_.end()) return known->second;
    if (!open_.insert(entity).second) return std::nullopt;
    const auto size = entity->children == nullptr ? std::optional(view(entity->content).size())
                                                  : sizeOf(entity->children, true, depth + 1);
    open_.erase(entity);
    sizes_.emplace(entity, size);
    return size;
  }

  const xmlDoc* document_;
  std::unordered_map<const xmlEntity*, std::optional<std::size_t>> sizes_;
  std::unordered_set<const xmlEntity*> open_;
};

[[nodiscard]] std::size_t sizeOfAttributeDefaults(const xmlDtd* declarations) {
  std::size_t size = 0;
  for (const xmlNode* node = declarations->children; node != nullptr; node = node->next) {
    if (node->type != XML_ATTRIBUTE_DECL) continue;
    size += view(reinterpret_cast<const xmlAttribute*>(node)->defaultValue).size();
  }
  return size;
}

/// The text that a node holds by itself, not in nodes beneath.
[[nodiscard]] std::string_view ownText(const xmlNode& node) {
  switch (node.type) {
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE:
    case XML_PI_NODE:
      return view(node.content);
    case XML_ENTITY_DECL:
      return view(reinterpret_cast<const xmlEntity&>(node).content);
    default:
      return {};
  }
}

[[nodiscard]] const xmlNs* namespacesOf(const xmlNode& node) {
  return node.type == XML_ELEMENT_NODE ? node.nsDef : nullptr;
}

[[nodiscard]] bool haveProperText(const xmlNs* first) {
  for (const xmlNs* space = first; space != nullptr; space = space->next) {
    if (!isUTF8(view(space->prefix)) || !isUTF8(view(space->href))) return false;
  }
  return true;
}

/// What an entity reference stands for is met where the entity is declared.
[[nodiscard]] bool holdsNodes(const xmlNode& node) {
  return node.type == XML_ELEMENT_NODE || node.type == XML_ATTRIBUTE_NODE || node.type == XML_DTD_NODE;
}

}  // namespace

Error limitError(std::string failureReason) {
  Error error;
  error.domain = TarnLumoONOXMLErrorDomain;
  error.code = XML_ERR_INTERNAL_ERROR;
  error.failureReason = std::move(failureReason);
  return error;
}

bool holdsProperText(const xmlDoc* document) {
  std::vector<const xmlNode*> pending{document->children};
  while (!pending.empty()) {
    const xmlNode* node = pending.back();
    pending.pop_back();
    for (; node != nullptr; node = node->next) {
      if (!isUTF8(view(node->name)) || !isUTF8(ownText(*node)) || !haveProperText(namespacesOf(*node)))
        return false;
      if (node->type == XML_ELEMENT_NODE)
        pending.push_back(reinterpret_cast<const xmlNode*>(node->properties));
      if (holdsNodes(*node)) pending.push_back(node->children);
    }
  }
  return true;
}

Result<void> checkMarkup(std::string_view bytes) {
  if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
    return limitError("The document is larger than 2 GiB");
  const xmlCharEncoding detected = detectedEncoding(bytes);
  if (const Width width = widthOf(detected); width.bytes > 1) return checkTags(narrow(bytes, width));
  const bool common = detected == XML_CHAR_ENCODING_NONE || detected == XML_CHAR_ENCODING_UTF8;
  const std::string encoding = declaredEncoding(bytes);
  if ((!common || !keepsASCII(encoding)) && bytes.size() > kMaximumSizeOfUncommonEncoding)
    return limitError("A document in the encoding " + (encoding.empty() ? "EBCDIC or UCS-4" : encoding) +
                      " may be at most 64 KiB; send it as UTF-8");
  return checkTags(bytes);
}

Result<void> checkDeclarations(const xmlDoc* document) {
  if (document->intSubset == nullptr) return {};
  if (sizeOfAttributeDefaults(document->intSubset) > kMaximumAttributeDefaults)
    return limitError("The document type declares attribute defaults of more than 256 bytes");
  if (document->intSubset->entities == nullptr) return {};
  if (!ExpansionCheck(document).sizeOf(document->children, false, 0)) {
    Error error = limitError("The document's entities expand to more than 1 MiB or into themselves");
    error.code = XML_ERR_ENTITY_LOOP;
    return error;
  }
  return {};
}

}  // namespace tarn::xml
