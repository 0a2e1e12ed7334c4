#include "Lumo/Internal/TarnLumoAdReader.h"

#include <string>
#include <utility>
#include <vector>

#include "Lumo/Internal/TarnLumoValueReader.h"
#include "Lumo/TarnLumoCommon.h"
#include "Platform/LocalizedString.h"
#include "Platform/NumberFormatter.h"
#include "Platform/Text.h"

namespace {

using Element = TarnLumoONOXMLElement;
using tarn::quoted;
using tarn::urlOfText;
using tarn::WarningCollector;
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

void appendURL(std::vector<tarn::URL>& urls, const Element& element, WarningCollector& warnings) {
  if (auto url = urlOfText(element, warnings)) urls.push_back(*std::move(url));
}

/// Reads one Ad element; a reader is used once.
class AdReader {
 public:
  AdReader(CMTime beginTime, CMTime logicalOffset, WarningCollector& warnings)
      : beginTime_(beginTime), logicalOffset_(logicalOffset), warnings_(warnings) {}

  [[nodiscard]] tarn::Result<TarnLumoAdBuilder> read(const Element& ad) && {
    builder_.adId = ad.valueForAttribute("id");
    const auto inLine = ad.firstChildWithTag("InLine");
    if (!inLine) {
      const bool wrapped = ad.firstChildWithTag("Wrapper").has_value();
      warnings_.add(ad, name(ad) + (wrapped ? " is a Wrapper, which is not followed" : " has no InLine") +
                            "; nothing but its id is read.");
      return std::move(builder_);
    }
    if (const auto title = inLine->firstChildWithTag("AdTitle"))
      builder_.adTitle = std::string(tarn::trimmed(title->stringValue()));
    for (const Element& impression : inLine->childrenWithTag("Impression"))
      appendURL(builder_.impressionURLs, impression, warnings_);
    for (const Element& creative : childrenOfFirst(*inLine, "Creatives")) {
      if (auto done = readCreative(creative); !done) return done.error();
    }
    if (!hasLinear_)
      warnings_.add(ad, name(ad) + " has no Linear creative, and so no duration and no begin time.");
    builder_.vastAdExtensions = extensionsOfFirst(*inLine, "Extensions");
    return std::move(builder_);
  }

 private:
  [[nodiscard]] static std::string name(const Element& ad) {
    const auto id = ad.valueForAttribute("id");
    return id ? "The ad " + quoted(*id) : "An ad without id";
  }

  [[nodiscard]] tarn::Result<void> readCreative(const Element& creative) {
    if (const auto linear = creative.firstChildWithTag("Linear")) {
      if (hasLinear_) {
        TarnLumoLog("Cannot process multiple Linear elements within a single Ad element.");
        warnings_.add(creative, "A further creative with a Linear was skipped, its companions included.");
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
      if (click.tag() == "ClickThrough") builder_.clickThroughURL = urlOfText(click, warnings_);
      if (click.tag() == "ClickTracking") appendURL(builder_.clickTrackingURLs, click, warnings_);
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
                                            std::to_string(where.lineNumber()) +
                                            " as HH:MM:SS or HH:MM:SS.mmm.");
    }
    if (!CMTIME_IS_NUMERIC(builder_.duration))
      warnings_.add(*element, "The Duration " + quoted(*text) + " is too long to be counted.");
    return {};
  }

  [[nodiscard]] CMTime skipOffsetOf(const Element& linear) {
    const auto text = linear.valueForAttribute("skipoffset");
    if (!text) return kCMTimeInvalid;
    const CMTime offset = TarnLumoSkipOffsetFromStringWithDuration(text, builder_.duration);
    if (CMTIME_IS_INVALID(offset)) {
      const auto& plain = tarn::NumberFormatter::shared(tarn::NumberFormatter::Style::plain);
      warnings_.add(linear, "The skipoffset " + quoted(*text) +
                                (plain.numberFromString(*text) ? " is a percentage without its sign"
                                                               : " is neither a percentage nor a time") +
                                "; the ad cannot be skipped.");
    }
    return offset;
  }

