#pragma once

#include "Lumo/TarnLumoTimeline.h"
#include "Picture/SvgWriter.h"

namespace tarn::cli {

/// Draws the whole stream from `top` on: the absolute axis with content and breaks, below it the content
/// axis, and the areas that join the two. Returns the y position of its lower edge.
[[nodiscard]] double drawStream(SvgWriter& svg, double top, const TarnLumoTimeline& timeline);

}  // namespace tarn::cli
