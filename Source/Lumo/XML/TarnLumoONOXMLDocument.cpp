#include "XML/TarnLumoONOXMLDocument.h"

#include <utility>

#include "Platform/Text.h"
#include "XML/Internal/TarnLumoONOStringEncoding.h"
#include "XML/Internal/TarnLumoONOXMLLimits.h"
#include "XML/Internal/TarnLumoONOXMLParser.h"

namespace {

using tarn::xml::Parse;
using tarn::xml::view;

[[nodiscard]] tarn::Error emptyDocumentError() {
  tarn::Error error = tarn::Error::make(TarnLumoONOXMLErrorDomain, XML_ERR_DOCUMENT_EMPTY);
  error.failureReason = "The document is empty";
  return error;
}

[[nodiscard]] TarnLumoONOXMLDocument::Parsed documentWithData(std::string_view data,
                                                              Parse (*parseBytes)(std::string_view)) {
  if (data.empty()) return emptyDocumentError();
  Parse parse = parseBytes(data);
  // libxml2 reports bytes that are no UTF-8, then copies them into the tree as they are; also when an
  // encoding is declared that it does not know or cannot read.
  if (parse.document && !tarn::isUTF8(data) && !tarn::xml::holdsProperText(parse.document.get())) {
    Parse repaired = parseBytes(tarn::repairedUTF8(data));
    parse.document = std::move(repaired.document);
    if (!parse.document) parse.error = std::move(repaired.error);
  }
  if (!parse.document || xmlDocGetRootElement(parse.document.get()) == nullptr)
    return parse.error ? *std::move(parse.error) : emptyDocumentError();
  if (auto harmless = tarn::xml::checkDeclarations(parse.document.get()); !harmless) return harmless.error();
  return TarnLumoONOXMLDocument::initWithDocument(parse.document.release(), std::move(parse.faults));
}

}  // namespace

TarnLumoONOXMLDocument::Parsed TarnLumoONOXMLDocument::XMLDocumentWithData(std::string_view data) {
  return documentWithData(data, tarn::xml::parseXML);
}

TarnLumoONOXMLDocument::Parsed TarnLumoONOXMLDocument::HTMLDocumentWithData(std::string_view data) {
  return documentWithData(data, tarn::xml::parseHTML);
}

TarnLumoONOXMLDocument::Parsed TarnLumoONOXMLDocument::XMLDocumentWithString(
    std::string_view text, TarnLumoONOStringEncoding encoding) {
  const auto data = tarn::bytesOfText(text, encoding);
  if (!data) return data.error();
  return XMLDocumentWithData(*data);
}

TarnLumoONOXMLDocument::Parsed TarnLumoONOXMLDocument::HTMLDocumentWithString(
    std::string_view text, TarnLumoONOStringEncoding encoding) {
  const auto data = tarn::bytesOfText(text, encoding);
  if (!data) return data.error();
  return HTMLDocumentWithData(*data);
}

void TarnLumoONOXMLDocument::Free::operator()(_xmlDoc* document) const {
  xmlFreeDoc(document);
}

TarnLumoONOXMLDocument::TarnLumoONOXMLDocument(Key, _xmlDoc* document, TarnLumoONOXMLFaults faults)
    : xmlDocument_(document), faults_(std::move(faults)) {}

TarnLumoONOXMLDocument::~TarnLumoONOXMLDocument() = default;

std::shared_ptr<TarnLumoONOXMLDocument> TarnLumoONOXMLDocument::initWithDocument(
    _xmlDoc* document, TarnLumoONOXMLFaults faults) {
  auto result = std::make_shared<TarnLumoONOXMLDocument>(Key{}, document, std::move(faults));
  if (document != nullptr) result->rootElement_ = result->elementWithNode(xmlDocGetRootElement(document));
  return result;
}

std::shared_ptr<TarnLumoONOXMLDocument> TarnLumoONOXMLDocument::initWithArchive(
    const TarnLumoONOXMLDocumentArchive& archive) {
  auto result = std::make_shared<TarnLumoONOXMLDocument>(Key{}, nullptr, TarnLumoONOXMLFaults{});
  result->version_ = archive.version;
  if (archive.rootElement) result->rootElement_.emplace(*archive.rootElement);
  return result;
}

std::shared_ptr<TarnLumoONOXMLDocument> TarnLumoONOXMLDocument::copy() const {
  auto result = std::make_shared<TarnLumoONOXMLDocument>(Key{}, nullptr, TarnLumoONOXMLFaults{});
  result->version_ = version();
  result->rootElement_ = rootElement_;
  return result;
}

TarnLumoONOXMLDocumentArchive TarnLumoONOXMLDocument::archive() const {
  TarnLumoONOXMLDocumentArchive archive{version(), std::nullopt};
  if (rootElement_) archive.rootElement = rootElement_->archive();
  return archive;
}

