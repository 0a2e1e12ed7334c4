#include "XML/TarnLumoONOXPathEnumerator.h"

#include <utility>

#include "XML/Internal/TarnLumoONOXMLHandles.h"
#include "XML/TarnLumoONOXMLDocument.h"

void TarnLumoONOXPathEnumerator::Free::operator()(_xmlXPathObject* object) const {
  xmlXPathFreeObject(object);
}

TarnLumoONOXPathEnumerator::TarnLumoONOXPathEnumerator(std::shared_ptr<const TarnLumoONOXMLDocument> document,
                                                       _xmlXPathObject* xmlXPath)
    : document_(std::move(document)), xmlXPath_(xmlXPath) {
  const xmlNodeSet* set = xmlXPath_->nodesetval;
  if (set == nullptr || set->nodeTab == nullptr) return;
  // libxml2 makes namespace nodes for the result alone; a wrapper of one would outlive it.
  for (int i = 0; i < set->nodeNr; ++i) {
    if (set->nodeTab[i]->type != XML_NAMESPACE_DECL) nodes_.push_back(set->nodeTab[i]);
  }
}

TarnLumoONOXPathEnumerator::~TarnLumoONOXPathEnumerator() = default;

std::optional<TarnLumoONOXMLElement> TarnLumoONOXPathEnumerator::nextObject() {
  if (cursor_ >= nodes_.size()) return std::nullopt;
  return objectAtIndex(cursor_++);
}

std::optional<TarnLumoONOXMLElement> TarnLumoONOXPathEnumerator::objectAtIndex(std::size_t index) const {
  if (index >= nodes_.size()) return std::nullopt;
  return document_->elementWithNode(nodes_[index]);
}

std::vector<TarnLumoONOXMLElement> TarnLumoONOXPathEnumerator::allObjects() const {
  std::vector<TarnLumoONOXMLElement> elements;
  elements.reserve(nodes_.size());
  for (_xmlNode* node : nodes_) elements.emplace_back(document_, node);
  return elements;
}
