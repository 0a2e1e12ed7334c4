#include "XML/TarnLumoONOXMLElement.h"

#include <limits>
#include <utility>

#include "Platform/ProgrammingError.h"
#include "XML/Internal/TarnLumoONOXMLChildPath.h"
#include "XML/Internal/TarnLumoONOXMLNode.h"
#include "XML/Internal/TarnLumoONOXPath.h"
#include "XML/TarnLumoONOCSS.h"
#include "XML/TarnLumoONOXMLDocument.h"

namespace {

using tarn::xml::attributeOf;
using tarn::xml::contentOf;
using tarn::xml::firstChildElement;
using tarn::xml::namespacePrefixOf;
using tarn::xml::namespaceURIOf;
using tarn::xml::nextElement;
using tarn::xml::takeText;
using tarn::xml::valueOf;
using tarn::xml::view;
using tarn::xml::xmlText;

}  // namespace

/// Computed values; an archived element has no others.
struct TarnLumoONOXMLElement::Cache {
  std::string tag;
  std::optional<Attributes> attributes;
  std::optional<std::string> stringValue;
  std::optional<std::optional<double>> numberValue;
  std::optional<std::optional<std::chrono::system_clock::time_point>> dateValue;
};

TarnLumoONOXMLElement::TarnLumoONOXMLElement(std::weak_ptr<const TarnLumoONOXMLDocument> document,
                                             _xmlNode* node)
    : document_(std::move(document)), node_(node) {}

TarnLumoONOXMLElement::TarnLumoONOXMLElement(const TarnLumoONOXMLElementArchive& archive)
    : cache_(new Cache{archive.tag, archive.attributes, archive.stringValue, {}, {}}) {}

TarnLumoONOXMLElement::TarnLumoONOXMLElement(const TarnLumoONOXMLElement& other)
    : document_(other.document_),
      node_(other.node_),
      rawXMLString_(other.rawXMLString_),
      cache_(other.node_ == nullptr && other.cache_ ? new Cache(*other.cache_) : nullptr) {}

TarnLumoONOXMLElement::TarnLumoONOXMLElement(TarnLumoONOXMLElement&& other) noexcept = default;
TarnLumoONOXMLElement::~TarnLumoONOXMLElement() = default;

TarnLumoONOXMLElement& TarnLumoONOXMLElement::operator=(TarnLumoONOXMLElement other) noexcept {
  document_ = std::move(other.document_);
  node_ = other.node_;
  rawXMLString_ = std::move(other.rawXMLString_);
  cache_ = std::move(other.cache_);
  return *this;
}

TarnLumoONOXMLElement::Cache& TarnLumoONOXMLElement::cache() const {
  if (!cache_) cache_ = std::make_unique<Cache>();
  return *cache_;
}

std::optional<TarnLumoONOXMLElement> TarnLumoONOXMLElement::wrap(_xmlNode* node) const {
  if (node == nullptr) return std::nullopt;
  return TarnLumoONOXMLElement(document_, node);
}

_xmlNode* TarnLumoONOXMLElement::xmlNode() const {
  return document_.expired() ? nullptr : node_;
}

std::string TarnLumoONOXMLElement::tag() const {
  if (const auto alive = document_.lock()) return std::string(view(node_->name));
  return cache_ ? cache_->tag : std::string();
}

std::optional<std::string> TarnLumoONOXMLElement::namespacePrefix() const {
  const auto alive = document_.lock();
  return alive ? namespacePrefixOf(node_) : std::nullopt;
}

std::optional<std::string> TarnLumoONOXMLElement::namespaceURI() const {
  const auto alive = document_.lock();
  return alive ? namespaceURIOf(node_) : std::nullopt;
}

std::uint64_t TarnLumoONOXMLElement::lineNumber() const {
  const auto alive = document_.lock();
  if (!alive) return 0;
  const long line = xmlGetLineNo(node_);
  return line < 0 ? 0 : static_cast<std::uint64_t>(line);
}

TarnLumoONOXMLElement::Attributes& TarnLumoONOXMLElement::cachedAttributes() const {
  Cache& values = cache();
  if (values.attributes) return *values.attributes;
  values.attributes.emplace();
  const auto alive = document_.lock();
  if (!alive || node_->type != XML_ELEMENT_NODE) return *values.attributes;
  for (const xmlAttr* attribute = node_->properties; attribute != nullptr; attribute = attribute->next) {
    const std::string_view name = view(attribute->name);
    if (!values.attributes->contains(name)) values.attributes->emplace(name, valueOf(node_, attribute));
  }
  return *values.attributes;
}

TarnLumoONOXMLElement::Attributes TarnLumoONOXMLElement::attributes() const& {
  return cachedAttributes();
}

TarnLumoONOXMLElement::Attributes TarnLumoONOXMLElement::attributes() && {
  return std::move(cachedAttributes());
}

