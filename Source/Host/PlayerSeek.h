#pragma once

#include "Platform/MediaTime.h"

namespace tarn {

/// A seek that a player carries out.
struct PlayerSeek {
  CMTime time;  ///< Numeric, and within the item.
  CMTime toleranceBefore;
  CMTime toleranceAfter;
  bool isToEnd = false;  ///< `time` is the item's duration; the landing counts as the duration exactly.

  /// The time of a picture to show, which the very end of an item does not have.
  [[nodiscard]] CMTime pictureTime() const;
  /// Where a seek without tolerances has led when the engine is at `position`: the picture shown there may
  /// begin beside `time`, which is then the place.
  [[nodiscard]] CMTime exactLanding(CMTime position) const;
};

}  // namespace tarn
