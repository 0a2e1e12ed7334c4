#include <string_view>
#include <vector>

#include "FuzzTarget.h"
#include "Platform/Text.h"
#include "XML/TarnLumoONOCSS.h"
#include "XML/TarnLumoONOXMLDocument.h"

namespace {

void look(const TarnLumoONOXMLElement& element) {
  require(tarn::isUTF8(element.tag()) && tarn::isUTF8(element.stringValue()) &&
          tarn::isUTF8(element.description()));
  for (const auto& [name, value] : element.attributes()) {
    require(tarn::isUTF8(name) && tarn::isUTF8(value));
    require(element.valueForAttribute(name) == value);
  }
  const auto children = element.children();
  const auto all = element.indexesOfChildrenPassingTest([](const _xmlNode*, bool&) { return true; });
  require(children.size() == element.childrenAtIndexes(*all).size());
  if (!children.empty()) require(children[0].parent() == element);
  static_cast<void>(element.nextSibling());
  static_cast<void>(element.previousSibling());
  static_cast<void>(element.lineNumber());
  static_cast<void>(element.namespacePrefix());
  static_cast<void>(element.namespaceURI());
  static_cast<void>(element.numberValue());
  static_cast<void>(element.dateValue());
}

/// However an expression is evaluated, the matches are the same.
void query(const TarnLumoONOXMLElement& context, std::string_view expression) {
  const auto enumerator = context.XPath(expression);
  const auto matches = enumerator ? enumerator->allObjects() : std::vector<TarnLumoONOXMLElement>();
  std::vector<TarnLumoONOXMLElement> enumerated;
  context.enumerateElementsWithXPath(expression,
                                     [&](const TarnLumoONOXMLElement& e) { enumerated.push_back(e); });
  require(matches == enumerated);
  const auto first = context.firstChildWithXPath(expression);
  require(first.has_value() == !matches.empty() && (!first || *first == matches.front()));
  static_cast<void>(context.functionResultByEvaluatingXPath(expression));
  for (std::size_t i = 0; i < matches.size() && i < 50; ++i) look(matches[i]);
}

}  // namespace

/// The first line is an expression or a selector, the rest a document.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::size_t end = input.find('\n');
  const std::string_view expression = input.substr(0, end);
  const std::string_view bytes = end == std::string_view::npos ? std::string_view() : input.substr(end + 1);
  const std::string selector = TarnLumoONOXPathFromCSS(expression);
  for (const auto& parsed : {TarnLumoONOXMLDocument::XMLDocumentWithData(bytes),
                             TarnLumoONOXMLDocument::HTMLDocumentWithData(bytes)}) {
    if (!parsed) continue;
    const auto& root = *(*parsed)->rootElement();
    look(root);
    query(root, expression);
    query(root, selector);
    if (const auto children = root.children(); !children.empty()) query(children[0], expression);
  }
  return 0;
}
