#pragma once

#include <libxml/tree.h>

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

class TarnLumoONOXMLDocument;

namespace tarn::xml {

/// The location paths that walk from parent to child by name, such as "/a/b:c" or "./a/b | ./a/c", evaluated
/// straight on the tree: the XPath engine makes a context and a function table for every query, which would
/// be most of the cost of reading a document.
///
/// Refers to the expression's text, which must outlive it.
class ChildPath {
 public:
  /// Absent for every other expression.
  [[nodiscard]] static std::optional<ChildPath> parse(std::string_view expression);

  /// The first `limit` nodes of the XPath engine's result at `node`, in document order.
  [[nodiscard]] std::vector<xmlNode*> nodes(const TarnLumoONOXMLDocument& document, xmlNode* node,
                                            std::size_t limit) const;

 private:
  struct Step {
    std::string_view prefix;
    std::string_view name;
  };
  using Steps = std::vector<Step>;
  class Walk;

  [[nodiscard]] static std::optional<Steps> parseSteps(std::string_view path);

  bool fromRoot_ = false;
  std::vector<Steps> alternatives_;
};

}  // namespace tarn::xml
