#pragma once

#include <memory>

#include "Terminal/Terminal.h"
#include "Viewing/SessionObserver.h"

namespace tarn::cli {

/// Prints each call as a JSON object on a line of its own.
[[nodiscard]] std::unique_ptr<SessionObserver> makeSessionJsonPrinter(ElapsedTime elapsed);

/// Prints a line for everything that a viewer would notice or that is reported to an advertiser, and a
/// summary.
[[nodiscard]] std::unique_ptr<SessionObserver> makeSessionTextPrinter(ElapsedTime elapsed,
                                                                      const Terminal& terminal);

/// Redraws one status line in place.
[[nodiscard]] std::unique_ptr<SessionObserver> makeSessionLivePrinter(ElapsedTime elapsed,
                                                                      const Terminal& terminal);

}  // namespace tarn::cli
