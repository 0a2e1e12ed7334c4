#pragma once

#include <memory>

#include "Host/TarnVideo.h"

namespace tarn {

/// The source selection policy of `TarnKyrSessionProvider`.
[[nodiscard]] std::shared_ptr<const TarnSource> selectKyrSource(const TarnVideo& video);

}  // namespace tarn
