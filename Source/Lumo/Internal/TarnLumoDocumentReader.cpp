#include "Lumo/Internal/TarnLumoDocumentReader.h"

#include <utility>

#include "Lumo/Internal/TarnLumoAdReader.h"
#include "Lumo/Internal/TarnLumoAdSequencesBuilder.h"
#include "Lumo/Internal/TarnLumoValueReader.h"
#include "Lumo/TarnLumoCommon.h"
#include "Platform/NumberFormatter.h"

namespace tarn {
namespace {

using Element = TarnLumoONOXMLElement;
using Timeline = Result<std::shared_ptr<const TarnLumoTimeline>>;

constexpr std::string_view kAdPath =
    "./vmap:AdSource/vmap:VASTData/VAST/Ad | ./vmap:AdSource/vmap:VASTAdData/VAST/Ad";

[[nodiscard]] PathToAd pathToAd(const Element& adBreak) {
  PathToAd path;
  const auto source = adBreak.firstChildWithTag("AdSource");
  path.hasSource = source.has_value();
  if (!source) return path;
  path.hasAdTagURI = source->firstChildWithTag("AdTagURI").has_value();
  auto data = source->firstChildWithTag("VASTData");
  if (!data) data = source->firstChildWithTag("VASTAdData");
  if (!data) return path;
  path.dataTag = data->tag();
  const auto vast = data->firstChildWithTag("VAST");
  path.hasVAST = vast.has_value();
  if (!vast) return path;
  path.namespaceOfVAST = vast->namespaceURI();
  path.hasAd = vast->firstChildWithTag("Ad").has_value();
  return path;
}

/// Reads one document; a reader is used once.
class DocumentReader {
 public:
  DocumentReader(const TarnLumoONOXMLDocument& xml, const std::string& prefix, ReadingObserver& observer)
      : xml_(xml), prefix_(prefix), observer_(observer) {}

  [[nodiscard]] Timeline read() && {
    checkRoot();
    readExtension();
    readImpressions();
    TarnLumoAdSequencesBuilder sequences(payloadLength_, numbers_);
    if (xml_.rootElement()) {
      for (const Element& adBreak : xml_.rootElement()->childrenWithTag("AdBreak")) {
        if (auto done = readBreak(adBreak, sequences); !done) return done.error();
      }
    }
    const auto offsets = sequences.offsets();
    auto timeline = TarnLumoTimeline::make(std::move(contentURL_), contentLength_, payloadLength_,
                                           sequences.buildAdSequences().value(), std::move(impressions_));
    observer_.timelineIsRead(*timeline, offsets);
    return timeline;
  }

 private:
  void checkRoot() {
    const auto& root = xml_.rootElement();
    if (root && !xml_.firstChildWithXPath("/vmap:VMAP"))
      observer_.rootIsNotVMAP({placeOf(*root), root->namespacePrefix(), root->namespaceURI()});
  }

  void readExtension() {
    const std::string name = prefix_ == "mh" ? "mh:Marlith" : "zl:zephyrLumo";
    const auto extension = xml_.firstChildWithXPath("/vmap:VMAP/vmap:Extensions/" + name);
    if (!extension) {
      observer_.extensionIsMissing(name);
      payloadLength_ = contentLength_ = CMTimeMakeWithSeconds(0, kDocumentTimescale);
      return;
    }
    contentURL_ = urlOfAttribute(*extension, "contenturi", observer_);
    payloadLength_ = lengthOfAttribute(*extension, "payloadlength", observer_);
    contentLength_ = lengthOfAttribute(*extension, "contentlength", observer_);
  }

  void readImpressions() {
    const std::string path =
        "/vmap:VMAP/vmap:Extensions/" + prefix_ + ":contentImpressions/" + prefix_ + ":Impression";
    xml_.enumerateElementsWithXPath(path, [&](const Element& impression) {
      const auto time = impression.valueForAttribute("time");
      const auto seconds = numbers_.numberFromString(time.value_or(""));
      if (!seconds) return observer_.impressionHasNoTime(lineOf(impression), time);
      impressions_.push_back(std::make_shared<const TarnLumoContentImpression>(
          urlOfAttribute(impression, "url", observer_), CMTimeMakeWithSeconds(*seconds, kDocumentTimescale)));
    });
  }

  [[nodiscard]] Result<void> readBreak(const Element& adBreak, TarnLumoAdSequencesBuilder& sequences) {
    const auto timeOffset = adBreak.valueForAttribute("timeOffset");
    const CMTime offset = TarnLumoAdBreakTimeOffsetFromString(timeOffset);
    if (CMTIME_IS_INVALID(offset)) {
      return deserializationError("AdBreak timeOffset `%@` could not be parsed.", timeOffset,
                                  "Write the timeOffset of the AdBreak at line " +
                                      std::to_string(lineOf(adBreak)) +
                                      " as \"start\", \"end\" or HH:MM:SS.");
    }
    const CMTime beginTime = CMTimeAdd(adDurations_, offset);
    observer_.breakBegins({lineOf(adBreak), timeOffset.value_or(""), offset, beginTime});
    auto ad = TarnLumoDeserializeAdBuilderFromElementAndBeginTimeWithError(adOf(adBreak), beginTime, offset,
                                                                           observer_);
    if (!ad) return ad.error();
    if (CMTIME_IS_POSITIVE_INFINITY(offset)) {
      ad->beginTime = kCMTimePositiveInfinity;
    } else {
      adDurations_ = CMTimeAdd(adDurations_, ad->duration);
      observer_.durationIsCounted(lineOf(adBreak), adDurations_);
    }
    sequences.insertAdBuilder(*std::move(ad), offset);
    return {};
  }

  /// The first Ad of the break, if any.
  [[nodiscard]] std::optional<Element> adOf(const Element& adBreak) {
    std::optional<Element> first;
    std::size_t count = 0;
    adBreak.enumerateElementsWithXPath(kAdPath, [&](const Element& ad) {
      observer_.breakHasAd(lineOf(ad), ++count);
      if (!first) first = ad;
    });
    if (!first) observer_.breakHasNoAd(lineOf(adBreak), pathToAd(adBreak));
    return first;
  }

  const TarnLumoONOXMLDocument& xml_;
  const std::string& prefix_;
  ReadingObserver& observer_;
  const NumberFormatter& numbers_ = NumberFormatter::shared(NumberFormatter::Style::plain);

  std::optional<URL> contentURL_;
  CMTime contentLength_;
  CMTime payloadLength_;
  TarnLumoTimeline::ContentImpressions impressions_;
  /// Of the ads so far, without post-rolls.
  CMTime adDurations_ = kCMTimeZero;
};

}  // namespace

Timeline readDocument(const TarnLumoONOXMLDocument& xml, const std::string& prefix,
                      ReadingObserver& observer) {
  return DocumentReader(xml, prefix, observer).read();
}

}  // namespace tarn
