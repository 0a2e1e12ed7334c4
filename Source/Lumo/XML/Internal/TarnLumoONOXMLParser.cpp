#include "XML/Internal/TarnLumoONOXMLParser.h"

#include <libxml/HTMLparser.h>
#include <libxml/SAX2.h>

#include <cstring>
#include <limits>
#include <mutex>
#include <string>
#include <utility>

#include "Platform/Text.h"
#include "XML/Internal/TarnLumoONOXMLLimits.h"

namespace tarn::xml {
namespace {

/// Recover, and report neither errors nor warnings: libxml2 prints nothing that it reports about a document.
constexpr int kParseOptions = XML_PARSE_RECOVER | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
constexpr std::size_t kMaxFaults = 20;
constexpr int kMaxNamespacesInScope = 256;
constexpr int kMaxAttributeDeclarations = 100;
constexpr std::size_t kMaxDefaultedAttributes = 16;
constexpr std::size_t kMaxAttributeDefaultBytes = 256;
constexpr std::size_t kMaxParameterEntityBytes = 4 * 1024;

using ParserHandle = std::unique_ptr<xmlParserCtxt, Deleter<xmlFreeParserCtxt>>;
using HTMLParserHandle = std::unique_ptr<xmlParserCtxt, Deleter<htmlFreeParserCtxt>>;

void ignoreError(void* /*context*/, xmlError* /*error*/) {}

void ignoreText(void* /*context*/, const char* /*format*/, ...) {}

/// libxml2 quotes the document in its messages, also bytes that are not UTF-8.
[[nodiscard]] std::string messageOf(const xmlError& error) {
  return repairedUTF8(error.message == nullptr ? "" : error.message);
}

/// Converts the rest of the input, so that the parser's buffer holds all the text that it is going to read.
void decodeAll(xmlParserInput& input) {
  xmlParserInputBuffer* const buffer = input.buf;
  if (buffer == nullptr || buffer->encoder == nullptr) return;
  constexpr int kAny = 4096;  // the bytes are all there; one call converts as many as it can
  const auto consumed = input.cur - input.base;
  while (xmlParserInputBufferGrow(buffer, kAny) > 0) {
  }
  input.base = xmlBufContent(buffer->buffer);
  input.cur = input.base + consumed;
  input.end = xmlBufEnd(buffer->buffer);
}

/// The text that the parser has yet to read.
[[nodiscard]] Markup restOf(const xmlParserInput& input) {
  return {{reinterpret_cast<const char*>(input.cur), static_cast<std::size_t>(input.end - input.cur)},
          input.line};
}

/// Follows one parse through libxml2's callbacks: records faults, and stops the parser before a small
/// document costs much time. Only the parser knows which encodings a document really uses, so the text is
/// checked in its buffer.
class Watch {
 public:
  /// The parser of an entity's content shares the document parser's watch.
  [[nodiscard]] static Watch& of(const void* context) {
    return *static_cast<Watch*>(static_cast<const xmlParserCtxt*>(context)->_private);
  }

  void watchXML(xmlParserCtxt& parser) {
    parser._private = this;
    xmlSAXHandler& callbacks = *parser.sax;
    callbacks.serror = recordFault;
    callbacks.startDocument = startDocument;
    callbacks.startElementNs = startElement;
    callbacks.cdataBlock = addSection;
    callbacks.entityDecl = declareEntity;
    callbacks.attributeDecl = declareAttribute;
    callbacks.getParameterEntity = parameterEntity;
  }

  void watchHTML(xmlParserCtxt& parser) {
    parser._private = this;
    parser.sax->startDocument = startHTMLDocument;
    parser.sax->startElement = startHTMLElement;
    parser.sax->cdataBlock = addSection;
  }

  /// The result of `parser`.
  [[nodiscard]] Parse take(xmlParserCtxt& parser, xmlDoc* document) && {
    Parse parse{DocumentHandle(document), std::move(faults_), std::move(refusal_)};
    if (parse.error) {
      parse.document.reset();
    } else {
      TarnLumoONOSetErrorFromXMLErrorPtr(&parse.error, xmlCtxtGetLastError(&parser));
    }
    return parse;
  }

