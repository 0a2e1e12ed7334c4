#include "Lumo/Internal/TarnLumoAdReader.h"

#include <string>
#include <utility>
#include <vector>

#include "Lumo/Internal/TarnLumoValueReader.h"
#include "Lumo/TarnLumoCommon.h"
#include "Lumo/TarnLumoDocument.h"
#include "Platform/LocalizedString.h"
#include "Platform/Text.h"

namespace {

using Element = TarnLumoONOXMLElement;
using tarn::lineOf;
using tarn::placeOf;
using tarn::ReadingObserver;
using tarn::urlOfText;
using NestedDictionaries = std::vector<tarn::Dictionary>;

/// The children of `parent`'s first child of that tag.
[[nodiscard]] std::vector<Element> childrenOfFirst(const Element& parent, std::string_view tag) {
  const auto container = parent.firstChildWithTag(tag);
  return container ? container->children() : std::vector<Element>{};
}

[[nodiscard]] tarn::Dictionary adBuilderDictionaryFromOnoXMLElement(const Element& element) {
  tarn::Dictionary attributes;
  for (const auto& [name, value] : element.attributes()) attributes.set(name, value);
  tarn::Dictionary dictionary;
  dictionary.set(kTarnXMLElementTagKey, element.tag());
  dictionary.set(kTarnXMLElementAttributesKey, std::move(attributes));
  NestedDictionaries content;
  for (const Element& child : element.children())
    content.push_back(adBuilderDictionaryFromOnoXMLElement(child));
  if (content.empty()) {
    dictionary.set(kTarnXMLElementContentKey, element.stringValue());
  } else {
    dictionary.set(kTarnXMLElementContentKey, std::move(content));
  }
  return dictionary;
}

[[nodiscard]] std::optional<NestedDictionaries> extensionsOfFirst(const Element& parent,
                                                                  std::string_view tag) {
  NestedDictionaries extensions;
  for (const Element& child : childrenOfFirst(parent, tag))
    extensions.push_back(adBuilderDictionaryFromOnoXMLElement(child));
  return extensions.empty() ? std::nullopt : std::optional(std::move(extensions));
}

void appendURL(std::vector<tarn::URL>& urls, const Element& element, ReadingObserver& observer) {
  if (auto url = urlOfText(element, observer)) urls.push_back(*std::move(url));
}

/// Reads one Ad element; a reader is used once.
class AdReader {
 public:
  AdReader(CMTime beginTime, CMTime logicalOffset, ReadingObserver& observer)
      : beginTime_(beginTime), logicalOffset_(logicalOffset), observer_(observer) {}

  [[nodiscard]] tarn::Result<TarnLumoAdBuilder> read(const Element& ad) && {
    builder_.adId = ad.valueForAttribute("id");
    const auto inLine = ad.firstChildWithTag("InLine");
    if (!inLine) {
      observer_.adHasNoInLine(lineOf(ad), builder_.adId, ad.firstChildWithTag("Wrapper").has_value());
      return std::move(builder_);
    }
    if (const auto title = inLine->firstChildWithTag("AdTitle"))
      builder_.adTitle = std::string(tarn::trimmed(title->stringValue()));
    for (const Element& impression : inLine->childrenWithTag("Impression"))
      appendURL(builder_.impressionURLs, impression, observer_);
    for (const Element& creative : childrenOfFirst(*inLine, "Creatives")) {
      if (auto done = readCreative(creative); !done) return done.error();
    }
    if (!hasLinear_) observer_.adHasNoLinear(lineOf(ad), builder_.adId);
    builder_.vastAdExtensions = extensionsOfFirst(*inLine, "Extensions");
    return std::move(builder_);
  }

 private:
  [[nodiscard]] tarn::Result<void> readCreative(const Element& creative) {
    if (const auto linear = creative.firstChildWithTag("Linear")) {
      if (hasLinear_) {
        TarnLumoLog("Cannot process multiple Linear elements within a single Ad element.");
        observer_.creativeIsSkipped(lineOf(creative));
        return {};
      }
      if (auto done = readLinear(*linear); !done) return done;
      hasLinear_ = true;
    }
    readCompanions(creative);
    return {};
  }

  [[nodiscard]] tarn::Result<void> readLinear(const Element& linear) {
    builder_.vastAdCreativeExtensions = extensionsOfFirst(linear, "CreativeExtensions");
    if (auto done = readDuration(linear); !done) return done;
    builder_.skipOffset = skipOffsetOf(linear);
    builder_.beginTime = beginTime_;
    builder_.logicalOffset = logicalOffset_;
    builder_.trackingEventsCollection = trackingEventsOf(linear, true);
    for (const Element& click : childrenOfFirst(linear, "VideoClicks")) {
      if (click.tag() == "ClickThrough") builder_.clickThroughURL = urlOfText(click, observer_);
      if (click.tag() == "ClickTracking") appendURL(builder_.clickTrackingURLs, click, observer_);
    }
    return {};
  }

