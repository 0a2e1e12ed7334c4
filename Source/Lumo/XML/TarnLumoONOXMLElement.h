#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "XML/TarnLumoONOXPathEnumerator.h"

struct _xmlNode;
class TarnLumoONOXMLDocument;

/// An element as a plain value, which outlives its document.
struct TarnLumoONOXMLElementArchive {
  std::string tag;
  std::map<std::string, std::string, std::less<>> attributes;
  std::string stringValue;
  std::vector<TarnLumoONOXMLElementArchive> children;
};

/// One node of a parsed document: a light value that wraps the node and holds the document weakly.
///
/// An element does not keep its document alive. Once the document is destroyed it acts as an element without
/// name, attributes, text or relatives, except for what it had already computed. Every lookup makes a new
/// wrapper; two wrappers are equal exactly when they wrap the same node. Attributes, text, number and date
/// are computed on first use and stored. XPath results wrap nodes of any kind alike (attributes, text).
///
/// Used by one thread at a time, as is its document.
class TarnLumoONOXMLElement {
 public:
  using Attributes = std::map<std::string, std::string, std::less<>>;
  using ElementBlock = std::function<void(const TarnLumoONOXMLElement& element)>;
  using IndexedElementBlock =
      std::function<void(const TarnLumoONOXMLElement& element, std::size_t index, bool& stop)>;
  using NodeTest = std::function<bool(const _xmlNode* node, bool& stop)>;

  /// `node` belongs to the document's tree.
  TarnLumoONOXMLElement(std::weak_ptr<const TarnLumoONOXMLDocument> document, _xmlNode* node);
  /// An element read back: tag, attributes and text without a node, and so without relatives.
  explicit TarnLumoONOXMLElement(const TarnLumoONOXMLElementArchive& archive);
  /// A copy wraps the same node; it computes its own values anew.
  TarnLumoONOXMLElement(const TarnLumoONOXMLElement& other);
  TarnLumoONOXMLElement(TarnLumoONOXMLElement&& other) noexcept;
  TarnLumoONOXMLElement& operator=(TarnLumoONOXMLElement other) noexcept;
  ~TarnLumoONOXMLElement();

  /// Null when the document has been destroyed.
  [[nodiscard]] _xmlNode* xmlNode() const;
  /// Null when the document has been destroyed.
  [[nodiscard]] std::shared_ptr<const TarnLumoONOXMLDocument> document() const { return document_.lock(); }

  /// The local name, as written.
  [[nodiscard]] std::string tag() const;
  /// The prefix (not the URI) of the node's namespace; absent without namespace or prefix.
  [[nodiscard]] std::optional<std::string> namespacePrefix() const;
  [[nodiscard]] std::optional<std::string> namespaceURI() const;
  /// From 1; libxml2 counts to 65535 and stays there. 0 for a node without a line.
  [[nodiscard]] std::uint64_t lineNumber() const;
  /// By local name, entities resolved; of two with one local name the first.
  [[nodiscard]] Attributes attributes() const&;
  [[nodiscard]] Attributes attributes() &&;
  /// The text of the node and all below it, entities resolved; empty without any.
  [[nodiscard]] std::string stringValue() const&;
  [[nodiscard]] std::string stringValue() &&;
  /// An element converts to its text.
  explicit operator std::string() const { return stringValue(); }
  [[nodiscard]] bool isBlank() const { return cachedText().empty(); }
  /// The text as an en_US number, grouping commas allowed.
  [[nodiscard]] std::optional<double> numberValue() const;
  /// The text as a date written yyyy-MM-dd'T'HH:mm:ssZ.
  [[nodiscard]] std::optional<std::chrono::system_clock::time_point> dateValue() const;
  /// A plain stored text, absent unless set.
  [[nodiscard]] const std::optional<std::string>& rawXMLString() const { return rawXMLString_; }
  void setRawXMLString(std::optional<std::string> text) { rawXMLString_ = std::move(text); }

  /// The neighbours are nodes of any kind: the sibling of an indented element is white space.
  [[nodiscard]] std::optional<TarnLumoONOXMLElement> parent() const;
  [[nodiscard]] std::optional<TarnLumoONOXMLElement> previousSibling() const;
  [[nodiscard]] std::optional<TarnLumoONOXMLElement> nextSibling() const;

