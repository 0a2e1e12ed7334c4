#include "Lumo/TarnLumoTrackingEvent.h"

#include <algorithm>
#include <utility>

#include "Lumo/Internal/ValueSupport.h"

namespace {

bool isBefore(const TarnLumoTrackingEvent& event, const CMTime& time) {
  return event.offset() < time;
}

}  // namespace

TarnLumoTrackingEvent::TarnLumoTrackingEvent(std::optional<std::string> name, CMTime offset,
                                             std::optional<tarn::URL> url)
    : name_(std::move(name)), offset_(offset), url_(std::move(url)) {}

int TarnLumoTrackingEvent::compareByOffset(const TarnLumoTrackingEvent& other) const {
  return CMTimeCompare(offset_, other.offset_);
}

bool TarnLumoTrackingEvent::isEqualToTrackingEvent(const TarnLumoTrackingEvent& other) const {
  return offset_ == other.offset_ && name_ == other.name_ && url_ == other.url_;
}

std::uint64_t TarnLumoTrackingEvent::hash() const {
  const auto hash = tarn::foldHash(tarn::hashOfTime(offset_), tarn::hashOf(name_));
  return tarn::foldHash(hash, tarn::hashOf(url_));
}

std::string TarnLumoTrackingEvent::description() const {
  return tarn::Description("TarnLumoTrackingEvent", this)
      .piece("name", name_)
      .piece("offset", offset_)
      .piece("url", url_)
      .text();
}

TarnLumoTrackingEventsCollection::TarnLumoTrackingEventsCollection(EventsByName eventsByName,
                                                                   Events orderedEventsWithOffsets)
    : eventsByName_(std::move(eventsByName)), orderedEventsWithOffsets_(std::move(orderedEventsWithOffsets)) {
  std::stable_sort(orderedEventsWithOffsets_.begin(), orderedEventsWithOffsets_.end(),
                   [](const auto& a, const auto& b) { return a->compareByOffset(*b) < 0; });
}

TarnLumoTrackingEventsCollection::URLs TarnLumoTrackingEventsCollection::URLsForTrackingEventsNamed(
    std::string_view name) const {
  URLs urls;
  const auto found = eventsByName_.find(name);
  if (found == eventsByName_.end()) return urls;
  for (const auto& event : found->second) {
    if (event->url()) urls.push_back(*event->url());
  }
  return urls;
}

TarnLumoTrackingEventsCollection::URLs TarnLumoTrackingEventsCollection::URLsForTrackingEventsAtOrAfter(
    CMTime first, CMTime second) const {
  URLs urls;
  const auto end = orderedEventsWithOffsets_.end();
  auto event = std::partition_point(orderedEventsWithOffsets_.begin(), end,
                                    [&](const auto& candidate) { return isBefore(*candidate, first); });
  for (; event != end && isBefore(**event, second); ++event) {
    if ((*event)->url()) urls.push_back(*(*event)->url());
  }
  return urls;
}

bool TarnLumoTrackingEventsCollection::isEqualToTrackingEventsCollection(
    const TarnLumoTrackingEventsCollection& other) const {
  const auto sameEntry = [](const auto& a, const auto& b) {
    return a.first == b.first && tarn::equalValues(a.second, b.second);
  };
  return std::equal(eventsByName_.begin(), eventsByName_.end(), other.eventsByName_.begin(),
                    other.eventsByName_.end(), sameEntry) &&
         tarn::equalValues(orderedEventsWithOffsets_, other.orderedEventsWithOffsets_);
}

std::uint64_t TarnLumoTrackingEventsCollection::hash() const {
  std::uint64_t hash = 0;
  for (const auto& [name, events] : eventsByName_) {
    hash = tarn::foldHash(tarn::foldHash(hash, tarn::hashOf(name)), tarn::hashOf(events));
  }
  return tarn::foldHash(hash, tarn::hashOf(orderedEventsWithOffsets_));
}

std::string TarnLumoTrackingEventsCollection::description() const {
  return tarn::Description("TarnLumoTrackingEventsCollection", this)
      .piece("eventsByName", eventsByName_)
      .piece("orderedEventsWithOffsets", orderedEventsWithOffsets_)
      .text();
}
