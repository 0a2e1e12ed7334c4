#include "Lumo/Internal/TarnLumoNamespaceReview.h"

#include <optional>
#include <string_view>

namespace tarn {
namespace {

using Element = TarnLumoONOXMLElement;

[[nodiscard]] std::string qualifiedName(const Element& element) {
  const auto prefix = element.namespacePrefix();
  return prefix ? *prefix + ":" + element.tag() : element.tag();
}

[[nodiscard]] std::string inNamespace(const Element& element) {
  const auto uri = element.namespaceURI();
  return uri ? " in the namespace " + quoted(*uri) : "";
}

[[nodiscard]] std::optional<Element> childOfEither(const Element& parent, std::string_view one,
                                                   std::string_view other) {
  auto child = parent.firstChildWithTag(one);
  return child ? child : parent.firstChildWithTag(other);
}

}  // namespace

void reviewRoot(const TarnLumoONOXMLDocument& xml, WarningCollector& warnings) {
  if (!xml.rootElement() || xml.firstChildWithXPath("/vmap:VMAP")) return;
  const Element& root = *xml.rootElement();
  const std::string name = "The root element is " + quoted(qualifiedName(root)) + inNamespace(root);
  if (root.tag() == "VMAP") {
    warnings.add(root, name + "; only the prefix vmap, defined on the root, leads to extensions and ads.");
  } else {
    warnings.add(root, name + ", not vmap:VMAP: this is no VMAP document, and the timeline is empty.");
  }
}

std::string reasonForNoAd(const Element& adBreak) {
  const auto source = adBreak.firstChildWithTag("AdSource");
  if (!source) return "it has no AdSource";
  const auto data = childOfEither(*source, "VASTData", "VASTAdData");
  if (!data && source->firstChildWithTag("AdTagURI"))
    return "its AdSource refers to an AdTagURI, which is not fetched";
  if (!data) return "its AdSource has neither VASTData nor VASTAdData";
  const auto vast = data->firstChildWithTag("VAST");
  if (!vast) return "there is no VAST in its " + data->tag();
  if (vast->namespaceURI())
    return "its VAST is" + inNamespace(*vast) + ", where one without a namespace is looked for";
  const auto ad = vast->firstChildWithTag("Ad");
  if (!ad) return "its VAST is empty";
  return "the way to its Ad is not named vmap:AdSource/vmap:" + data->tag() + "/VAST/Ad";
}

}  // namespace tarn
