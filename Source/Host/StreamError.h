#pragma once

#include <chrono>
#include <optional>
#include <string_view>

#include "Host/TarnPlayer.h"
#include "Platform/Error.h"
#include "Platform/URL.h"

/// The errors of players that play streams. Those with a URL name the stream.
namespace tarn {

[[nodiscard]] Error streamError(TarnPlayerErrorCode code, const URL& url);

/// Nothing happened for longer than `limit`.
[[nodiscard]] Error stalledError(const URL& url, std::chrono::milliseconds limit);

/// Nothing is left to play at `reached`. Absent when this counts as the end: the duration is unknown or at
/// most two seconds away, or half a second when the player has skipped something because of `fault`.
[[nodiscard]] std::optional<Error> ranOutError(const URL& url, CMTime reached,
                                               const std::optional<CMTime>& duration,
                                               const std::optional<Error>& fault);

/// `library`, the player's, was used before this process was forked.
[[nodiscard]] Error forkedError(std::string_view library);

}  // namespace tarn
