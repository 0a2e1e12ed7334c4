#include <algorithm>
#include <string>
#include <string_view>

#include "FuzzTarget.h"
#include "Lumo/ReadTimeline.h"
#include "Lumo/TarnLumoCommon.h"
#include "Lumo/TarnLumoTimeline.h"
#include "Platform/Text.h"

/// Any bytes are read to an error or a timeline: the same one each time, with valid UTF-8 throughout.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  TarnLumoLogConfigure(TarnLumoLogConfigDisabled);
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const auto first = tarn::readTimeline(bytes);
  const auto second = tarn::readTimeline(bytes);
  require(first.warnings == second.warnings && first.warnings.size() <= 1001);
  for (const auto& warning : first.warnings)
    require(tarn::isUTF8(warning.message) && warning.message.size() < 2000);
  require(first.timeline.has_value() == second.timeline.has_value());
  if (!first.timeline) {
    require(first.timeline.error() == second.timeline.error());
    require(tarn::isUTF8(tarn::chainDescription(first.timeline.error())));
    return 0;
  }
  const TarnLumoTimeline& timeline = **first.timeline;
  // Content impressions are equal by identity, and so are timelines that have any.
  const auto& sequences = timeline.adSequences();
  const auto& others = (*second.timeline)->adSequences();
  require(std::equal(sequences.begin(), sequences.end(), others.begin(), others.end(),
                     [](const auto& a, const auto& b) { return *a == *b && a->hash() == b->hash(); }));
  require(tarn::isUTF8(timeline.description()));
  for (const auto& sequence : timeline.adSequences()) {
    require(!sequence->ads().empty());
    static_cast<void>(timeline.pathAtTime(sequence->beginTime()));
    static_cast<void>(timeline.absoluteTimeAtContentTime(sequence->logicalOffset()));
    static_cast<void>(timeline.contentTimeAtAbsoluteTime(sequence->endTime()));
  }
  return 0;
}