  /// By local name, with any prefix; a default that the document type declares counts.
  [[nodiscard]] std::optional<std::string> valueForAttribute(std::string_view name) const;
  [[nodiscard]] std::optional<std::string> valueForAttribute(std::string_view name,
                                                             std::string_view namespaceURI) const;
  [[nodiscard]] std::optional<std::string> objectForKeyedSubscript(std::string_view name) const {
    return valueForAttribute(name);
  }

  /// The child elements in document order.
  [[nodiscard]] std::vector<TarnLumoONOXMLElement> children() const;
  [[nodiscard]] bool hasChildren() const;
  /// The child element at `index` of `children`; an index out of range is a programming error.
  [[nodiscard]] TarnLumoONOXMLElement objectAtIndexedSubscript(std::size_t index) const;
  /// The elements among the child nodes with these numbers. All child nodes are numbered, text and comments
  /// too.
  [[nodiscard]] std::vector<TarnLumoONOXMLElement> childrenAtIndexes(
      const std::set<std::size_t>& indexes) const;
  /// The numbers of the child nodes that pass, up to the one that sets `stop`; absent without a test.
  [[nodiscard]] std::optional<std::set<std::size_t>> indexesOfChildrenPassingTest(const NodeTest& test) const;

  /// Tags (and prefixes) match without regard to ASCII case. An absent namespace matches any; a given one is
  /// a prefix, and matches no element without one.
  [[nodiscard]] std::optional<TarnLumoONOXMLElement> firstChildWithTag(
      std::string_view tag, std::optional<std::string_view> inNamespace = std::nullopt) const;
  [[nodiscard]] std::vector<TarnLumoONOXMLElement> childrenWithTag(
      std::string_view tag, std::optional<std::string_view> inNamespace = std::nullopt) const;

  /// XPath 1.0 with this node as the context. Prefixes are those that the node and its ancestors define (the
  /// outermost definition of a prefix counts) and those that the document defines for default namespaces.
  ///
  /// Null when nothing matches, when the result is no node set, and when the expression cannot be evaluated:
  /// malformed, an unknown prefix, or more work than a query may take.
  [[nodiscard]] std::unique_ptr<TarnLumoONOXPathEnumerator> XPath(std::string_view expression) const;
  [[nodiscard]] std::optional<TarnLumoONOXMLElement> firstChildWithXPath(std::string_view expression) const;
  /// The scalar that an expression yields; absent when it cannot be evaluated.
  [[nodiscard]] std::optional<TarnLumoONOXPathFunctionResult> functionResultByEvaluatingXPath(
      std::string_view expression) const;
  /// Calls back for each match in document order, until the call that sets `stop`.
  void enumerateElementsWithXPath(std::string_view expression, const IndexedElementBlock& block) const;
  void enumerateElementsWithXPath(std::string_view expression, const ElementBlock& block) const;

  /// The same with a CSS selector (see `TarnLumoONOXPathFromCSS`).
  [[nodiscard]] std::unique_ptr<TarnLumoONOXPathEnumerator> CSS(std::string_view selector) const;
  [[nodiscard]] std::optional<TarnLumoONOXMLElement> firstChildWithCSS(std::string_view selector) const;
  void enumerateElementsWithCSS(std::string_view selector, const IndexedElementBlock& block) const;
  void enumerateElementsWithCSS(std::string_view selector, const ElementBlock& block) const;

  [[nodiscard]] TarnLumoONOXMLElementArchive archive() const;

  [[nodiscard]] bool isEqual(const TarnLumoONOXMLElement& other) const { return node_ == other.node_; }
  [[nodiscard]] std::size_t hash() const;
  /// The node serialised as XML.
  [[nodiscard]] std::string description() const;
  friend bool operator==(const TarnLumoONOXMLElement& a, const TarnLumoONOXMLElement& b) {
    return a.isEqual(b);
  }

 private:
  struct Cache;

  [[nodiscard]] std::optional<TarnLumoONOXMLElement> wrap(_xmlNode* node) const;
  [[nodiscard]] Cache& cache() const;
  [[nodiscard]] Attributes& cachedAttributes() const;
  [[nodiscard]] const std::string& cachedText() const;

  std::weak_ptr<const TarnLumoONOXMLDocument> document_;
  _xmlNode* node_ = nullptr;
  std::optional<std::string> rawXMLString_;
  mutable std::unique_ptr<Cache> cache_;
};
