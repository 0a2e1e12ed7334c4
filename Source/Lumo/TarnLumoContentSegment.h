#pragma once

#include "Platform/MediaTime.h"

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
