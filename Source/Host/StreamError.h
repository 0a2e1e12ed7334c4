#pragma once

#include <chrono>

#include "Host/TarnPlayer.h"
#include "Platform/Error.h"
#include "Platform/URL.h"

/// The errors of players that play streams. Each names the stream.
namespace tarn {

[[nodiscard]] Error streamError(TarnPlayerErrorCode code, const URL& url);

/// Nothing happened for longer than `limit`.
[[nodiscard]] Error stalledError(const URL& url, std::chrono::milliseconds limit);

/// Nothing is left to play at `reached`, long before `duration`.
[[nodiscard]] Error ranOutError(const URL& url, CMTime reached, CMTime duration);

}  // namespace tarn
