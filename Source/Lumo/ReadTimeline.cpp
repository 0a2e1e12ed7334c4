#include "Lumo/ReadTimeline.h"

#include "Lumo/Internal/AuthorReview.h"
#include "Lumo/Internal/ReadingObserver.h"
#include "Lumo/Internal/TarnLumoDocumentReader.h"
#include "Lumo/TarnLumoDocument.h"
#include "Platform/Text.h"
#include "XML/TarnLumoONOXMLDocument.h"

namespace tarn {
namespace {

using Timeline = Result<std::shared_ptr<const TarnLumoTimeline>>;

/// A search in the text, not a namespace lookup. Bytes that are not UTF-8 count as declaring "mh".
[[nodiscard]] std::string extensionPrefixOf(std::string_view bytes, bool isText) {
  if (!isText || bytes.find("xmlns:mh=") != std::string_view::npos) return "mh";
  return bytes.find("xmlns:zl=") != std::string_view::npos ? "zl" : "";
}

[[nodiscard]] Timeline readBytes(std::string_view bytes, const std::string& prefix,
                                 ReadingObserver& observer) {
  const auto xml = TarnLumoONOXMLDocument::XMLDocumentWithData(bytes);
  if (!xml) {
    return withUnderlying(Error::make(TarnLumoErrorDomain, TarnLumoDocumentErrorCodeDeserialization),
                          xml.error());
  }
  observer.xmlHasFaults((*xml)->faults());
  return readDocument(**xml, prefix, observer);
}

[[nodiscard]] TimelineReading read(std::string_view bytes, ReadingObserver& observer) {
  const bool isText = isUTF8(bytes);
  if (!isText) observer.bytesAreNotUTF8();
  std::string prefix = extensionPrefixOf(bytes, isText);
  auto timeline = readBytes(bytes, prefix, observer);
  return {std::move(timeline), std::move(prefix), {}};
}

}  // namespace

TimelineReading readTimeline(std::string_view bytes, const ReadTimelineOptions& options) {
  if (!options.review) {
    ReadingObserver silent;
    return read(bytes, silent);
  }
  AuthorReview review;
  TimelineReading reading = read(bytes, review);
  reading.warnings = review.takeWarnings();
  return reading;
}

}  // namespace tarn
