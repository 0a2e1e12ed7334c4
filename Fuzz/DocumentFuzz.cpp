#include <algorithm>
#include <string>
#include <string_view>

#include "FuzzTarget.h"
#include "Lumo/TarnLumoCommon.h"
#include "Lumo/TarnLumoDocument.h"
#include "Lumo/TarnLumoTimeline.h"
#include "Platform/Text.h"

namespace {

struct Reading {
  tarn::Result<std::shared_ptr<const TarnLumoTimeline>> result;
  std::vector<TarnLumoWarning> warnings;
};

Reading read(std::string_view bytes) {
  TarnLumoDocument document(*tarn::URL::fromString("https://ads.example/vmap"));
  auto result = TarnLumoDeserializeTimelineFromDataWithError(document, bytes);
  return {std::move(result), document.warnings()};
}

}  // namespace

/// Any bytes read to an error or a timeline: the same one each time, made of proper text.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  TarnLumoLogConfigure(TarnLumoLogConfigDisabled);
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const Reading first = read(bytes);
  const Reading second = read(bytes);
  require(first.warnings == second.warnings && first.warnings.size() <= 1001);
  for (const auto& warning : first.warnings)
    require(tarn::isUTF8(warning.message) && warning.message.size() < 2000);
  require(first.result.has_value() == second.result.has_value());
  if (!first.result) {
    require(first.result.error() == second.result.error());
    require(tarn::isUTF8(tarn::chainDescription(first.result.error())));
    return 0;
  }
  const TarnLumoTimeline& timeline = **first.result;
  // Content impressions are equal by identity, and so are timelines that have any.
  const auto& sequences = timeline.adSequences();
  const auto& others = (*second.result)->adSequences();
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
