#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/DateFormatter.h"
#include "Platform/NumberFormatter.h"
#include "Platform/Result.h"
#include "XML/TarnLumoONOXMLElement.h"

struct _xmlDoc;

/// Domain of the parser's errors. The code is libxml2's; a document refused for its size or shape carries
/// libxml2's code for its own limits.
inline constexpr const char* TarnLumoONOXMLErrorDomain = "tarn.xml";

/// Encodings of text as bytes; the values are the platform's codes. Every encoding that ICU knows has one,
/// also those without a name here: a code page of IBM's is 0xc0000000 + its number.
enum class TarnLumoONOStringEncoding : std::uint64_t {
  unknown = 0,
  ASCII = 1,
  EUCJP = 3,
  UTF8 = 4,
  ISOLatin1 = 5,
  shiftJIS = 8,
  ISOLatin2 = 9,
  UTF16 = 10,
  windows1251 = 11,
  windows1252 = 12,
  windows1253 = 13,
  windows1254 = 14,
  windows1250 = 15,
  ISO2022JP = 21,
  macOSRoman = 30,
  ISOLatin3 = 0x80000203,
  ISOLatin4 = 0x80000204,
  ISOLatinCyrillic = 0x80000205,
  ISOLatinArabic = 0x80000206,
  ISOLatinGreek = 0x80000207,
  ISOLatinHebrew = 0x80000208,
  ISOLatin5 = 0x80000209,
  ISOLatin9 = 0x8000020f,
  GBK = 0x80000631,
  GB18030 = 0x80000632,
  EUCKR = 0x80000940,
  KOI8R = 0x80000a02,
  big5 = 0x80000a03,
  UTF32 = 0x8c000100,
  UTF16BigEndian = 0x90000100,
  UTF16LittleEndian = 0x94000100,
  UTF32BigEndian = 0x98000100,
  UTF32LittleEndian = 0x9c000100,
};

/// The faults of a document that the parser could read nevertheless.
struct TarnLumoONOXMLFault {
  std::int64_t line = 0;
  std::string message;
  /// The document is not well-formed here and was repaired, or cut off.
  bool repaired = true;
};

/// The first faults of a document in document order, and how many there were.
struct TarnLumoONOXMLFaults {
  std::vector<TarnLumoONOXMLFault> first;
  std::size_t count = 0;
};

/// A document as a plain value.
struct TarnLumoONOXMLDocumentArchive {
  std::optional<std::string> version;
  std::optional<TarnLumoONOXMLElementArchive> rootElement;
};

/// A parsed XML or HTML document; owns its tree. Made by the static functions, shared. Used by one thread at
/// a time; different documents are independent.
///
/// Parsing repairs what it can and never reads anything but the given bytes: no document type, entity or
/// schema is fetched, and nothing is printed. Documents that would cost far more time or memory than their
/// size justifies are refused: entities that expand to over 1 MiB or into themselves, more than 500
/// attributes or 50 namespaces on one tag (2,000 attributes in HTML), more than 256 namespaces in scope, a
/// document type that declares more than 100 attributes or expands parameter entities to over 4 KiB. Elements
/// nested deeper than 256 are cut off, which counts as a repair.
class TarnLumoONOXMLDocument : public std::enable_shared_from_this<TarnLumoONOXMLDocument> {
  struct Key {};

 public:
  using Parsed = tarn::Result<std::shared_ptr<TarnLumoONOXMLDocument>>;
  using ElementBlock = TarnLumoONOXMLElement::ElementBlock;
  using IndexedElementBlock = TarnLumoONOXMLElement::IndexedElementBlock;

  /// Parses bytes in the encoding that they declare (UTF-8 without a declaration). Bytes without a root
  /// element are no document. Errors are in `TarnLumoONOXMLErrorDomain`.
  [[nodiscard]] static Parsed XMLDocumentWithData(std::string_view data);
  [[nodiscard]] static Parsed HTMLDocumentWithData(std::string_view data);
  /// Parses `text` (UTF-8) after turning it into bytes of `encoding`, which the text should declare.
  [[nodiscard]] static Parsed XMLDocumentWithString(std::string_view text,
                                                    TarnLumoONOStringEncoding encoding);
  [[nodiscard]] static Parsed HTMLDocumentWithString(std::string_view text,
                                                     TarnLumoONOStringEncoding encoding);