 private:
  static xmlParserCtxt* parserOf(void* context) { return static_cast<xmlParserCtxt*>(context); }

  void stopUnless(const Result<void>& harmless, void* context) {
    if (!harmless && !refusal_) refusal_ = harmless.error();
    if (refusal_) xmlStopParser(parserOf(context));
  }

  void stopIf(bool harmful, const char* reason, void* context) {
    stopUnless(harmful ? Result<void>(limitError(reason)) : Result<void>(), context);
  }

  static void recordFault(void* context, xmlError* error) {
    auto& faults = of(context).faults_;
    ++faults.count;
    if (faults.first.size() == kMaxFaults) return;
    faults.first.push_back({error->line, foldedText(messageOf(*error)), error->level == XML_ERR_FATAL});
  }

  static void startDocument(void* context) {
    xmlSAX2StartDocument(context);
    xmlParserInput& input = *parserOf(context)->input;
    decodeAll(input);
    of(context).stopUnless(checkMarkup(restOf(input)), context);
  }

  static void startElement(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri,
                           int namespaceCount, const xmlChar** namespaces, int attributeCount,
                           int defaultedCount, const xmlChar** attributes) {
    xmlSAX2StartElementNs(context, name, prefix, uri, namespaceCount, namespaces, attributeCount,
                          defaultedCount, attributes);
    // Each prefixed name is looked up in a list of prefixes and URIs.
    of(context).stopIf(parserOf(context)->nsNr > 2 * kMaxNamespacesInScope,
                       "More than 256 namespace definitions are in scope", context);
  }

  /// Adjoining sections become one node. libxml2 would measure and copy the node's whole text for each.
  static void addSection(void* context, const xmlChar* text, int length) {
    Watch& watch = of(context);
    xmlNode* const parent = parserOf(context)->node;
    xmlNode* const last = parent == nullptr ? nullptr : parent->last;
    if (last == nullptr || last->type != XML_CDATA_SECTION_NODE || last != watch.section_) {
      xmlSAX2CDataBlock(context, text, length);
      watch.section_ = parent == nullptr ? nullptr : parent->last;
      watch.sectionSize_ = watch.section_ == nullptr ? 0 : view(watch.section_->content).size();
      watch.sectionCapacity_ = 0;
      return;
    }
    const std::size_t size = watch.sectionSize_ + static_cast<std::size_t>(length);
    if (size >= watch.sectionCapacity_) {
      auto* const room = static_cast<xmlChar*>(xmlRealloc(last->content, 2 * size + 1));
      if (room == nullptr) return;
      last->content = room;
      watch.sectionCapacity_ = 2 * size + 1;
    }
    std::memcpy(last->content + watch.sectionSize_, text, static_cast<std::size_t>(length));
    last->content[size] = 0;
    watch.sectionSize_ = size;
  }

  /// The content's character references have been resolved: "&#60;" begins a tag here.
  static void declareEntity(void* context, const xmlChar* name, int type, const xmlChar* publicId,
                            const xmlChar* systemId, xmlChar* content) {
    xmlSAX2EntityDecl(context, name, type, publicId, systemId, content);
    of(context).stopUnless(checkMarkup({view(content), parserOf(context)->input->line}), context);
  }

  static void declareAttribute(void* context, const xmlChar* element, const xmlChar* name, int type,
                               int defaultKind, const xmlChar* defaultValue, xmlEnumeration* values) {
    xmlSAX2AttributeDecl(context, element, name, type, defaultKind, defaultValue, values);
    Watch& watch = of(context);
    watch.stopIf(++watch.attributeDeclarations_ > kMaxAttributeDeclarations,
                 "The document type declares more than 100 attributes", context);
    if (defaultValue == nullptr) return;
    watch.defaultBytes_ += view(defaultValue).size();
    watch.stopIf(
        ++watch.defaults_ > kMaxDefaultedAttributes || watch.defaultBytes_ > kMaxAttributeDefaultBytes,
        "The document type declares attribute defaults of more than 16 attributes or 256 bytes", context);
  }

