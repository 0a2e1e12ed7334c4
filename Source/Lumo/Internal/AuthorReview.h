#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Lumo/Internal/ReadingObserver.h"
#include "Lumo/Internal/TarnLumoTimelineReview.h"
#include "Lumo/Internal/TarnLumoWarningCollector.h"

namespace tarn {

/// Makes warnings for the document's author from the facts that the reader reports. Reviews one document.
class AuthorReview final : public ReadingObserver {
 public:
  /// The review then has none.
  [[nodiscard]] std::vector<TarnLumoWarning> takeWarnings() { return warnings_.take(); }

  void bytesAreNotUTF8() override;
  void xmlHasFaults(const TarnLumoONOXMLFaults& faults) override;
  void rootIsNotVMAP(const RootElement& root) override;
  void extensionIsMissing(const std::string& name) override;
  void impressionHasNoTime(std::int64_t line, const std::optional<std::string>& text) override;
  void timelineIsRead(const TarnLumoTimeline& timeline, const std::vector<CMTime>& offsets) override;

  void breakBegins(const AdBreakHead& head) override;
  void breakHasAd(std::int64_t line, std::size_t number) override;
  void breakHasNoAd(std::int64_t line, const PathToAd& path) override;
  void durationIsCounted(std::int64_t lineOfBreak, const CMTime& sum) override;

  void adHasNoInLine(std::int64_t line, const std::optional<std::string>& id, bool hasWrapper) override;
  void adHasNoLinear(std::int64_t line, const std::optional<std::string>& id) override;
  void creativeIsSkipped(std::int64_t line) override;
  void durationIsRead(std::int64_t line, const std::string& text, const CMTime& duration) override;
  void skipOffsetIsUnreadable(std::int64_t line, const std::string& text) override;
  void trackingHasNoEvent(const ElementPlace& place) override;
  void trackingOffsetIsRead(const TrackingOffset& offset, const TarnLumoTrackingEvent& event,
                            const CMTime& adDuration) override;
  void companionHasNoResource(const ElementPlace& place) override;
  void companionsAreReplaced(std::int64_t line, std::size_t before, std::size_t now) override;

  void textIsNoURL(const ElementPlace& place, const std::string& text) override;
  void attributeIsUnreadable(const AttributeText& attribute, AttributeKind expected) override;

 private:
  void reviewOffset(const AdBreakHead& head);
  void reviewBeginTime(const AdBreakHead& head);

  WarningCollector warnings_;
  BreakLines breakLines_;
  CMTime latestOffset_ = kCMTimeZero;
  std::optional<std::int64_t> lineOfUncountedBreak_;
  bool warnedOfBeginTimes_ = false;
};

}  // namespace tarn
