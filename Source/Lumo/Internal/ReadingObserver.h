#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Lumo/TarnLumoAd.h"
#include "Lumo/TarnLumoTimeline.h"
#include "Platform/MediaTime.h"
#include "XML/TarnLumoONOXMLDocument.h"

namespace tarn {

/// An element of the document, as far as an observer needs to know it.
struct ElementPlace {
  std::int64_t line = 0;  ///< As the parser counts, which ends at 65,535.
  std::string tag;
};

struct RootElement {
  ElementPlace place;
  std::optional<std::string> prefix;
  std::optional<std::string> namespaceURI;
};

struct AttributeText {
  ElementPlace place;
  std::string name;
  std::optional<std::string> text;  ///< Absent when the attribute is missing.
};

enum class AttributeKind { url, integer, seconds };

struct AdBreakHead {
  std::int64_t line = 0;
  std::string timeOffset;
  CMTime offset;     ///< Content time.
  CMTime beginTime;  ///< Absolute time.
};

/// How much of AdSource, VASTData (or VASTAdData), VAST and Ad a break holds, in any namespace.
struct PathToAd {
  bool hasSource = false;
  bool hasAdTagURI = false;
  std::string dataTag;  ///< Empty without VASTData and VASTAdData.
  bool hasVAST = false;
  std::optional<std::string> namespaceOfVAST;
  bool hasAd = false;
};

struct TrackingOffset {
  ElementPlace place;
  std::string text;
  bool isNumber = false;
};

/// Receives the facts about a document that its timeline does not hold, while the document is read and in
/// that order. This one ignores them. Used by one thread.
class ReadingObserver {
 public:
  ReadingObserver() = default;
  ReadingObserver(const ReadingObserver&) = delete;
  ReadingObserver& operator=(const ReadingObserver&) = delete;
  virtual ~ReadingObserver() = default;

  // The document.
  virtual void bytesAreNotUTF8() {}
  virtual void xmlHasFaults(const TarnLumoONOXMLFaults& /*faults*/) {}
  virtual void rootIsNotVMAP(const RootElement& /*root*/) {}
  virtual void extensionIsMissing(const std::string& /*name*/) {}
  virtual void impressionHasNoTime(std::int64_t /*line*/, const std::optional<std::string>& /*text*/) {}
  /// `offsets` are those of the timeline's sequences, in their order.
  virtual void timelineIsRead(const TarnLumoTimeline& /*timeline*/, const std::vector<CMTime>& /*offsets*/) {}

  // A break.
  virtual void breakBegins(const AdBreakHead& /*head*/) {}
  /// `number` counts from 1; only the first ad is read.
  virtual void breakHasAd(std::int64_t /*line*/, std::size_t /*number*/) {}
  virtual void breakHasNoAd(std::int64_t /*line*/, const PathToAd& /*path*/) {}
  /// `sum` is that of the ads so far, this break's included and post-rolls excluded.
  virtual void durationIsCounted(std::int64_t /*lineOfBreak*/, const CMTime& /*sum*/) {}

  // An ad.
  virtual void adHasNoInLine(std::int64_t /*line*/, const std::optional<std::string>& /*id*/,
                             bool /*hasWrapper*/) {}
  virtual void adHasNoLinear(std::int64_t /*line*/, const std::optional<std::string>& /*id*/) {}
  virtual void creativeIsSkipped(std::int64_t /*line*/) {}
  virtual void durationIsRead(std::int64_t /*line*/, const std::string& /*text*/,
                              const CMTime& /*duration*/) {}
  virtual void skipOffsetIsUnreadable(std::int64_t /*line*/, const std::string& /*text*/) {}
  virtual void trackingHasNoEvent(const ElementPlace& /*place*/) {}
  virtual void trackingOffsetIsRead(const TrackingOffset& /*offset*/, const TarnLumoTrackingEvent& /*event*/,
                                    const CMTime& /*adDuration*/) {}
  virtual void companionHasNoResource(const ElementPlace& /*place*/) {}
  virtual void companionsAreReplaced(std::int64_t /*line*/, std::size_t /*before*/, std::size_t /*now*/) {}

  // A value.
  virtual void textIsNoURL(const ElementPlace& /*place*/, const std::string& /*text*/) {}
  virtual void attributeIsUnreadable(const AttributeText& /*attribute*/, AttributeKind /*expected*/) {}
};

}  // namespace tarn
