#include "XML/TarnLumoONOCSS.h"

#include <cstddef>
#include <optional>
#include <vector>

#include "Platform/RegularExpression.h"
#include "Platform/Text.h"

namespace {

using tarn::RegularExpression;

struct Expressions {
  RegularExpression id{R"(\#([\w-_]+))"};
  RegularExpression className{R"(\.([^\.]+))"};
  RegularExpression attribute{R"(\[(\w+)\])"};
};

const Expressions& expressions() {
  static const Expressions& shared = *new Expressions;  // never destroyed: used until the process ends
  return shared;
}

[[nodiscard]] std::vector<std::string_view> pieces(std::string_view text, char separator) {
  std::vector<std::string_view> result;
  std::size_t end = 0;
  while ((end = text.find(separator)) != std::string_view::npos) {
    result.push_back(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
  result.push_back(text);
  return result;
}

/// Splits at every single white-space character, so a run of them yields empty tokens.
[[nodiscard]] std::vector<std::string_view> tokensOf(std::string_view group) {
  std::vector<std::string_view> tokens;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < group.size();) {
    const std::size_t space = tarn::leadingSpace(group.substr(i));
    if (space == 0) {
      ++i;
      continue;
    }
    tokens.push_back(group.substr(begin, i - begin));
    begin = i += space;
  }
  tokens.push_back(group.substr(begin));
  return tokens;
}

/// The byte position of a code point's begin; the text's end for one beyond it.
[[nodiscard]] std::size_t byteOffset(std::string_view text, std::size_t codePoint) {
  std::size_t i = 0;
  for (; i < text.size(); ++i) {
    const bool begins = (static_cast<unsigned char>(text[i]) & 0xc0U) != 0x80U;
    if (begins && codePoint-- == 0) break;
  }
  return i;
}

[[nodiscard]] std::string_view codePoints(std::string_view text, std::size_t begin, std::size_t length) {
  text.remove_prefix(byteOffset(text, begin));
  return text.substr(0, byteOffset(text, length));
}

[[nodiscard]] std::size_t lengthInCodePoints(std::string_view text) {
  std::size_t length = 0;
  for (const char c : text) length += (static_cast<unsigned char>(c) & 0xc0U) != 0x80U ? 1 : 0;
  return length;
}

[[nodiscard]] std::string translateSimpleSelector(std::string_view token, std::string_view selector) {
  const std::size_t special = token.find_first_of("#.[]");
  if (special == std::string_view::npos) return std::string(token);
  std::string result(token.substr(0, special));
  const std::string nameTest = special == 0 ? "*" : "";

  // The id is looked for in the whole selector up to the token's length, and cut out of the token at the
  // place where the selector has it: right for a selector of one token, and unchanged for longer ones.
  const auto ids = expressions().id.matches(codePoints(selector, 0, lengthInCodePoints(token)));
  if (!ids.empty() && ids.front().capture) {
    const auto id = codePoints(token, ids.front().captureBegin, ids.front().captureLength);
    result.append(nameTest).append("[@id = '").append(id).append("']");
  }
  for (const auto& match : expressions().className.matches(token)) {
    if (!match.capture) continue;
    result.append(nameTest).append("[contains(concat(' ',normalize-space(@class),' '),' ");
    result.append(*match.capture).append(" ')]");
  }
  for (const auto& match : expressions().attribute.matches(token)) {
    if (match.capture) result.append("[@").append(*match.capture).append("]");
  }
  return result;
}

[[nodiscard]] std::optional<std::string_view> axisOf(std::string_view combinator) {
  if (combinator == ">") return "";
  if (combinator == "+") return "following-sibling::*[1]/self::";
  if (combinator == "~") return "following-sibling::";
  return std::nullopt;
}

[[nodiscard]] std::string translateGroup(std::string_view group, std::string_view selector) {
  std::string path = "./";
  std::optional<std::string_view> axis;
  const auto tokens = tokensOf(tarn::trimmedOfSpaces(group));
  for (std::size_t index = 0; index < tokens.size(); ++index) {
    const std::string_view token = tokens[index];
    if (token == "*" && index != 0) {
      path += "//*";
    } else if (const auto combinator = axisOf(token)) {
      axis = combinator;
    } else {
      if (index != 0 && !axis) axis = "descendant::";
      path.append("/").append(axis.value_or("")).append(translateSimpleSelector(token, selector));
      axis.reset();
    }
  }
  return path;
}

}  // namespace

std::string TarnLumoONOXPathFromCSS(std::string_view selector) {
  std::string expression;
  for (const std::string_view group : pieces(selector, ',')) {
    if (group.empty()) continue;
    if (!expression.empty()) expression += " | ";
    expression += translateGroup(group, selector);
  }
  return expression;
}