const std::string& TarnLumoONOXMLElement::cachedText() const {
  Cache& values = cache();
  if (!values.stringValue) {
    const auto alive = document_.lock();
    values.stringValue = alive ? contentOf(node_) : std::string();
  }
  return *values.stringValue;
}

std::string TarnLumoONOXMLElement::stringValue() const& {
  return cachedText();
}

std::string TarnLumoONOXMLElement::stringValue() && {
  if (cache_ && cache_->stringValue) return *std::move(cache_->stringValue);
  const auto alive = document_.lock();
  return alive ? contentOf(node_) : std::string();
}

std::optional<double> TarnLumoONOXMLElement::numberValue() const {
  Cache& values = cache();
  if (!values.numberValue) {
    const auto alive = document_.lock();
    if (!alive) return std::nullopt;
    values.numberValue = alive->numberFormatter().numberFromString(cachedText());
  }
  return *values.numberValue;
}

std::optional<std::chrono::system_clock::time_point> TarnLumoONOXMLElement::dateValue() const {
  Cache& values = cache();
  if (!values.dateValue) {
    const auto alive = document_.lock();
    if (!alive) return std::nullopt;
    values.dateValue = alive->dateFormatter().dateFromString(cachedText());
  }
  return *values.dateValue;
}

std::optional<TarnLumoONOXMLElement> TarnLumoONOXMLElement::parent() const {
  const auto alive = document_.lock();
  return alive ? wrap(node_->parent) : std::nullopt;
}

std::optional<TarnLumoONOXMLElement> TarnLumoONOXMLElement::previousSibling() const {
  const auto alive = document_.lock();
  return alive ? wrap(node_->prev) : std::nullopt;
}

std::optional<TarnLumoONOXMLElement> TarnLumoONOXMLElement::nextSibling() const {
  const auto alive = document_.lock();
  return alive ? wrap(node_->next) : std::nullopt;
}

std::optional<std::string> TarnLumoONOXMLElement::valueForAttribute(std::string_view name) const {
  if (const auto alive = document_.lock()) return attributeOf(node_, name);
  if (!cache_ || !cache_->attributes) return std::nullopt;
  const auto known = cache_->attributes->find(name);
  return known == cache_->attributes->end() ? std::nullopt : std::optional(known->second);
}

std::optional<std::string> TarnLumoONOXMLElement::valueForAttribute(std::string_view name,
                                                                    std::string_view namespaceURI) const {
  const auto alive = document_.lock();
  if (!alive || node_->type != XML_ELEMENT_NODE) return std::nullopt;
  return takeText(xmlGetNsProp(node_, xmlText(std::string(name)), xmlText(std::string(namespaceURI))));
}

std::vector<TarnLumoONOXMLElement> TarnLumoONOXMLElement::children() const {
  std::vector<TarnLumoONOXMLElement> elements;
  const auto alive = document_.lock();
  if (!alive) return elements;
  for (_xmlNode* child = firstChildElement(node_); child != nullptr; child = nextElement(child->next))
    elements.emplace_back(document_, child);
  return elements;
}

bool TarnLumoONOXMLElement::hasChildren() const {
  const auto alive = document_.lock();
  return alive && firstChildElement(node_) != nullptr;
}

TarnLumoONOXMLElement TarnLumoONOXMLElement::objectAtIndexedSubscript(std::size_t index) const {
  auto elements = children();
  if (index >= elements.size())
    tarn::failProgramming("-[TarnLumoONOXMLElement objectAtIndexedSubscript:]: index " +
                          std::to_string(index) + " is beyond the element's " +
                          std::to_string(elements.size()) + " children");
  return std::move(elements[index]);
}

std::vector<TarnLumoONOXMLElement> TarnLumoONOXMLElement::childrenAtIndexes(
    const std::set<std::size_t>& indexes) const {
  std::vector<TarnLumoONOXMLElement> elements;
  const auto alive = document_.lock();
  if (!alive) return elements;
  std::size_t number = 0;
  for (_xmlNode* child = node_->children; child != nullptr; child = child->next, ++number) {
    if (child->type == XML_ELEMENT_NODE && indexes.contains(number)) elements.emplace_back(document_, child);
  }
  return elements;
}

std::optional<std::set<std::size_t>> TarnLumoONOXMLElement::indexesOfChildrenPassingTest(
    const NodeTest& test) const {
  if (!test) return std::nullopt;
  std::set<std::size_t> indexes;
  const auto alive = document_.lock();
  if (!alive) return indexes;
  bool stop = false;
  std::size_t number = 0;
  for (const _xmlNode* child = node_->children; child != nullptr && !stop; child = child->next, ++number) {
    if (test(child, stop)) indexes.insert(number);
  }
  return indexes;
}