  [[nodiscard]] tarn::Result<void> readDuration(const Element& linear) {
    const auto element = linear.firstChildWithTag("Duration");
    const auto text = element ? std::optional(element->stringValue()) : std::nullopt;
    builder_.duration = TarnLumoDurationFromString(text);
    if (CMTIME_IS_INVALID(builder_.duration)) {
      const Element& where = element ? *element : linear;
      return tarn::deserializationError("Linear Duration `%@` could not be parsed.", text,
                                        "Write the Duration of the Linear at line " +
                                            std::to_string(lineOf(where)) + " as HH:MM:SS or HH:MM:SS.mmm.");
    }
    observer_.durationIsRead(lineOf(*element), *text, builder_.duration);
    return {};
  }

  [[nodiscard]] CMTime skipOffsetOf(const Element& linear) {
    const auto text = linear.valueForAttribute("skipoffset");
    if (!text) return kCMTimeInvalid;
    const CMTime offset = TarnLumoSkipOffsetFromStringWithDuration(text, builder_.duration);
    if (CMTIME_IS_INVALID(offset)) observer_.skipOffsetIsUnreadable(lineOf(linear), *text);
    return offset;
  }

  /// Offsets count in a Linear only.
  [[nodiscard]] std::shared_ptr<const TarnLumoTrackingEventsCollection> trackingEventsOf(
      const Element& parent, bool withOffsets) {
    TarnLumoTrackingEventsCollectionBuilder events;
    for (const Element& tracking : childrenOfFirst(parent, "TrackingEvents")) {
      auto event = tracking.valueForAttribute("event");
      if (!event) observer_.trackingHasNoEvent(placeOf(tracking));
      const auto offset = withOffsets ? tracking.valueForAttribute("offset") : std::nullopt;
      auto url = urlOfText(tracking, observer_);
      if (!offset) {
        events.addTrackingEventNamed(std::move(event), std::move(url));
        continue;
      }
      const bool isNumber = events.addTrackingEventNamed(std::move(event), *offset, std::move(url));
      observer_.trackingOffsetIsRead({placeOf(tracking), *offset, isNumber}, *events.trackingEvents.back(),
                                     builder_.duration);
    }
    return events.buildTrackingEventsCollection();
  }

  void readCompanions(const Element& creative) {
    TarnLumoCompanionAdsCollectionBuilder companions;
    for (const Element& companion : childrenOfFirst(creative, "CompanionAds"))
      companions.addCompanionAd(readCompanion(companion));
    // The companions of the last creative count.
    const auto& replaced = builder_.companionsCollection;
    if (replaced)
      observer_.companionsAreReplaced(lineOf(creative),
                                      replaced->orderedCompanionAdsWithWidthThenHeight().size(),
                                      companions.companionAds.size());
    builder_.companionsCollection = companions.buildCompanionAdsCollection();
  }

  [[nodiscard]] std::shared_ptr<const TarnLumoCompanionAd> readCompanion(const Element& element) {
    TarnLumoCompanionAdBuilder companion;
    companion.width = tarn::integerOfAttribute(element, "width", observer_);
    companion.height = tarn::integerOfAttribute(element, "height", observer_);
    companion.identifier = element.valueForAttribute("id");
    if (const auto resource = element.firstChildWithTag("StaticResource")) {
      companion.staticResourceURL = urlOfText(*resource, observer_);
      companion.staticResourceCreativeType = resource->valueForAttribute("creativeType");
    } else {
      observer_.companionHasNoResource(placeOf(element));
    }
    companion.trackingEventsCollection = trackingEventsOf(element, false);
    for (const Element& click : element.children()) {
      if (click.tag() == "CompanionClickThrough") companion.clickThroughURL = urlOfText(click, observer_);
      if (click.tag() == "CompanionClickTracking") appendURL(companion.clickTrackingURLs, click, observer_);
    }
    return companion.buildCompanionAd();
  }

  CMTime beginTime_;
  CMTime logicalOffset_;
  ReadingObserver& observer_;
  TarnLumoAdBuilder builder_;
  bool hasLinear_ = false;
};

}  // namespace

tarn::Result<TarnLumoAdBuilder> TarnLumoDeserializeAdBuilderFromElementAndBeginTimeWithError(
    const std::optional<TarnLumoONOXMLElement>& element, CMTime beginTime, CMTime logicalOffset,
    ReadingObserver& observer) {
  if (!element) return TarnLumoAdBuilder{};
  return AdReader(beginTime, logicalOffset, observer).read(*element);
}

tarn::Error tarn::deserializationError(const char* format, const std::optional<std::string>& value,
                                       std::string suggestion) {
  Error error =
      Error::make(TarnLumoErrorDomain, TarnLumoDocumentErrorCodeDeserialization, localizedString(format));
  if (const std::size_t placeholder = error.description->find("%@"); placeholder != std::string::npos)
    error.description->replace(placeholder, 2, value.value_or("(null)"));
  error.recoverySuggestion = std::move(suggestion);
  return error;
}
