#include <string>
#include <utility>

#include "Lumo/Internal/TarnLumoAdReader.h"
#include "Lumo/Internal/TarnLumoAdSequencesBuilder.h"
#include "Lumo/Internal/TarnLumoDocumentReader.h"
#include "Lumo/Internal/TarnLumoNamespaceReview.h"
#include "Lumo/Internal/TarnLumoTimelineReview.h"
#include "Lumo/Internal/TarnLumoValueReader.h"
#include "Lumo/TarnLumoCommon.h"
#include "Lumo/TarnLumoTimeline.h"
#include "Platform/Text.h"

namespace {

using Element = TarnLumoONOXMLElement;
using Timeline = tarn::Result<std::shared_ptr<const TarnLumoTimeline>>;
using tarn::quoted;
using tarn::WarningCollector;

constexpr std::string_view kAdPath =
    "./vmap:AdSource/vmap:VASTData/VAST/Ad | ./vmap:AdSource/vmap:VASTAdData/VAST/Ad";

/// Reads one document; a reader is used once.
class DocumentReader {
 public:
  DocumentReader(const std::string& extensionPrefix, const TarnLumoONOXMLDocument& xml,
                 WarningCollector& warnings)
      : extensionPrefix_(extensionPrefix), xml_(xml), warnings_(warnings) {}

  [[nodiscard]] Timeline read() && {
    tarn::reviewRoot(xml_, warnings_);
    readExtension();
    readImpressions();
    const auto& numbers = tarn::NumberFormatter::shared(tarn::NumberFormatter::Style::plain);
    TarnLumoAdSequencesBuilder sequences(payloadLength_, numbers);
    if (xml_.rootElement()) {
      for (const Element& adBreak : xml_.rootElement()->childrenWithTag("AdBreak")) {
        if (auto done = readBreak(adBreak, sequences); !done) return done.error();
      }
    }
    const auto offsets = sequences.offsets();
    auto timeline = TarnLumoTimeline::make(std::move(contentURL_), contentLength_, payloadLength_,
                                           sequences.buildAdSequences().value(), std::move(impressions_));
    tarn::reviewTimeline(*timeline, offsets, breakLines_, warnings_);
    return timeline;
  }

 private:
  void readExtension() {
    const std::string name = extensionPrefix_ == "mh" ? "mh:Marlith" : "zl:zephyrLumo";
    const auto extension = xml_.firstChildWithXPath("/vmap:VMAP/vmap:Extensions/" + name);
    if (!extension) {
      warnings_.add(std::nullopt,
                    "There is no " + name +
                        " in the vmap:Extensions of the root element (the prefixes defined on the "
                        "root itself), so the stream has no URL and no length.");
      payloadLength_ = contentLength_ = CMTimeMakeWithSeconds(0, tarn::kDocumentTimescale);
      return;
    }
    contentURL_ = tarn::urlOfAttribute(*extension, "contenturi", warnings_);
    payloadLength_ = tarn::lengthOfAttribute(*extension, "payloadlength", warnings_);
    contentLength_ = tarn::lengthOfAttribute(*extension, "contentlength", warnings_);
  }

  void readImpressions() {
    const auto& numbers = tarn::NumberFormatter::shared(tarn::NumberFormatter::Style::plain);
    const std::string path = "/vmap:VMAP/vmap:Extensions/" + extensionPrefix_ + ":contentImpressions/" +
                             extensionPrefix_ + ":Impression";
    xml_.enumerateElementsWithXPath(path, [&](const Element& impression) {
      const auto time = impression.valueForAttribute("time");
      const auto seconds = numbers.numberFromString(time.value_or(""));
      if (!seconds) {
        warnings_.add(impression,
                      time ? "The time " + quoted(*time) +
                                 " of a content impression is no number of seconds; it is never sent."
                           : "A content impression without a time is never sent.");
        return;
      }
      impressions_.push_back(std::make_shared<const TarnLumoContentImpression>(
          tarn::urlOfAttribute(impression, "url", warnings_),
          CMTimeMakeWithSeconds(*seconds, tarn::kDocumentTimescale)));
    });
  }

  [[nodiscard]] tarn::Result<void> readBreak(const Element& adBreak, TarnLumoAdSequencesBuilder& sequences) {
    const auto timeOffset = adBreak.valueForAttribute("timeOffset");
    const CMTime offset = TarnLumoAdBreakTimeOffsetFromString(timeOffset);
    if (CMTIME_IS_INVALID(offset)) {
      return tarn::deserializationError("AdBreak timeOffset `%@` could not be parsed.", timeOffset,
                                        "Write the timeOffset of the AdBreak at line " +
                                            std::to_string(adBreak.lineNumber()) +
                                            " as \"start\", \"end\" or HH:MM:SS.");
    }
    breakLines_.emplace(offset, static_cast<std::int64_t>(adBreak.lineNumber()));
    const CMTime beginTime = CMTimeAdd(adDurations_, offset);
    reviewBreak(adBreak, timeOffset.value_or(""), offset, beginTime);
    auto ad = TarnLumoDeserializeAdBuilderFromElementAndBeginTimeWithError(adOf(adBreak), beginTime, offset,
                                                                           warnings_);
    if (!ad) return ad.error();
    if (CMTIME_IS_POSITIVE_INFINITY(offset)) {
      ad->beginTime = kCMTimePositiveInfinity;
    } else {
      countDuration(ad->duration, adBreak);
    }
    sequences.insertAdBuilder(*std::move(ad), offset);
    return {};
  }