const std::optional<std::string>& TarnLumoONOXMLDocument::version() const {
  if (!version_ && xmlDocument_ && xmlDocument_->version != nullptr) version_ = view(xmlDocument_->version);
  return version_;
}

TarnLumoONOStringEncoding TarnLumoONOXMLDocument::stringEncoding() const {
  if (stringEncoding_ == TarnLumoONOStringEncoding::unknown && xmlDocument_ &&
      xmlDocument_->encoding != nullptr)
    stringEncoding_ = tarn::encodingNamed(view(xmlDocument_->encoding));
  return stringEncoding_;
}

const tarn::NumberFormatter& TarnLumoONOXMLDocument::numberFormatter() const {
  return tarn::NumberFormatter::shared(tarn::NumberFormatter::Style::decimal);
}

const tarn::DateFormatter& TarnLumoONOXMLDocument::dateFormatter() const {
  if (!dateFormatter_) dateFormatter_ = std::make_unique<const tarn::DateFormatter>("yyyy-MM-dd'T'HH:mm:ssZ");
  return *dateFormatter_;
}

void TarnLumoONOXMLDocument::definePrefix(std::string prefix, std::string namespaceURI) {
  if (!defaultNamespaces_) defaultNamespaces_.emplace();
  defaultNamespaces_->insert_or_assign(std::move(namespaceURI), std::move(prefix));
}

std::optional<TarnLumoONOXMLElement> TarnLumoONOXMLDocument::elementWithNode(_xmlNode* node) const {
  if (node == nullptr) return std::nullopt;
  return TarnLumoONOXMLElement(weak_from_this(), node);
}

std::unique_ptr<TarnLumoONOXPathEnumerator> TarnLumoONOXMLDocument::enumeratorWithXPathObject(
    _xmlXPathObject* xmlXPath) const {
  if (xmlXPath == nullptr) return nullptr;
  auto enumerator = std::make_unique<TarnLumoONOXPathEnumerator>(shared_from_this(), xmlXPath);
  if (enumerator->count() == 0) return nullptr;
  return enumerator;
}

std::unique_ptr<TarnLumoONOXPathEnumerator> TarnLumoONOXMLDocument::XPath(std::string_view expression) const {
  return rootElement_ ? rootElement_->XPath(expression) : nullptr;
}

std::optional<TarnLumoONOXMLElement> TarnLumoONOXMLDocument::firstChildWithXPath(
    std::string_view expression) const {
  return rootElement_ ? rootElement_->firstChildWithXPath(expression) : std::nullopt;
}

std::optional<TarnLumoONOXPathFunctionResult> TarnLumoONOXMLDocument::functionResultByEvaluatingXPath(
    std::string_view expression) const {
  return rootElement_ ? rootElement_->functionResultByEvaluatingXPath(expression) : std::nullopt;
}

void TarnLumoONOXMLDocument::enumerateElementsWithXPath(std::string_view expression,
                                                        const IndexedElementBlock& block) const {
  if (rootElement_) rootElement_->enumerateElementsWithXPath(expression, block);
}

void TarnLumoONOXMLDocument::enumerateElementsWithXPath(std::string_view expression,
                                                        const ElementBlock& block) const {
  if (rootElement_) rootElement_->enumerateElementsWithXPath(expression, block);
}

std::unique_ptr<TarnLumoONOXPathEnumerator> TarnLumoONOXMLDocument::CSS(std::string_view selector) const {
  return rootElement_ ? rootElement_->CSS(selector) : nullptr;
}

std::optional<TarnLumoONOXMLElement> TarnLumoONOXMLDocument::firstChildWithCSS(
    std::string_view selector) const {
  return rootElement_ ? rootElement_->firstChildWithCSS(selector) : std::nullopt;
}

void TarnLumoONOXMLDocument::enumerateElementsWithCSS(std::string_view selector,
                                                      const IndexedElementBlock& block) const {
  if (rootElement_) rootElement_->enumerateElementsWithCSS(selector, block);
}

void TarnLumoONOXMLDocument::enumerateElementsWithCSS(std::string_view selector,
                                                      const ElementBlock& block) const {
  if (rootElement_) rootElement_->enumerateElementsWithCSS(selector, block);
}

bool TarnLumoONOXMLDocument::isEqual(const TarnLumoONOXMLDocument& other) const {
  return xmlDocument_ == other.xmlDocument_;
}

std::size_t TarnLumoONOXMLDocument::hash() const {
  return reinterpret_cast<std::size_t>(xmlDocument_.get());
}

std::string TarnLumoONOXMLDocument::description() const {
  return rootElement_ ? rootElement_->description() : std::string();
}
