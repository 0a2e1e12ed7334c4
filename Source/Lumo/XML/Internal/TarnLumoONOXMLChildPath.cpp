#include "XML/Internal/TarnLumoONOXMLChildPath.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "XML/Internal/TarnLumoONOXMLHandles.h"
#include "XML/Internal/TarnLumoONOXPath.h"
#include "XML/TarnLumoONOXMLDocument.h"

namespace tarn::xml {
namespace {

// One bit for each alternative.
using Alternatives = std::uint32_t;
constexpr std::size_t kMaxAlternatives = 32;

[[nodiscard]] bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

[[nodiscard]] bool isName(std::string_view text) {
  return !text.empty() && isLetter(text.front()) &&
         std::all_of(text.begin(), text.end(), [](char c) { return isLetter(c) || (c >= '0' && c <= '9'); });
}

[[nodiscard]] std::string_view withoutSpaces(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(' ');
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

}  // namespace

std::optional<ChildPath::Steps> ChildPath::parseSteps(std::string_view path) {
  Steps steps;
  while (true) {
    const std::size_t end = path.find('/');
    const std::string_view step = path.substr(0, end);
    const std::size_t colon = step.find(':');
    const bool prefixed = colon != std::string_view::npos;
    const std::string_view prefix = prefixed ? step.substr(0, colon) : std::string_view();
    const std::string_view name = prefixed ? step.substr(colon + 1) : step;
    if (!isName(name) || (prefixed && !isName(prefix))) return std::nullopt;
    steps.push_back({prefix, name});
    if (end == std::string_view::npos) return steps;
    path.remove_prefix(end + 1);
  }
}

std::optional<ChildPath> ChildPath::parse(std::string_view expression) {
  ChildPath result;
  while (true) {
    const std::size_t bar = expression.find('|');
    std::string_view path = withoutSpaces(expression.substr(0, bar));
    const bool fromRoot = path.starts_with('/');
    if (!result.alternatives_.empty() && fromRoot != result.fromRoot_) return std::nullopt;
    result.fromRoot_ = fromRoot;
    path.remove_prefix(fromRoot ? 1 : path.starts_with("./") ? 2 : 0);
    auto steps = parseSteps(path);
    if (!steps || result.alternatives_.size() == kMaxAlternatives) return std::nullopt;
    result.alternatives_.push_back(*std::move(steps));
    if (bar == std::string_view::npos) return result;
    expression.remove_prefix(bar + 1);
  }
}

/// Follows all alternatives at once, so that matches are in document order and none is there twice.
class ChildPath::Walk {
 public:
  Walk(const ChildPath& path, const TarnLumoONOXMLDocument& document, const xmlNode* context,
       std::size_t limit)
      : limit_(limit) {
    for (const Steps& steps : path.alternatives_) {
      auto& tests = alternatives_.emplace_back();
      for (const Step& step : steps) {
        const xmlChar* uri =
            step.prefix.empty() ? nullptr : namespaceForPrefix(document, context, step.prefix);
        if (!step.prefix.empty() && uri == nullptr) knowsEveryPrefix_ = false;
        tests.push_back({step.name, uri});
      }
    }
  }

  [[nodiscard]] std::vector<xmlNode*> from(const xmlNode* node) && {
    if (knowsEveryPrefix_) {
      const auto all = static_cast<Alternatives>((std::uint64_t{1} << alternatives_.size()) - 1);
      descend(node, 0, all);
    }
    return std::move(found_);
  }

 private:
  struct Test {
    std::string_view name;
    const xmlChar* uri;
  };

  [[nodiscard]] static bool passes(const xmlNode* node, const Test& test) {
    if (view(node->name) != test.name) return false;
    if (test.uri == nullptr) return node->ns == nullptr;
    return node->ns != nullptr && xmlStrEqual(node->ns->href, test.uri) != 0;
  }

  void descend(const xmlNode* node, std::size_t depth, Alternatives open) {
    for (xmlNode* child = node->children; child != nullptr && found_.size() < limit_; child = child->next) {
      if (child->type != XML_ELEMENT_NODE) continue;
      Alternatives deeper = 0;
      bool matched = false;
      for (std::size_t i = 0; i < alternatives_.size(); ++i) {
        const Alternatives bit = Alternatives{1} << i;
        if ((open & bit) == 0 || !passes(child, alternatives_[i][depth])) continue;
        if (depth + 1 == alternatives_[i].size()) {
          matched = true;
        } else {
          deeper |= bit;
        }
      }
      if (matched) found_.push_back(child);
      if (deeper != 0) descend(child, depth + 1, deeper);
    }
  }

  std::vector<std::vector<Test>> alternatives_;
  bool knowsEveryPrefix_ = true;
  std::size_t limit_;
  std::vector<xmlNode*> found_;
};

std::vector<xmlNode*> ChildPath::nodes(const TarnLumoONOXMLDocument& document, xmlNode* node,
                                       std::size_t limit) const {
  const auto* start = fromRoot_ ? reinterpret_cast<const xmlNode*>(node->doc) : node;
  // An entity reference's children are the entity's declaration, which no path leads through.
  if (start->type == XML_ENTITY_REF_NODE) return {};
  return Walk(*this, document, node, limit).from(start);
}

}  // namespace tarn::xml