  static xmlEntity* parameterEntity(void* context, const xmlChar* name) {
    xmlEntity* const entity = xmlSAX2GetParameterEntity(context, name);
    if (entity == nullptr) return nullptr;
    Watch& watch = of(context);
    watch.parameterEntityBytes_ += view(entity->content).size();
    watch.stopIf(watch.parameterEntityBytes_ > kMaxParameterEntityBytes,
                 "The document's parameter entities expand to more than 4 KiB", context);
    return watch.refusal_ ? nullptr : entity;
  }

  static void startHTMLDocument(void* context) {
    xmlSAX2StartDocument(context);
    of(context).checkHTML(context);
  }

  /// A meta element may have changed the encoding of the rest.
  static void startHTMLElement(void* context, const xmlChar* name, const xmlChar** attributes) {
    xmlSAX2StartElement(context, name, attributes);
    const xmlParserInput* const input = parserOf(context)->input;
    Watch& watch = of(context);
    if (input != nullptr && input->buf != nullptr && input->buf->encoder != watch.checkedEncoder_)
      watch.checkHTML(context);
  }

  void checkHTML(void* context) {
    xmlParserInput& input = *parserOf(context)->input;
    decodeAll(input);
    checkedEncoder_ = input.buf->encoder;
    stopUnless(checkHTMLMarkup(restOf(input)), context);
  }

  TarnLumoONOXMLFaults faults_;
  std::optional<Error> refusal_;
  xmlNode* section_ = nullptr;
  std::size_t sectionSize_ = 0;
  std::size_t sectionCapacity_ = 0;
  int attributeDeclarations_ = 0;
  std::size_t defaults_ = 0;
  std::size_t defaultBytes_ = 0;
  std::size_t parameterEntityBytes_ = 0;
  const xmlCharEncodingHandler* checkedEncoder_ = nullptr;
};

void initialiseParser() {
  static std::once_flag once;
  std::call_once(once, xmlInitParser);
}

[[nodiscard]] bool isTooLarge(std::string_view bytes) {
  return bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max());
}

[[nodiscard]] Parse tooLarge() {
  return {nullptr, {}, limitError("The document is larger than 2 GiB")};
}

}  // namespace

Parse parseXML(std::string_view bytes) {
  if (isTooLarge(bytes)) return tooLarge();
  initialiseParser();
  const QuietThread quiet;
  const ParserHandle parser(xmlNewParserCtxt());
  if (!parser) return {};
  Watch watch;
  watch.watchXML(*parser);
  xmlDoc* const document = xmlCtxtReadMemory(parser.get(), bytes.data(), static_cast<int>(bytes.size()), "",
                                             nullptr, kParseOptions);
  return std::move(watch).take(*parser, document);
}

Parse parseHTML(std::string_view bytes) {
  if (isTooLarge(bytes)) return tooLarge();
  initialiseParser();
  const QuietThread quiet;
  const HTMLParserHandle parser(htmlNewParserCtxt());
  if (!parser) return {};
  Watch watch;
  watch.watchHTML(*parser);
  xmlDoc* const document = htmlCtxtReadMemory(parser.get(), bytes.data(), static_cast<int>(bytes.size()), "",
                                              nullptr, kParseOptions);
  return std::move(watch).take(*parser, document);
}

QuietThread::QuietThread() {
  xmlSetGenericErrorFunc(nullptr, ignoreText);
  xmlSetStructuredErrorFunc(nullptr, ignoreError);
}

QuietThread::~QuietThread() {
  xmlSetGenericErrorFunc(textContext_, text_);
  xmlSetStructuredErrorFunc(errorContext_, error_);
}

}  // namespace tarn::xml

void TarnLumoONOSetErrorFromXMLErrorPtr(std::optional<tarn::Error>* result, xmlError* error) {
  if (result == nullptr || error == nullptr) return;
  result->emplace();
  (*result)->domain = TarnLumoONOXMLErrorDomain;
  (*result)->code = error->code;
  (*result)->failureReason = std::string(tarn::trimmed(tarn::xml::messageOf(*error)));
  xmlResetError(error);
}