std::optional<TarnLumoONOXMLElement> TarnLumoONOXMLElement::firstChildWithTag(
    std::string_view tag, std::optional<std::string_view> inNamespace) const {
  const auto alive = document_.lock();
  if (!alive) return std::nullopt;
  for (_xmlNode* child = node_->children; child != nullptr; child = child->next) {
    if (!TarnLumoONOXMLNodeMatchesTagInNamespace(child, tag, inNamespace)) continue;
    // The first match ends the search, and one that is no element is not returned: libxml2 names text "text".
    return child->type == XML_ELEMENT_NODE ? wrap(child) : std::nullopt;
  }
  return std::nullopt;
}

std::vector<TarnLumoONOXMLElement> TarnLumoONOXMLElement::childrenWithTag(
    std::string_view tag, std::optional<std::string_view> inNamespace) const {
  std::vector<TarnLumoONOXMLElement> elements;
  const auto alive = document_.lock();
  if (!alive) return elements;
  for (_xmlNode* child = firstChildElement(node_); child != nullptr; child = nextElement(child->next)) {
    if (TarnLumoONOXMLNodeMatchesTagInNamespace(child, tag, inNamespace))
      elements.emplace_back(document_, child);
  }
  return elements;
}

std::unique_ptr<TarnLumoONOXPathEnumerator> TarnLumoONOXMLElement::XPath(std::string_view expression) const {
  const auto alive = document_.lock();
  if (!alive) return nullptr;
  return alive->enumeratorWithXPathObject(
      tarn::xml::evaluate(*alive, node_, std::string(expression)).release());
}

std::optional<TarnLumoONOXMLElement> TarnLumoONOXMLElement::firstChildWithXPath(
    std::string_view expression) const {
  const auto alive = document_.lock();
  if (!alive) return std::nullopt;
  if (const auto path = tarn::xml::ChildPath::parse(expression)) {
    const auto nodes = path->nodes(*alive, node_, 1);
    return nodes.empty() ? std::nullopt : wrap(nodes.front());
  }
  const auto matches = XPath(expression);
  return matches ? matches->nextObject() : std::nullopt;
}

std::optional<TarnLumoONOXPathFunctionResult> TarnLumoONOXMLElement::functionResultByEvaluatingXPath(
    std::string_view expression) const {
  const auto alive = document_.lock();
  if (!alive) return std::nullopt;
  const auto result = tarn::xml::evaluate(*alive, node_, std::string(expression));
  if (!result) return std::nullopt;
  TarnLumoONOXPathFunctionResult values{result->boolval >= 1, result->floatval, std::nullopt};
  if (result->stringval != nullptr) values.stringValue = view(result->stringval);
  return values;
}

void TarnLumoONOXMLElement::enumerateElementsWithXPath(std::string_view expression,
                                                       const IndexedElementBlock& block) const {
  if (!block) return;
  const auto alive = document_.lock();
  if (!alive) return;
  bool stop = false;
  std::size_t index = 0;
  if (const auto path = tarn::xml::ChildPath::parse(expression)) {
    for (_xmlNode* node : path->nodes(*alive, node_, std::numeric_limits<std::size_t>::max())) {
      block(TarnLumoONOXMLElement(document_, node), index++, stop);
      if (stop) return;
    }
    return;
  }
  const auto matches = XPath(expression);
  if (!matches) return;
  for (auto element = matches->nextObject(); element && !stop; element = matches->nextObject())
    block(*element, index++, stop);
}

void TarnLumoONOXMLElement::enumerateElementsWithXPath(std::string_view expression,
                                                       const ElementBlock& block) const {
  if (!block) return;
  enumerateElementsWithXPath(expression, [&block](const TarnLumoONOXMLElement& element, std::size_t /*index*/,
                                                  bool& /*stop*/) { block(element); });
}

std::unique_ptr<TarnLumoONOXPathEnumerator> TarnLumoONOXMLElement::CSS(std::string_view selector) const {
  return XPath(TarnLumoONOXPathFromCSS(selector));
}

std::optional<TarnLumoONOXMLElement> TarnLumoONOXMLElement::firstChildWithCSS(
    std::string_view selector) const {
  return firstChildWithXPath(TarnLumoONOXPathFromCSS(selector));
}

void TarnLumoONOXMLElement::enumerateElementsWithCSS(std::string_view selector,
                                                     const IndexedElementBlock& block) const {
  enumerateElementsWithXPath(TarnLumoONOXPathFromCSS(selector), block);
}

void TarnLumoONOXMLElement::enumerateElementsWithCSS(std::string_view selector,
                                                     const ElementBlock& block) const {
  enumerateElementsWithXPath(TarnLumoONOXPathFromCSS(selector), block);
}

TarnLumoONOXMLElementArchive TarnLumoONOXMLElement::archive() const {
  TarnLumoONOXMLElementArchive archive{tag(), attributes(), stringValue(), {}};
  for (const auto& child : children()) archive.children.push_back(child.archive());
  return archive;
}

std::size_t TarnLumoONOXMLElement::hash() const {
  return reinterpret_cast<std::size_t>(node_);
}

std::string TarnLumoONOXMLElement::description() const {
  const auto alive = document_.lock();
  if (!alive) return {};
  return tarn::xml::serialised(node_);
}
