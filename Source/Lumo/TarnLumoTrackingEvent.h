#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/MediaTime.h"
#include "Platform/URL.h"

/// One tracking event of a Linear or a companion (VAST 3.0 §2.3.1.7).
class TarnLumoTrackingEvent {
 public:
  /// `offset` is in-ad time; invalid unless the document gave one. `url` is absent when its text formed none.
  TarnLumoTrackingEvent(std::optional<std::string> name, CMTime offset, std::optional<tarn::URL> url);

  [[nodiscard]] const std::optional<std::string>& name() const { return name_; }
  [[nodiscard]] CMTime offset() const { return offset_; }
  [[nodiscard]] const std::optional<tarn::URL>& url() const { return url_; }

  /// -1, 0 or 1 by offset alone.
  [[nodiscard]] int compareByOffset(const TarnLumoTrackingEvent& other) const;
  [[nodiscard]] bool isEqualToTrackingEvent(const TarnLumoTrackingEvent& other) const;
  [[nodiscard]] std::uint64_t hash() const;
  [[nodiscard]] std::string description() const;
  friend bool operator==(const TarnLumoTrackingEvent& a, const TarnLumoTrackingEvent& b) {
    return a.isEqualToTrackingEvent(b);
  }

 private:
  std::optional<std::string> name_;
  CMTime offset_;
  std::optional<tarn::URL> url_;
};

/// Finds the beacon URLs that are due, by name or by in-ad time.
class TarnLumoTrackingEventsCollection {
 public:
  using Events = std::vector<std::shared_ptr<const TarnLumoTrackingEvent>>;
  using EventsByName = std::map<std::string, Events, std::less<>>;
  using URLs = std::vector<tarn::URL>;

  /// Sorts `orderedEventsWithOffsets` if it is not; equal offsets keep their order. No element is null.
  TarnLumoTrackingEventsCollection(EventsByName eventsByName, Events orderedEventsWithOffsets);

  /// The events of each name in document order; events without a name are under the empty name.
  [[nodiscard]] const EventsByName& eventsByName() const { return eventsByName_; }
  /// Ascending by offset. Events named "complete" are never here: they are due when the ad is left, not at a
  /// time.
  [[nodiscard]] const Events& orderedEventsWithOffsets() const { return orderedEventsWithOffsets_; }

  /// In document order, leaving out events without a URL; empty for an unknown name.
  [[nodiscard]] URLs URLsForTrackingEventsNamed(std::string_view name) const;
  /// The URLs of the events with an offset in the half-open in-ad interval [`first`, `second`), in offset
  /// order.
  [[nodiscard]] URLs URLsForTrackingEventsAtOrAfter(CMTime first, CMTime second) const;

  [[nodiscard]] bool isEqualToTrackingEventsCollection(const TarnLumoTrackingEventsCollection& other) const;
  [[nodiscard]] std::uint64_t hash() const;
  [[nodiscard]] std::string description() const;
  friend bool operator==(const TarnLumoTrackingEventsCollection& a,
                         const TarnLumoTrackingEventsCollection& b) {
    return a.isEqualToTrackingEventsCollection(b);
  }

 private:
  EventsByName eventsByName_;
  Events orderedEventsWithOffsets_;
};