  /// The first Ad of the break, if any.
  [[nodiscard]] std::optional<Element> adOf(const Element& adBreak) {
    std::optional<Element> first;
    std::size_t count = 0;
    adBreak.enumerateElementsWithXPath(kAdPath, [&](const Element& ad) {
      if (count++ == 0) {
        first = ad;
      } else if (count == 2) {
        warnings_.add(ad, "Only the first Ad of an AdBreak is read; this one and those behind it are not.");
      }
    });
    if (!first)
      warnings_.add(adBreak, "The AdBreak holds no ad (" + tarn::reasonForNoAd(adBreak) +
                                 ") and yields one without id and duration.");
    return first;
  }

  void reviewBreak(const Element& adBreak, const std::string& timeOffset, const CMTime& offset,
                   const CMTime& beginTime) {
    const bool postroll = CMTIME_IS_POSITIVE_INFINITY(offset);
    if (postroll && timeOffset.size() != std::string_view("end").size())
      warnings_.add(adBreak,
                    "The timeOffset " + quoted(timeOffset) + " is beyond all times and counts as “end”.");
    if (!postroll && offset < latestOffset_)
      warnings_.add(adBreak,
                    "The timeOffset " + quoted(timeOffset) + " lies before that of an earlier AdBreak (" +
                        tarn::spokenTime(latestOffset_) + "); begin times count the ads in document order.");
    if (!postroll && offset > latestOffset_) latestOffset_ = offset;
    if (!postroll && !CMTIME_IS_NUMERIC(beginTime) && !warnedOfBeginTimes_) {
      warnedOfBeginTimes_ = true;
      warnings_.add(adBreak,
                    "From this AdBreak on begin times are invalid, because of the duration of the ad" +
                        (uncountedBreak_ ? " at line " + std::to_string(*uncountedBreak_) : "s") +
                        " before it.");
    }
  }

  void countDuration(const CMTime& duration, const Element& adBreak) {
    adDurations_ = CMTimeAdd(adDurations_, duration);
    if (!CMTIME_IS_NUMERIC(adDurations_) && !uncountedBreak_) uncountedBreak_ = adBreak.lineNumber();
  }

  const std::string& extensionPrefix_;
  const TarnLumoONOXMLDocument& xml_;
  WarningCollector& warnings_;

  std::optional<tarn::URL> contentURL_;
  CMTime contentLength_;
  CMTime payloadLength_;
  TarnLumoTimeline::ContentImpressions impressions_;
  /// Of the ads so far, post-rolls left out.
  CMTime adDurations_ = kCMTimeZero;

  // What the warnings refer to.
  tarn::BreakLines breakLines_;
  CMTime latestOffset_ = kCMTimeZero;
  std::optional<std::uint64_t> uncountedBreak_;
  bool warnedOfBeginTimes_ = false;
};

/// A plain look at the text, not a namespace lookup. Bytes that are no text count as declaring "mh".
[[nodiscard]] std::string extensionPrefixOf(std::string_view data) {
  if (!tarn::isUTF8(data) || data.find("xmlns:mh=") != std::string_view::npos) return "mh";
  return data.find("xmlns:zl=") != std::string_view::npos ? "zl" : "";
}

void warnOfFaults(const TarnLumoONOXMLFaults& faults, WarningCollector& warnings) {
  for (const auto& fault : faults.first)
    warnings.add(fault.line, (fault.repaired ? "The XML is not well-formed and was repaired: " : "XML: ") +
                                 tarn::clippedText(fault.message, 200) + ".");
  if (faults.count > faults.first.size())
    warnings.add(std::nullopt,
                 "The XML has " + std::to_string(faults.count - faults.first.size()) + " more faults.");
}

[[nodiscard]] Timeline readData(TarnLumoDocument& document, std::string_view data,
                                WarningCollector& warnings) {
  document.setVmapExtensionsNamespace(extensionPrefixOf(data));
  if (!tarn::isUTF8(data))
    warnings.add(std::nullopt,
                 "The bytes are not UTF-8, so the service's extension is looked for under the prefix mh "
                 "whatever the document declares; send it as UTF-8.");
  auto xml = TarnLumoONOXMLDocument::XMLDocumentWithData(data);
  if (!xml) {
    return tarn::withUnderlying(
        tarn::Error::make(TarnLumoErrorDomain, TarnLumoDocumentErrorCodeDeserialization), xml.error());
  }
  warnOfFaults((*xml)->faults(), warnings);
  return TarnLumoDeserializeTimelineFromXMLDocumentWithError(document, **xml, warnings);
}

}  // namespace

Timeline TarnLumoDeserializeTimelineFromXMLDocumentWithError(const TarnLumoDocument& document,
                                                             const TarnLumoONOXMLDocument& xml,
                                                             WarningCollector& warnings) {
  const std::string extensionPrefix = document.vmapExtensionsNamespace();
  return DocumentReader(extensionPrefix, xml, warnings).read();
}

Timeline TarnLumoDeserializeTimelineFromDataWithError(TarnLumoDocument& document, std::string_view data) {
  WarningCollector warnings;
  auto timeline = readData(document, data, warnings);
  document.setWarnings(warnings.take());
  return timeline;
}
