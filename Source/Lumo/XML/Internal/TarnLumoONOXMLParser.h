#pragma once

#include <libxml/globals.h>
#include <libxml/xmlerror.h>

#include <optional>
#include <string_view>

#include "Platform/Error.h"
#include "XML/Internal/TarnLumoONOXMLHandles.h"
#include "XML/TarnLumoONOXMLDocument.h"

/// Stores `error`'s code and trimmed message in `result`, then resets `error`. Does nothing if either is
/// null.
void TarnLumoONOSetErrorFromXMLErrorPtr(std::optional<tarn::Error>* result, xmlError* error);

namespace tarn::xml {

struct Parse {
  /// Null when there is no document, or when it was refused for its size or shape.
  DocumentHandle document;
  TarnLumoONOXMLFaults faults;
  /// Absent when the parser recorded none.
  std::optional<Error> error;
};

/// Parses bytes in the encoding that they declare. Prints nothing.
[[nodiscard]] Parse parseXML(std::string_view bytes);
[[nodiscard]] Parse parseHTML(std::string_view bytes);

/// Discards what libxml2 reports on this thread outside of a parser or a query: converter errors and some
/// faults of an expression, which it would print. The destructor restores the
/// application's handlers.
class QuietThread {
 public:
  QuietThread();
  ~QuietThread();
  QuietThread(const QuietThread&) = delete;
  QuietThread& operator=(const QuietThread&) = delete;

 private:
  xmlGenericErrorFunc text_ = xmlGenericError;
  void* textContext_ = xmlGenericErrorContext;
  xmlStructuredErrorFunc error_ = xmlStructuredError;
  void* errorContext_ = xmlStructuredErrorContext;
};

}  // namespace tarn::xml
