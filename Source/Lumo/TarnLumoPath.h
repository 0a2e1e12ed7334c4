#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "Platform/MediaTime.h"

class TarnLumoAd;
class TarnLumoAdSequence;
class TarnLumoTimeline;

/// A media time on the content axis, or, inside an ad, on the in-ad axis.
using TarnLumoLogicalTime = CMTime;

/// One position in a stitched stream and the ad that plays there. Immutable value, any thread.
class TarnLumoPath {
 public:
  /// `adSequence` and `ad` may be null: none plays.
  TarnLumoPath(std::shared_ptr<const TarnLumoTimeline> timeline, CMTime absoluteTime,
               std::shared_ptr<const TarnLumoAdSequence> adSequence, std::shared_ptr<const TarnLumoAd> ad);

  [[nodiscard]] const std::shared_ptr<const TarnLumoTimeline>& timeline() const& { return timeline_; }
  [[nodiscard]] std::shared_ptr<const TarnLumoTimeline> timeline() && { return std::move(timeline_); }
  [[nodiscard]] CMTime absoluteTime() const { return absoluteTime_; }
  [[nodiscard]] const std::shared_ptr<const TarnLumoAdSequence>& adSequence() const& { return adSequence_; }
  [[nodiscard]] std::shared_ptr<const TarnLumoAdSequence> adSequence() && { return std::move(adSequence_); }
  [[nodiscard]] const std::shared_ptr<const TarnLumoAd>& ad() const& { return ad_; }
  [[nodiscard]] std::shared_ptr<const TarnLumoAd> ad() && { return std::move(ad_); }

  /// In an ad, the time elapsed in it; elsewhere the absolute time less the durations of the ads that ended
  /// before it; the absolute time itself when that is not valid.
  [[nodiscard]] TarnLumoLogicalTime logicalTime() const;

  [[nodiscard]] bool isEqualToPath(const TarnLumoPath& other) const;
  [[nodiscard]] std::uint64_t hash() const;
  [[nodiscard]] std::string description() const;
  friend bool operator==(const TarnLumoPath& a, const TarnLumoPath& b) { return a.isEqualToPath(b); }

 private:
  std::shared_ptr<const TarnLumoTimeline> timeline_;
  CMTime absoluteTime_;
  std::shared_ptr<const TarnLumoAdSequence> adSequence_;
  std::shared_ptr<const TarnLumoAd> ad_;
};
