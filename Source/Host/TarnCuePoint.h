#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Platform/MediaTime.h"

/// The type of a cue point at an ad break.
inline constexpr const char* kTarnCuePointTypeAdSlot = "kTarnCuePointTypeAdSlot";

/// A position on a video's time axis that the application may mark. Immutable, any thread.
class TarnCuePoint {
 public:
  TarnCuePoint(std::string type, CMTime position) : type_(std::move(type)), position_(position) {}

  [[nodiscard]] const std::string& type() const { return type_; }
  /// Content time. Positive infinity: after the content's end.
  [[nodiscard]] CMTime position() const { return position_; }

  friend bool operator==(const TarnCuePoint& a, const TarnCuePoint& b) {
    return a.type_ == b.type_ && a.position_ == b.position_;
  }

 private:
  std::string type_;
  CMTime position_;
};

/// A video's cue points, in the order given, which need not be that of their positions. Immutable, any
/// thread.
class TarnCuePointCollection {
 public:
  using CuePoints = std::vector<std::shared_ptr<const TarnCuePoint>>;

  /// None of the pointers is null.
  [[nodiscard]] static std::shared_ptr<const TarnCuePointCollection> collectionWithArray(
      CuePoints cuePoints) {
    return std::make_shared<const TarnCuePointCollection>(std::move(cuePoints));
  }
  explicit TarnCuePointCollection(CuePoints cuePoints) : cuePoints_(std::move(cuePoints)) {}

  [[nodiscard]] const CuePoints& array() const { return cuePoints_; }

  friend bool operator==(const TarnCuePointCollection& a, const TarnCuePointCollection& b) {
    return std::equal(a.cuePoints_.begin(), a.cuePoints_.end(), b.cuePoints_.begin(), b.cuePoints_.end(),
                      [](const auto& x, const auto& y) { return *x == *y; });
  }

 private:
  CuePoints cuePoints_;
};
