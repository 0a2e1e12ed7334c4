#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "Lumo/TarnLumoPath.h"
#include "Lumo/TarnLumoTimeline.h"
#include "Platform/Dictionary.h"
#include "Platform/Observable.h"

enum TarnLumoProgressTrackerEventType : std::int64_t {
  TarnLumoProgressTrackerEventTypeEnterAd = 0,
  TarnLumoProgressTrackerEventTypeExitAd = 1,
  TarnLumoProgressTrackerEventTypeEnterAdSequence = 2,
  TarnLumoProgressTrackerEventTypeExitAdSequence = 3,
  TarnLumoProgressTrackerEventTypeAdProgress = 4,
};

/// Property keys of the events: `std::shared_ptr<const TarnLumoAd>`, `std::shared_ptr<const
/// TarnLumoAdSequence>`, and `CMTime` (in-ad).
inline constexpr const char* kTarnLumoProgressTrackerEventPropertiesKeyAd =
    "kTarnLumoProgressTrackerEventPropertiesKeyAd";
inline constexpr const char* kTarnLumoProgressTrackerEventPropertiesKeyAdSequence =
    "kTarnLumoProgressTrackerEventPropertiesKeyAdSequence";
inline constexpr const char* kTarnLumoProgressTrackerEventPropertiesKeyAdProgress =
    "kTarnLumoProgressTrackerEventPropertiesKeyAdProgress";

/// Immutable.
class TarnLumoProgressTrackerEvent {
 public:
  /// The subject of an event; its type says which fields are present.
  struct Fields {
    std::shared_ptr<const TarnLumoAd> ad = nullptr;
    std::shared_ptr<const TarnLumoAdSequence> adSequence = nullptr;
    std::optional<CMTime> adProgress = std::nullopt;  ///< In-ad time.
  };

  TarnLumoProgressTrackerEvent(TarnLumoProgressTrackerEventType type, Fields fields);
  /// Takes the fields from the properties, by their keys.
  TarnLumoProgressTrackerEvent(TarnLumoProgressTrackerEventType type,
                               std::optional<tarn::Dictionary> properties);

  [[nodiscard]] TarnLumoProgressTrackerEventType type() const { return type_; }
  /// Null or absent when the event has none.
  [[nodiscard]] const std::shared_ptr<const TarnLumoAd>& ad() const { return fields_.ad; }
  [[nodiscard]] const std::shared_ptr<const TarnLumoAdSequence>& adSequence() const {
    return fields_.adSequence;
  }
  [[nodiscard]] const std::optional<CMTime>& adProgress() const { return fields_.adProgress; }
  /// The dictionary that the event was made from, or one that each call makes of the fields; absent without
  /// either.
  [[nodiscard]] std::optional<tarn::Dictionary> properties() const;

 private:
  TarnLumoProgressTrackerEventType type_;
  Fields fields_;
  std::optional<tarn::Dictionary> givenProperties_;
};

/// Turns the playhead of the stitched stream into content time and an ordered stream of ad events.
///
/// The owner writes the inputs; the tracker reacts, synchronously and before the write returns, by assigning
/// its observable outputs. It has no timer and no lock: inputs are written from one thread at a time. While
/// an ad plays the tracker only moves forward, and content time does not change.
///
/// An observer may write inputs. A position that is written while another is being announced is processed
/// when that one is finished, still before the outer write returns, so that observers see whole, ordered
/// transitions. An observer may also release a tracker that is owned by a `std::shared_ptr`. An exception of
/// an observer leaves the write: the position counts as announced, those written during it are dropped.
class TarnLumoProgressTracker : public std::enable_shared_from_this<TarnLumoProgressTracker> {
 public:
  using TimeRanges = std::optional<std::vector<CMTimeRange>>;

  explicit TarnLumoProgressTracker(std::shared_ptr<const TarnLumoTimeline> timeline);
  TarnLumoProgressTracker(const TarnLumoProgressTracker&) = delete;
  TarnLumoProgressTracker& operator=(const TarnLumoProgressTracker&) = delete;

  [[nodiscard]] const std::shared_ptr<const TarnLumoTimeline>& timeline() const { return timeline_; }

  /// Input: the player's position, absolute time.
  void setAbsoluteTime(CMTime time);
  [[nodiscard]] CMTime absoluteTime() const { return absoluteTime_; }
  /// Input: while true, positions are ignored, except the very first. For the owner's own moves of the
  /// playhead.
  void setSuspendProgress(bool suspend) { suspendProgress_ = suspend; }
  [[nodiscard]] bool shouldSuspendProgress() const { return suspendProgress_; }
  /// Inputs: the player's ranges, absolute time; absent when unknown.
  void setAbsoluteSeekableTimeRanges(TimeRanges ranges);
  [[nodiscard]] const TimeRanges& absoluteSeekableTimeRanges() const { return absoluteSeekableTimeRanges_; }
  void setAbsoluteLoadedTimeRanges(TimeRanges ranges);
  [[nodiscard]] const TimeRanges& absoluteLoadedTimeRanges() const { return absoluteLoadedTimeRanges_; }

  /// Output: content time; negative infinity before the first position in content.
  [[nodiscard]] tarn::Observable<TarnLumoLogicalTime>& contentTime() { return contentTime_; }
  /// Output: each event is an assignment of its own; null before the first.
  [[nodiscard]] tarn::Observable<std::shared_ptr<const TarnLumoProgressTrackerEvent>>& event() {
    return event_;
  }
  /// Outputs: the ranges in content time, each from zero to the content time of the absolute range's end.
  [[nodiscard]] tarn::Observable<TimeRanges>& contentSeekableTimeRanges() {
    return contentSeekableTimeRanges_;
  }
  [[nodiscard]] tarn::Observable<TimeRanges>& contentLoadedTimeRanges() { return contentLoadedTimeRanges_; }

 private:
  void progressTimeUpdate(CMTime time);
  [[nodiscard]] bool goesBackInAd(const TarnLumoPath& next) const;
  void emitTransitions(const TarnLumoPath& next);
  void emitEvent(TarnLumoProgressTrackerEventType type, TarnLumoProgressTrackerEvent::Fields fields);
  void rangesUpdate(const TimeRanges& absolute, tarn::Observable<TimeRanges>& content) const;

  std::shared_ptr<const TarnLumoTimeline> timeline_;
  std::optional<TarnLumoPath> previousPath_;
  CMTime absoluteTime_;
  bool suspendProgress_ = false;
  bool updating_ = false;
  std::vector<CMTime> pendingTimes_;
  TimeRanges absoluteSeekableTimeRanges_;
  TimeRanges absoluteLoadedTimeRanges_;
  tarn::Observable<TarnLumoLogicalTime> contentTime_{kCMTimeNegativeInfinity};
  tarn::Observable<std::shared_ptr<const TarnLumoProgressTrackerEvent>> event_;
  tarn::Observable<TimeRanges> contentSeekableTimeRanges_;
  tarn::Observable<TimeRanges> contentLoadedTimeRanges_;
};