  /// Takes ownership of `document`, which may be null: an empty document without a root.
  [[nodiscard]] static std::shared_ptr<TarnLumoONOXMLDocument> initWithDocument(
      _xmlDoc* document, TarnLumoONOXMLFaults faults = {});
  /// A document read back: version and root element without a tree.
  [[nodiscard]] static std::shared_ptr<TarnLumoONOXMLDocument> initWithArchive(
      const TarnLumoONOXMLDocumentArchive& archive);
  TarnLumoONOXMLDocument(Key, _xmlDoc* document, TarnLumoONOXMLFaults faults);
  ~TarnLumoONOXMLDocument();
  TarnLumoONOXMLDocument(const TarnLumoONOXMLDocument&) = delete;
  TarnLumoONOXMLDocument& operator=(const TarnLumoONOXMLDocument&) = delete;

  [[nodiscard]] _xmlDoc* xmlDocument() const { return xmlDocument_.get(); }
  [[nodiscard]] const std::optional<TarnLumoONOXMLElement>& rootElement() const { return rootElement_; }
  /// Of the XML declaration.
  [[nodiscard]] const std::optional<std::string>& version() const;
  /// Unknown when the document names no encoding or one without a code.
  [[nodiscard]] TarnLumoONOStringEncoding stringEncoding() const;
  [[nodiscard]] const TarnLumoONOXMLFaults& faults() const { return faults_; }

  /// Reads `numberValue`: en_US, grouping commas allowed.
  [[nodiscard]] const tarn::NumberFormatter& numberFormatter() const;
  /// Reads `dateValue`: en_US_POSIX, yyyy-MM-dd'T'HH:mm:ssZ.
  [[nodiscard]] const tarn::DateFormatter& dateFormatter() const;

  /// Makes elements under the default (unprefixed) namespace `namespaceURI` reachable in XPath under
  /// `prefix`.
  void definePrefix(std::string prefix, std::string namespaceURI);
  /// From namespace URI to prefix; absent until the first definition.
  [[nodiscard]] const std::optional<std::map<std::string, std::string, std::less<>>>& defaultNamespaces()
      const {
    return defaultNamespaces_;
  }

  /// A new wrapper; absent for no node.
  [[nodiscard]] std::optional<TarnLumoONOXMLElement> elementWithNode(_xmlNode* node) const;
  /// Takes ownership of `xmlXPath`; null when it holds no nodes.
  [[nodiscard]] std::unique_ptr<TarnLumoONOXPathEnumerator> enumeratorWithXPathObject(
      _xmlXPathObject* xmlXPath) const;

  /// The queries of the root element; nothing without one.
  [[nodiscard]] std::unique_ptr<TarnLumoONOXPathEnumerator> XPath(std::string_view expression) const;
  [[nodiscard]] std::optional<TarnLumoONOXMLElement> firstChildWithXPath(std::string_view expression) const;
  [[nodiscard]] std::optional<TarnLumoONOXPathFunctionResult> functionResultByEvaluatingXPath(
      std::string_view expression) const;
  void enumerateElementsWithXPath(std::string_view expression, const IndexedElementBlock& block) const;
  void enumerateElementsWithXPath(std::string_view expression, const ElementBlock& block) const;
  [[nodiscard]] std::unique_ptr<TarnLumoONOXPathEnumerator> CSS(std::string_view selector) const;
  [[nodiscard]] std::optional<TarnLumoONOXMLElement> firstChildWithCSS(std::string_view selector) const;
  void enumerateElementsWithCSS(std::string_view selector, const IndexedElementBlock& block) const;
  void enumerateElementsWithCSS(std::string_view selector, const ElementBlock& block) const;

  /// A document with this one's version and root element, without a tree of its own: its root element lives
  /// as long as this document.
  [[nodiscard]] std::shared_ptr<TarnLumoONOXMLDocument> copy() const;
  [[nodiscard]] TarnLumoONOXMLDocumentArchive archive() const;

  /// The same tree.
  [[nodiscard]] bool isEqual(const TarnLumoONOXMLDocument& other) const;
  [[nodiscard]] std::size_t hash() const;
  /// The root element's.
  [[nodiscard]] std::string description() const;
  friend bool operator==(const TarnLumoONOXMLDocument& a, const TarnLumoONOXMLDocument& b) {
    return a.isEqual(b);
  }

 private:
  struct Free {
    void operator()(_xmlDoc* document) const;
  };

  std::unique_ptr<_xmlDoc, Free> xmlDocument_;
  std::optional<TarnLumoONOXMLElement> rootElement_;
  TarnLumoONOXMLFaults faults_;
  std::optional<std::map<std::string, std::string, std::less<>>> defaultNamespaces_;
  mutable std::optional<std::string> version_;
  mutable TarnLumoONOStringEncoding stringEncoding_ = TarnLumoONOStringEncoding::unknown;
  mutable std::unique_ptr<const tarn::DateFormatter> dateFormatter_;
};
