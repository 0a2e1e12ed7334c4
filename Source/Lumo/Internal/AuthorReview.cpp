#include "Lumo/Internal/AuthorReview.h"

#include "Platform/NumberFormatter.h"
#include "Platform/Text.h"

namespace tarn {
namespace {

constexpr std::size_t kMaxFaultMessageSize = 200;

[[nodiscard]] std::string inNamespace(const std::optional<std::string>& uri) {
  return uri ? " in the namespace " + quoted(*uri) : "";
}

[[nodiscard]] std::string nameOfAd(const std::optional<std::string>& id) {
  return id ? "The ad " + quoted(*id) : "An ad without id";
}

[[nodiscard]] std::string reasonForNoAd(const PathToAd& path) {
  if (!path.hasSource) return "it has no AdSource";
  if (path.dataTag.empty() && path.hasAdTagURI)
    return "its AdSource refers to an AdTagURI, which is not fetched";
  if (path.dataTag.empty()) return "its AdSource has neither VASTData nor VASTAdData";
  if (!path.hasVAST) return "there is no VAST in its " + path.dataTag;
  if (path.namespaceOfVAST)
    return "its VAST is" + inNamespace(path.namespaceOfVAST) +
           ", where one without a namespace is looked for";
  if (!path.hasAd) return "its VAST is empty";
  return "the way to its Ad is not named vmap:AdSource/vmap:" + path.dataTag + "/VAST/Ad";
}

[[nodiscard]] std::string unreadable(AttributeKind expected) {
  switch (expected) {
    case AttributeKind::url:
      return ", forms no absolute URL.";
    case AttributeKind::integer:
      return ", is no integer and was read as 0.";
    case AttributeKind::seconds:
      return ", is no number of seconds and was read as 0.";
  }
  return {};
}

}  // namespace

void AuthorReview::bytesAreNotUTF8() {
  warnings_.add(std::nullopt,
                "The bytes are not UTF-8, so the service's extension is looked for under the prefix mh "
                "whatever the document declares; send it as UTF-8.");
}

void AuthorReview::xmlHasFaults(const TarnLumoONOXMLFaults& faults) {
  for (const auto& fault : faults.first)
    warnings_.add(fault.line, (fault.repaired ? "The XML is not well-formed and was repaired: " : "XML: ") +
                                  clippedText(fault.message, kMaxFaultMessageSize) + ".");
  if (faults.count > faults.first.size())
    warnings_.add(std::nullopt,
                  "The XML has " + std::to_string(faults.count - faults.first.size()) + " more faults.");
}

void AuthorReview::rootIsNotVMAP(const RootElement& root) {
  const std::string name = root.prefix ? *root.prefix + ":" + root.place.tag : root.place.tag;
  const std::string begin = "The root element is " + quoted(name) + inNamespace(root.namespaceURI);
  if (root.place.tag == "VMAP") {
    warnings_.add(root.place.line,
                  begin + "; only the prefix vmap, defined on the root, leads to extensions and ads.");
  } else {
    warnings_.add(root.place.line,
                  begin + ", not vmap:VMAP: this is no VMAP document, and the timeline is empty.");
  }
}

void AuthorReview::extensionIsMissing(const std::string& name) {
  warnings_.add(std::nullopt, "There is no " + name +
                                  " in the vmap:Extensions of the root element (the prefixes defined on the "
                                  "root itself), so the stream has no URL and no length.");
}

void AuthorReview::impressionHasNoTime(std::int64_t line, const std::optional<std::string>& text) {
  warnings_.add(line, text ? "The time " + quoted(*text) +
                                 " of a content impression is no number of seconds; it is never sent."
                           : "A content impression without a time is never sent.");
}

void AuthorReview::timelineIsRead(const TarnLumoTimeline& timeline, const std::vector<CMTime>& offsets) {
  reviewTimeline(timeline, offsets, breakLines_, warnings_);
}

void AuthorReview::breakBegins(const AdBreakHead& head) {
  breakLines_.emplace(head.offset, head.line);
  reviewOffset(head);
  reviewBeginTime(head);
}

void AuthorReview::reviewOffset(const AdBreakHead& head) {
  if (CMTIME_IS_POSITIVE_INFINITY(head.offset)) {
    if (head.timeOffset.size() != std::string_view("end").size())
      warnings_.add(head.line, "The timeOffset " + quoted(head.timeOffset) +
                                   " is beyond all times and counts as “end”.");
    return;
  }
  if (head.offset < latestOffset_)
    warnings_.add(head.line, "The timeOffset " + quoted(head.timeOffset) +
                                 " lies before that of an earlier AdBreak (" + spokenTime(latestOffset_) +
                                 "); begin times count the ads in document order.");
  if (head.offset > latestOffset_) latestOffset_ = head.offset;
}

void AuthorReview::reviewBeginTime(const AdBreakHead& head) {
  if (CMTIME_IS_POSITIVE_INFINITY(head.offset) || CMTIME_IS_NUMERIC(head.beginTime) || warnedOfBeginTimes_)
    return;
  warnedOfBeginTimes_ = true;
  const std::string ads =
      lineOfUncountedBreak_ ? " at line " + std::to_string(*lineOfUncountedBreak_) : std::string("s");
  warnings_.add(head.line, "From this AdBreak on begin times are invalid, because of the duration of the ad" +
                               ads + " before it.");
}

void AuthorReview::breakHasAd(std::int64_t line, std::size_t number) {
  if (number == 2)
    warnings_.add(line, "Only the first Ad of an AdBreak is read; this one and those behind it are not.");
}

void AuthorReview::breakHasNoAd(std::int64_t line, const PathToAd& path) {
  warnings_.add(
      line, "The AdBreak holds no ad (" + reasonForNoAd(path) + ") and yields one without id and duration.");
}

void AuthorReview::durationIsCounted(std::int64_t lineOfBreak, const CMTime& sum) {
  if (!CMTIME_IS_NUMERIC(sum) && !lineOfUncountedBreak_) lineOfUncountedBreak_ = lineOfBreak;
}

void AuthorReview::adHasNoInLine(std::int64_t line, const std::optional<std::string>& id, bool hasWrapper) {
  warnings_.add(line, nameOfAd(id) +
                          (hasWrapper ? " is a Wrapper, which is not followed" : " has no InLine") +
                          "; nothing but its id is read.");
}

void AuthorReview::adHasNoLinear(std::int64_t line, const std::optional<std::string>& id) {
  warnings_.add(line, nameOfAd(id) + " has no Linear creative, and so no duration and no begin time.");
}

void AuthorReview::creativeIsSkipped(std::int64_t line) {
  warnings_.add(line, "A further creative with a Linear was skipped, its companions included.");
}

void AuthorReview::durationIsRead(std::int64_t line, const std::string& text, const CMTime& duration) {
  if (!CMTIME_IS_NUMERIC(duration))
    warnings_.add(line, "The Duration " + quoted(text) + " is too long to be counted.");
}

void AuthorReview::skipOffsetIsUnreadable(std::int64_t line, const std::string& text) {
  const auto& plain = NumberFormatter::shared(NumberFormatter::Style::plain);
  warnings_.add(line, "The skipoffset " + quoted(text) +
                          (plain.numberFromString(text) ? " is a percentage without its sign"
                                                        : " is neither a percentage nor a time") +
                          "; the ad cannot be skipped.");
}

void AuthorReview::trackingHasNoEvent(const ElementPlace& place) {
  warnings_.add(place.line, place.tag + " has no event attribute, so it is never sent.");
}

void AuthorReview::trackingOffsetIsRead(const TrackingOffset& offset, const TarnLumoTrackingEvent& event,
                                        const CMTime& adDuration) {
  const auto warn = [&](const char* finding) {
    warnings_.add(offset.place.line,
                  "The offset " + quoted(offset.text) + " of " + offset.place.tag + finding);
  };
  if (!offset.isNumber) {
    warn(" is no number of seconds and was read as 0.");
  } else if (event.offset() > adDuration && event.name() != "complete") {
    warn(" lies behind the ad's end, so it is never sent.");
  }
}

void AuthorReview::companionHasNoResource(const ElementPlace& place) {
  warnings_.add(place.line, place.tag + " has no StaticResource, so there is nothing to show.");
}

void AuthorReview::companionsAreReplaced(std::int64_t line, std::size_t before, std::size_t now) {
  if (before == 0) return;
  warnings_.add(line, "This creative's companions (" + std::to_string(now) +
                          ") replace those of the creative before it (" + std::to_string(before) + ").");
}

void AuthorReview::textIsNoURL(const ElementPlace& place, const std::string& text) {
  warnings_.add(place.line, trimmed(text).empty() ? place.tag + " is empty where a URL is expected."
                                                  : "The text " + quoted(text) + " of " + place.tag +
                                                        " forms no absolute URL.");
}

void AuthorReview::attributeIsUnreadable(const AttributeText& attribute, AttributeKind expected) {
  const std::string subject = "The attribute " + attribute.name + " of " + attribute.place.tag;
  const bool hasDefault = expected != AttributeKind::url;
  warnings_.add(attribute.place.line,
                attribute.text ? subject + ", " + quoted(*attribute.text) + unreadable(expected)
                               : subject + " is missing" + (hasDefault ? " and was read as 0." : "."));
}

}  // namespace tarn
