#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Lumo/TarnLumoAdSequence.h"
#include "Lumo/TarnLumoContentImpression.h"
#include "Lumo/TarnLumoPath.h"

class TarnLumoTimelineOperation;

/// One stretch of content in the stitched stream.
class TarnLumoContentSegment {
 public:
  TarnLumoContentSegment(CMTime beginTime, CMTime duration) : beginTime_(beginTime), duration_(duration) {}

  /// Absolute time.
  [[nodiscard]] CMTime beginTime() const { return beginTime_; }
  [[nodiscard]] CMTime duration() const { return duration_; }

 private:
  CMTime beginTime_;
  CMTime duration_;
};

/// The shape of one stitched stream, and the one authority for mapping between absolute time (a position in
/// the stream, ads included) and content time (a position in the content alone). Immutable, any thread; made
/// by `make`, shared.
///
/// Mapping and `pathAtTime` take logarithmic time in the number of breaks for sequences that are in stream
/// order without overlap; for others they walk the list. The results are the same.
class TarnLumoTimeline : public std::enable_shared_from_this<TarnLumoTimeline> {
  struct Key {};

 public:
  using AdSequences = std::vector<std::shared_ptr<const TarnLumoAdSequence>>;
  using ContentImpressions = std::vector<std::shared_ptr<const TarnLumoContentImpression>>;

  /// `adSequences` in stream order. Neither order nor lengths are verified. No element is null.
  [[nodiscard]] static std::shared_ptr<const TarnLumoTimeline> make(std::optional<tarn::URL> lumoURL,
                                                                    CMTime contentLength,
                                                                    CMTime payloadLength,
                                                                    AdSequences adSequences,
                                                                    ContentImpressions contentImpressions);
  TarnLumoTimeline(Key, std::optional<tarn::URL> lumoURL, CMTime contentLength, CMTime payloadLength,
                   AdSequences adSequences, ContentImpressions contentImpressions);
  ~TarnLumoTimeline();

  /// The stitched stream to play; absent when the document named none.
  [[nodiscard]] const std::optional<tarn::URL>& lumoURL() const { return lumoURL_; }
  /// As the document states it; no mapping uses it.
  [[nodiscard]] CMTime contentLength() const { return contentLength_; }
  /// Length of the whole stream, as the document states it.
  [[nodiscard]] CMTime payloadLength() const { return payloadLength_; }
  [[nodiscard]] const AdSequences& adSequences() const { return adSequences_; }
  [[nodiscard]] const ContentImpressions& contentImpressions() const { return contentImpressions_; }

  /// The stretches of content between the ad sequences, in stream order; between touching sequences one of
  /// length zero.
  [[nodiscard]] std::vector<TarnLumoContentSegment> contentSegments() const;

  /// Content time at an absolute time; inside a break, the content time of the break. Invalid when
  /// the time is after all segments and they add up to nothing.
  [[nodiscard]] CMTime contentTimeAtAbsoluteTime(CMTime absoluteTime) const;

  /// Absolute time at a content time. On a break it is the break's end; at the content's end (and for a
  /// negative time) the payload length; after it, invalid.
  [[nodiscard]] CMTime absoluteTimeAtContentTime(CMTime contentTime) const;

  /// The ad, if any, and the logical time at an absolute time.
  [[nodiscard]] TarnLumoPath pathAtTime(CMTime absoluteTime) const;

  /// Content impressions compare by identity.
  [[nodiscard]] bool isEqualToTimeline(const TarnLumoTimeline& other) const;
  [[nodiscard]] std::uint64_t hash() const;
  [[nodiscard]] std::string description() const;
  friend bool operator==(const TarnLumoTimeline& a, const TarnLumoTimeline& b) {
    return a.isEqualToTimeline(b);
  }

  /// A new operation, not started, that loads the timeline of the document at `url` (absent: it ends without
  /// a result).
  [[nodiscard]] static std::shared_ptr<TarnLumoTimelineOperation> timelineOperationForLumoUXURL(
      std::optional<tarn::URL> url);

 private:
  friend class TarnLumoPath;
  class Index;

  std::optional<tarn::URL> lumoURL_;
  CMTime contentLength_;
  CMTime payloadLength_;
  AdSequences adSequences_;
  ContentImpressions contentImpressions_;
  std::unique_ptr<const Index> index_;
};
