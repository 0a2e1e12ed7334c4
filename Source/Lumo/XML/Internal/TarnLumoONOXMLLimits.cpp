#include "XML/Internal/TarnLumoONOXMLLimits.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Platform/Text.h"
#include "XML/TarnLumoONOXMLDocument.h"

// libxml2 compares every attribute of a tag with every other, every value of an enumeration too, and looks
// every prefixed name up in the list of all namespaces in scope, so a tag of 100,000 attributes takes
// minutes. It offers no callback before that happens; the text has to be examined.

namespace tarn::xml {
namespace {

constexpr std::size_t kMaxAttributes = 500;
constexpr std::size_t kMaxNamespaceDefinitions = 50;
constexpr std::size_t kMinNamespaceDefinitionSize = sizeof(" xmlns:a='b'") - 1;
constexpr std::size_t kMaxHarmlessTagSize = kMaxNamespaceDefinitions * kMinNamespaceDefinitionSize;
constexpr std::size_t kMaxAttributeListBytes = 4 * 1024;
// Higher than for XML: a comparison in a script may look like the start of a tag.
constexpr std::size_t kMaxHTMLAttributes = 2'000;
constexpr std::size_t kMaxSizeInUncommonEncoding = 64 * 1024;
constexpr std::size_t kMaxEntityExpansion = 1024 * 1024;
constexpr std::size_t kMaxEntityDepth = 64;

[[nodiscard]] bool isXMLSpace(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

struct TagSize {
  std::size_t attributes = 0;
  std::size_t namespaceDefinitions = 0;
};

/// Counts the quoted values of a start tag. `tag` begins after its "<" and has no other: not even an
/// attribute value may contain one. So the count is right for every real tag, wherever it is in the text.
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

[[nodiscard]] std::string lineOf(const Markup& markup, std::size_t position) {
  const auto end = markup.text.begin() + static_cast<std::ptrdiff_t>(position);
  return std::to_string(markup.line + std::count(markup.text.begin(), end, '\n'));
}

/// How many attributes an HTML tag may have, counted from the end of the text to its begin for each state in
/// which the parser may be. Where a character can be read in two ways, the larger count is taken.
class HTMLAttributeCount {
 public:
  /// The count for a tag whose name begins after the last character put in front.
  [[nodiscard]] std::size_t ofTag() const { return name_; }

  void putInFront(char c) {
    const HTMLAttributeCount next = *this;
    doubleQuoted_ = c == '"' ? next.between_ : next.doubleQuoted_;
    singleQuoted_ = c == '\'' ? next.between_ : next.singleQuoted_;
    if (c == '>') {
      between_ = name_ = value_ = unquoted_ = 0;
    } else if (isXMLSpace(c)) {
      name_ = unquoted_ = between_;
    } else {
      const std::size_t begun = std::min(next.name_ + 1, kMaxHTMLAttributes + 1);
      between_ = c == '=' ? std::max(begun, next.value_) : begun;
      if (c == '=') name_ = std::max(next.name_, next.value_);
      value_ = c == '"' ? next.doubleQuoted_ : c == '\'' ? next.singleQuoted_ : next.unquoted_;
    }
  }

 private:
  std::size_t between_ = 0;
  std::size_t name_ = 0;
  std::size_t value_ = 0;
  std::size_t unquoted_ = 0;
  std::size_t doubleQuoted_ = 0;
  std::size_t singleQuoted_ = 0;
};

/// Whether bytes of the encoding that look like ASCII markup are ASCII markup.
[[nodiscard]] bool keepsASCII(std::string_view encoding) {
  static constexpr std::array<std::string_view, 15> kPrefixes = {
      "UTF-8", "UTF8",      "US-ASCII", "ASCII", "ISO-8859-", "ISO_8859-", "LATIN", "WINDOWS-125",
      "CP125", "SHIFT_JIS", "EUC-",     "GB",    "BIG5",      "KOI8-",     "TIS-"};
  return std::any_of(kPrefixes.begin(), kPrefixes.end(), [&](std::string_view prefix) {
    return encoding.size() >= prefix.size() &&
           strncasecmp(encoding.data(), prefix.data(), prefix.size()) == 0;
  });
}

/// The first encoding that an HTML text names and in which bytes that look like ASCII may be something else.
/// libxml2 changes to it in the middle of a tag.
[[nodiscard]] std::string_view uncommonCharset(std::string_view text) {
  constexpr std::string_view kName = "charset=";
  const auto matches = [](char a, char b) { return a == b || (a >= 'A' && a <= 'Z' && a - 'A' + 'a' == b); };
  const auto* at = text.begin();
  while ((at = std::search(at, text.end(), kName.begin(), kName.end(), matches)) != text.end()) {
    at += kName.size();
    const auto encoding = text.substr(static_cast<std::size_t>(at - text.begin()), 32);
    if (!keepsASCII(encoding)) return encoding.substr(0, encoding.find_first_of("\"'>; \n"));
  }
  return {};
}

class ExpansionCheck {
 public:
  explicit ExpansionCheck(const xmlDoc* document) : document_(document) {}

  /// The size of the references below `node` and its siblings when expanded, with the text outside of them if
  /// asked for. Absent above the limits.
  [[nodiscard]] std::optional<std::size_t> sizeOf(const xmlNode* first, bool countText, std::size_t depth) {
    if (depth > kMaxEntityDepth) return std::nullopt;
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
      if (total > kMaxEntityExpansion) return std::nullopt;
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

/// The node's own text, without that of its children.
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

/// The nodes that an entity reference refers to are visited where the entity is declared.
[[nodiscard]] bool holdsNodes(const xmlNode& node) {
  return node.type == XML_ELEMENT_NODE || node.type == XML_ATTRIBUTE_NODE || node.type == XML_DTD_NODE;
}

}  // namespace

Error limitError(std::string failureReason) {
  Error error = Error::make(TarnLumoONOXMLErrorDomain, XML_ERR_INTERNAL_ERROR);
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

Result<void> checkMarkup(Markup markup) {
  const std::string_view text = markup.text;
  std::size_t begin = text.find('<');
  while (begin != std::string_view::npos) {
    const std::size_t next = text.find('<', begin + 1);
    const std::string_view tag = text.substr(begin + 1, std::min(next, text.size()) - begin - 1);
    if (tag.size() > kMaxHarmlessTagSize) {
      const TagSize size = measureTag(tag);
      if (size.attributes > kMaxAttributes || size.namespaceDefinitions > kMaxNamespaceDefinitions)
        return limitError("The tag at line " + lineOf(markup, begin) + " has more than " +
                          std::to_string(kMaxAttributes) + " attributes or " +
                          std::to_string(kMaxNamespaceDefinitions) + " namespace definitions");
      if (tag.size() > kMaxAttributeListBytes && tag.starts_with("!ATTLIST"))
        return limitError("The attribute list declared at line " + lineOf(markup, begin) +
                          " is longer than 4 KiB");
    }
    begin = next;
  }
  return {};
}

Result<void> checkHTMLMarkup(Markup markup) {
  const std::string_view text = markup.text;
  if (text.size() > kMaxSizeInUncommonEncoding) {
    if (const auto encoding = uncommonCharset(text); !encoding.empty())
      return limitError("An HTML document in the encoding " + std::string(encoding) +
                        " may be at most 64 KiB; send it as UTF-8");
  }
  HTMLAttributeCount count;
  for (std::size_t i = text.size(); i-- > 0; count.putInFront(text[i])) {
    if (text[i] == '<' && count.ofTag() > kMaxHTMLAttributes)
      return limitError("The tag at line " + lineOf(markup, i) + " has more than " +
                        std::to_string(kMaxHTMLAttributes) + " attributes");
  }
  return {};
}

Result<void> checkDeclarations(const xmlDoc* document) {
  if (document->intSubset == nullptr || document->intSubset->entities == nullptr) return {};
  if (!ExpansionCheck(document).sizeOf(document->children, false, 0)) {
    Error error = limitError("The document's entities expand to more than 1 MiB or into themselves");
    error.code = XML_ERR_ENTITY_LOOP;
    return error;
  }
  return {};
}

}  // namespace tarn::xml
