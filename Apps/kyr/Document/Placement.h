#pragma once

#include "Lumo/TarnLumoTimeline.h"

namespace tarn::cli {

/// The span that a stream's drawing covers, in absolute seconds: the payload and everything placed in it.
struct Span {
  double begin = 0;
  double end = 0;

  [[nodiscard]] double length() const { return end - begin; }
};

/// Whether something can be drawn: both times are numbers.
[[nodiscard]] bool isPlaced(CMTime begin, CMTime end);

[[nodiscard]] Span spanOf(const TarnLumoTimeline& timeline);

/// The sum of the content segments, in content seconds; segments of no numeric length count nothing.
[[nodiscard]] double contentSeconds(const TarnLumoTimeline& timeline);

}  // namespace tarn::cli
