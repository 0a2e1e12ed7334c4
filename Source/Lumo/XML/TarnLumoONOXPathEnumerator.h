#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct _xmlNode;
struct _xmlXPathObject;
class TarnLumoONOXMLDocument;
class TarnLumoONOXMLElement;

/// The scalar result of an XPath expression: the field of the expression's own type is set, the others are
/// false, 0 and absent.
struct TarnLumoONOXPathFunctionResult {
  bool boolValue = false;
  double numericValue = 0;
  std::optional<std::string> stringValue;
};

/// Hands out the nodes that an XPath query matched, in document order. Keeps the document alive. Used by one
/// thread at a time.
///
/// Namespace nodes, which have no place in the tree, are left out.
class TarnLumoONOXPathEnumerator {
 public:
  /// Takes ownership of `xmlXPath`, a result with a node set.
  TarnLumoONOXPathEnumerator(std::shared_ptr<const TarnLumoONOXMLDocument> document,
                             _xmlXPathObject* xmlXPath);
  ~TarnLumoONOXPathEnumerator();
  TarnLumoONOXPathEnumerator(const TarnLumoONOXPathEnumerator&) = delete;
  TarnLumoONOXPathEnumerator& operator=(const TarnLumoONOXPathEnumerator&) = delete;

  /// How many nodes there are.
  [[nodiscard]] std::size_t count() const { return nodes_.size(); }
  /// The next node; absent from the end on.
  [[nodiscard]] std::optional<TarnLumoONOXMLElement> nextObject();
  /// Absent when `index` is not below the number of nodes.
  [[nodiscard]] std::optional<TarnLumoONOXMLElement> objectAtIndex(std::size_t index) const;
  /// Every node, also those that `nextObject` has returned.
  [[nodiscard]] std::vector<TarnLumoONOXMLElement> allObjects() const;

 private:
  struct Free {
    void operator()(_xmlXPathObject* object) const;
  };

  std::shared_ptr<const TarnLumoONOXMLDocument> document_;
  std::unique_ptr<_xmlXPathObject, Free> xmlXPath_;
  std::vector<_xmlNode*> nodes_;
  std::size_t cursor_ = 0;
};
