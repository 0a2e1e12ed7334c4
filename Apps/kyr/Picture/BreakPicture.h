#pragma once

#include <cstddef>

#include "Lumo/TarnLumoAdSequence.h"
#include "Picture/SvgWriter.h"

namespace tarn::cli {

/// Draws one ad break at a scale of its own, with its ads, their skip points and tracking events, from `top`
/// on. Returns the y position of its lower edge. The sequence's begin and end are numbers.
[[nodiscard]] double drawBreak(SvgWriter& svg, double top, std::size_t index,
                               const TarnLumoAdSequence& sequence);

}  // namespace tarn::cli
