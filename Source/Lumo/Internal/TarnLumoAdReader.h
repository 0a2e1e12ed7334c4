#pragma once

#include <optional>

#include "Lumo/Internal/ReadingObserver.h"
#include "Lumo/TarnLumoAd+Private.h"
#include "Platform/MediaTime.h"
#include "Platform/Result.h"
#include "XML/TarnLumoONOXMLElement.h"

/// Reads a VAST 3.0 Ad (through its InLine; Wrappers are not followed) into a builder. Without an element, an
/// InLine or a Linear the builder keeps its initial values. Fails with 4011 in `TarnLumoErrorDomain` when a
/// Linear's Duration cannot be read.
///
/// `beginTime` is absolute, `logicalOffset` content time.
[[nodiscard]] tarn::Result<TarnLumoAdBuilder> TarnLumoDeserializeAdBuilderFromElementAndBeginTimeWithError(
    const std::optional<TarnLumoONOXMLElement>& element, CMTime beginTime, CMTime logicalOffset,
    tarn::ReadingObserver& observer);

namespace tarn {

/// An error of the reader: the localised `format` with `value` ("(null)" when absent) for its "%@".
/// `suggestion` says what to change.
[[nodiscard]] Error deserializationError(const char* format, const std::optional<std::string>& value,
                                         std::string suggestion);

}  // namespace tarn
