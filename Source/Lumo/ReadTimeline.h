#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Lumo/TarnLumoWarning.h"
#include "Platform/Result.h"

class TarnLumoTimeline;

namespace tarn {

struct ReadTimelineOptions {
  /// Whether to look for faults that the document's author would want to know. Changes only the warnings.
  bool review = true;
};

struct TimelineReading {
  /// Never a null pointer. Errors are in `TarnLumoErrorDomain` with code 4011.
  Result<std::shared_ptr<const TarnLumoTimeline>> timeline;
  /// The prefix of the service's extension, "mh" or "zl", or empty. Also known when reading failed.
  std::string prefix;
  /// In document order, at most 1,000 and one that counts the others. Of a document that could not be read,
  /// those of the part before the error. Empty without a review.
  std::vector<TarnLumoWarning> warnings;
};

/// Reads a VMAP 1.0.1 document with VAST 3.0 ads and the service's extension. Depends on nothing but its
/// arguments (and the log level and language of the process). Any thread.
[[nodiscard]] TimelineReading readTimeline(std::string_view bytes, const ReadTimelineOptions& options = {});

}  // namespace tarn