  /// Offsets count in a Linear only.
  [[nodiscard]] std::shared_ptr<const TarnLumoTrackingEventsCollection> trackingEventsOf(
      const Element& parent, bool withOffsets) {
    TarnLumoTrackingEventsCollectionBuilder events;
    for (const Element& tracking : childrenOfFirst(parent, "TrackingEvents")) {
      auto event = tracking.valueForAttribute("event");
      if (!event) warnings_.add(tracking, tracking.tag() + " has no event attribute, so it is never sent.");
      const auto offset = withOffsets ? tracking.valueForAttribute("offset") : std::nullopt;
      auto url = urlOfText(tracking, warnings_);
      if (!offset) {
        events.addTrackingEventNamed(std::move(event), std::move(url));
        continue;
      }
      if (!events.addTrackingEventNamed(std::move(event), *offset, std::move(url))) {
        warnings_.add(tracking, "The offset " + quoted(*offset) + " of " + tracking.tag() +
                                    " is no number of seconds and was read as 0.");
      } else if (events.trackingEvents.back()->offset() > builder_.duration &&
                 events.trackingEvents.back()->name() != "complete") {
        warnings_.add(tracking, "The offset " + quoted(*offset) + " of " + tracking.tag() +
                                    " lies behind the ad's end, so it is never sent.");
      }
    }
    return events.buildTrackingEventsCollection();
  }

  void readCompanions(const Element& creative) {
    TarnLumoCompanionAdsCollectionBuilder companions;
    for (const Element& companion : childrenOfFirst(creative, "CompanionAds"))
      companions.addCompanionAd(readCompanion(companion));
    // The companions of the last creative count.
    const auto& replaced = builder_.companionsCollection;
    if (replaced && !replaced->orderedCompanionAdsWithWidthThenHeight().empty())
      warnings_.add(creative,
                    "This creative's companions (" + std::to_string(companions.companionAds.size()) +
                        ") replace those of the creative before it (" +
                        std::to_string(replaced->orderedCompanionAdsWithWidthThenHeight().size()) + ").");
    builder_.companionsCollection = companions.buildCompanionAdsCollection();
  }

  [[nodiscard]] std::shared_ptr<const TarnLumoCompanionAd> readCompanion(const Element& element) {
    TarnLumoCompanionAdBuilder companion;
    companion.width = tarn::integerOfAttribute(element, "width", warnings_);
    companion.height = tarn::integerOfAttribute(element, "height", warnings_);
    companion.identifier = element.valueForAttribute("id");
    if (const auto resource = element.firstChildWithTag("StaticResource")) {
      companion.staticResourceURL = urlOfText(*resource, warnings_);
      companion.staticResourceCreativeType = resource->valueForAttribute("creativeType");
    } else {
      warnings_.add(element, element.tag() + " has no StaticResource, so there is nothing to show.");
    }
    companion.trackingEventsCollection = trackingEventsOf(element, false);
    for (const Element& click : element.children()) {
      if (click.tag() == "CompanionClickThrough") companion.clickThroughURL = urlOfText(click, warnings_);
      if (click.tag() == "CompanionClickTracking") appendURL(companion.clickTrackingURLs, click, warnings_);
    }
    return companion.buildCompanionAd();
  }

  CMTime beginTime_;
  CMTime logicalOffset_;
  WarningCollector& warnings_;
  TarnLumoAdBuilder builder_;
  bool hasLinear_ = false;
};

}  // namespace

tarn::Result<TarnLumoAdBuilder> TarnLumoDeserializeAdBuilderFromElementAndBeginTimeWithError(
    const std::optional<TarnLumoONOXMLElement>& element, CMTime beginTime, CMTime logicalOffset,
    tarn::WarningCollector& warnings) {
  if (!element) return TarnLumoAdBuilder{};
  return AdReader(beginTime, logicalOffset, warnings).read(*element);
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
