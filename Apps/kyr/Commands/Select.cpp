#include "Commands/Select.h"

#include <fmt/format.h>

#include <utility>

#include "Terminal/Json.h"
#include "Terminal/Report.h"
#include "Terminal/Terminal.h"
#include "Terminal/Text.h"
#include "XML/TarnLumoONOCSS.h"
#include "XML/TarnLumoONOXMLDocument.h"

namespace tarn::cli {
namespace {

constexpr std::int64_t kNotEvaluable = 1;

Error notEvaluable(const std::string& expression, const SelectOptions& options) {
  Error error = Error::make("kyr.select", kNotEvaluable,
                            fmt::format("The expression `{}` cannot be evaluated", expression));
  if (options.css) *error.description += fmt::format(" (translated from the selector `{}`)", *options.css);
  error.failureReason =
      "It is malformed, uses a prefix that the document does not declare, or asks for too much work.";
  return error;
}

/// The result of an expression other than elements.
struct Scalar {
  bool isEvaluable = false;
  std::optional<std::string> value;  ///< Absent for a node set.
};

Scalar scalarOf(const TarnLumoONOXMLDocument& document, const std::string& expression) {
  if (!document.functionResultByEvaluatingXPath(expression)) return {};
  // Only node sets can be counted.
  if (document.functionResultByEvaluatingXPath("count(" + expression + ")")) return {true, std::nullopt};
  const auto text = document.functionResultByEvaluatingXPath("string(" + expression + ")");
  return {true, text ? text->stringValue : std::nullopt};
}

Json matchJson(const TarnLumoONOXMLElement& element) {
  Json attributes = Json::object();
  for (const auto& [name, value] : element.attributes()) {
    attributes.get_ref<Json::object_t&>().push_back({name, value});
  }
  return {{"tag", element.tag()},
          {"line", element.lineNumber()},
          {"attributes", std::move(attributes)},
          {"text", element.stringValue()}};
}

/// Written match by match: each match contains the text of its children, so the output for `//*` can be many
/// times the document.
void printJson(const std::string& expression, TarnLumoONOXPathEnumerator* matches,
               const std::optional<std::string>& value) {
  print(fmt::format("{{\"xpath\":{},\"matches\":[", compactText(expression)));
  bool isFirst = true;
  while (matches != nullptr) {
    const auto element = matches->nextObject();
    if (!element) break;
    print((std::exchange(isFirst, false) ? "" : ",") + compactText(matchJson(*element)));
  }
  print(fmt::format("],\"value\":{}}}\n", compactText(json(value))));
}

/// One line: runs of white space become one space.
std::string folded(std::string_view text, std::size_t limit) {
  std::string result;
  bool wasBlank = true;
  for (const char c : text) {
    const bool isBlank = c == ' ' || c == '\t' || c == '\n' || c == '\r';
    if (!isBlank || !wasBlank) result.push_back(isBlank ? ' ' : c);
    wasBlank = isBlank;
    if (result.size() > 4 * limit) break;
  }
  return clipped(printable(result), limit);
}

void printMatch(const TarnLumoONOXMLElement& element, const Terminal& terminal) {
  std::string tag = "<" + element.tag();
  for (const auto& [name, value] : element.attributes()) tag += fmt::format(" {}=\"{}\"", name, value);
  tag += ">";
  const std::string head = fmt::format("{:>7}  ", element.lineNumber());
  const std::size_t room = terminal.width - columns(head);
  const std::string start = clipped(printable(tag), room);
  const std::size_t left = room - columns(start);
  const std::string text = left > 12 ? folded(element.stringValue(), left - 2) : "";
  std::string line = terminal.styled(head, Style::faint) + terminal.styled(start, Style::strong);
  if (!text.empty()) line += "  " + text;
  print(line + "\n");
}

void printText(TarnLumoONOXPathEnumerator* matches, const std::optional<std::string>& value) {
  const Terminal terminal = Terminal::ofStandardOutput();
  std::size_t count = 0;
  while (matches != nullptr) {
    const auto element = matches->nextObject();
    if (!element) break;
    printMatch(*element, terminal);
    ++count;
  }
  print((value ? printable(*value) : counted(count, "match", "matches")) + "\n");
}

}  // namespace

int runSelect(const SelectOptions& options) {
  const auto bytes = loadBytes(options.source);
  if (!bytes) return reportFailure(bytes.error(), options.json);
  const auto document = TarnLumoONOXMLDocument::XMLDocumentWithData(*bytes);
  if (!document) return reportFailure(document.error(), options.json);

  const std::string expression = options.css ? TarnLumoONOXPathFromCSS(*options.css) : *options.xpath;
  const auto matches = (*document)->XPath(expression);
  const Scalar scalar = matches ? Scalar{true, std::nullopt} : scalarOf(**document, expression);
  if (!scalar.isEvaluable) return reportFailure(notEvaluable(expression, options), options.json);
  if (options.json) {
    printJson(expression, matches.get(), scalar.value);
    return kDone;
  }
  if (options.explain) print(printable(expression) + "\n");
  printText(matches.get(), scalar.value);
  return kDone;
}

}  // namespace tarn::cli
