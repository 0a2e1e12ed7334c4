#include "Document/TimelineJson.h"

namespace tarn::cli {
namespace {

Json extensionsJson(const std::optional<std::vector<Dictionary>>& elements);

/// Adds a member whose key is known to be new: `object[key]` looks through all keys, which would be quadratic
/// in a document of many names.
void addDistinct(Json& object, const std::string& key, Json value) {
  object.get_ref<Json::object_t&>().push_back({key, std::move(value)});
}

Json attributesJson(const Dictionary& element) {
  Json object = Json::object();
  const auto* attributes = element.get<Dictionary>(kTarnXMLElementAttributesKey);
  if (attributes == nullptr) return object;
  for (const auto& [name, value] : *attributes) {
    if (const auto* text = std::any_cast<std::string>(&value)) addDistinct(object, name, *text);
  }
  return object;
}

Json elementJson(const Dictionary& element) {
  const auto* tag = element.get<std::string>(kTarnXMLElementTagKey);
  const auto* children = element.get<std::vector<Dictionary>>(kTarnXMLElementContentKey);
  const auto* text = element.get<std::string>(kTarnXMLElementContentKey);
  return {{"tag", tag != nullptr ? *tag : ""},
          {"attributes", attributesJson(element)},
          {"content", children != nullptr ? extensionsJson(*children) : Json(text != nullptr ? *text : "")}};
}

Json extensionsJson(const std::optional<std::vector<Dictionary>>& elements) {
  if (!elements) return nullptr;
  Json array = Json::array();
  for (const auto& element : *elements) array.push_back(elementJson(element));
  return array;
}

Json eventsJson(const std::shared_ptr<const TarnLumoTrackingEventsCollection>& collection) {
  if (!collection) return nullptr;
  Json byName = Json::object();
  for (const auto& [name, events] : collection->eventsByName()) {
    Json list = Json::array();
    for (const auto& event : events) {
      list.push_back({{"offset", json(event->offset())}, {"url", json(event->url())}});
    }
    addDistinct(byName, name, std::move(list));
  }
  Json ordered = Json::array();
  for (const auto& event : collection->orderedEventsWithOffsets()) {
    ordered.push_back({{"name", event->name().value_or("")},
                       {"offset", json(event->offset())},
                       {"url", json(event->url())}});
  }
  return {{"byName", std::move(byName)}, {"ordered", std::move(ordered)}};
}

Json companionsJson(const std::shared_ptr<const TarnLumoCompanionAdsCollection>& collection) {
  Json array = Json::array();
  if (!collection) return array;
  for (const auto& companion : collection->orderedCompanionAdsWithWidthThenHeight()) {
    array.push_back({{"identifier", json(companion->identifier())},
                     {"width", companion->width()},
                     {"height", companion->height()},
                     {"staticResourceURL", json(companion->staticResourceURL())},
                     {"staticResourceCreativeType", json(companion->staticResourceCreativeType())},
                     {"clickThroughURL", json(companion->clickThroughURL())},
                     {"clickTrackingURLs", json(companion->clickTrackingURLs())},
                     {"trackingEvents", eventsJson(companion->trackingEventsCollection())}});
  }
  return array;
}

Json adJson(const TarnLumoAd& ad) {
  return {{"adId", json(ad.adId())},
          {"title", json(ad.title())},
          {"beginTime", json(ad.beginTime())},
          {"endTime", json(ad.endTime())},
          {"duration", json(ad.duration())},
          {"logicalOffset", json(ad.logicalOffset())},
          {"skipOffset", json(ad.skipOffset())},
          {"impressionURLs", json(ad.impressionURLs())},
          {"clickThroughURL", json(ad.clickThroughURL())},
          {"clickTrackingURLs", json(ad.clickTrackingURLs())},
          {"trackingEvents", eventsJson(ad.trackingEventsCollection())},
          {"companions", companionsJson(ad.companionsCollection())},
          {"creativeExtensions", extensionsJson(ad.vastAdCreativeExtensions())},
          {"extensions", extensionsJson(ad.vastAdExtensions())}};
}

Json sequenceJson(const TarnLumoAdSequence& sequence) {
  Json ads = Json::array();
  for (const auto& ad : sequence.ads()) ads.push_back(adJson(*ad));
  return {{"beginTime", json(sequence.beginTime())},
          {"endTime", json(sequence.endTime())},
          {"duration", json(sequence.duration())},
          {"logicalOffset", json(sequence.logicalOffset())},
          {"ads", std::move(ads)}};
}

template <typename List, typename Convert>
Json arrayOf(const List& list, Convert convert) {
  Json array = Json::array();
  for (const auto& element : list) array.push_back(convert(element));
  return array;
}

}  // namespace

Json timelineJson(const LoadedTimeline& loaded) {
  const auto& timeline = *loaded.timeline;
  Json impressions = arrayOf(timeline.contentImpressions(), [](const auto& impression) -> Json {
    return {{"url", json(impression->url())}, {"logicalTime", json(impression->logicalTime())}};
  });
  Json segments = arrayOf(timeline.contentSegments(), [](const auto& segment) -> Json {
    return {{"beginTime", json(segment.beginTime())}, {"duration", json(segment.duration())}};
  });
  Json sequences =
      arrayOf(timeline.adSequences(), [](const auto& sequence) { return sequenceJson(*sequence); });
  Json warnings = arrayOf(loaded.warnings, [](const auto& warning) -> Json {
    return {{"line", warning.line ? Json(*warning.line) : Json(nullptr)}, {"message", warning.message}};
  });
  return {{"namespace", loaded.vmapExtensionsNamespace},
          {"url", json(timeline.lumoURL())},
          {"payloadLength", json(timeline.payloadLength())},
          {"contentLength", json(timeline.contentLength())},
          {"contentImpressions", std::move(impressions)},
          {"contentSegments", std::move(segments)},
          {"adSequences", std::move(sequences)},
          {"warnings", std::move(warnings)}};
}

}  // namespace tarn::cli
