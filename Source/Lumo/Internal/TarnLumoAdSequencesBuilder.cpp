#include "Lumo/Internal/TarnLumoAdSequencesBuilder.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "Lumo/TarnLumoCommon.h"

bool TarnLumoAdSequencesBuilder::ByIdentity::operator()(const CMTime& a, const CMTime& b) const {
  return std::tie(a.flags, a.epoch, a.timescale, a.value) < std::tie(b.flags, b.epoch, b.timescale, b.value);
}

TarnLumoAdSequencesBuilder::TarnLumoAdSequencesBuilder(CMTime payloadLength,
                                                       const tarn::NumberFormatter& numberFormatter)
    : payloadLength_(payloadLength), numberFormatter_(numberFormatter) {}

void TarnLumoAdSequencesBuilder::insertAdBuilder(TarnLumoAdBuilder builder, CMTime timeOffset) {
  structure_[timeOffset].push_back(std::move(builder));
}

std::vector<CMTime> TarnLumoAdSequencesBuilder::sortedArrayOfCMTimes(std::vector<CMTime> times) {
  std::stable_sort(times.begin(), times.end(), [](const CMTime& a, const CMTime& b) { return a < b; });
  return times;
}

std::vector<CMTime> TarnLumoAdSequencesBuilder::offsets() const {
  std::vector<CMTime> offsets;
  offsets.reserve(structure_.size());
  for (const auto& [offset, builders] : structure_) offsets.push_back(offset);
  return sortedArrayOfCMTimes(std::move(offsets));
}

void TarnLumoAdSequencesBuilder::updatePostrollBeginTimes() {
  const auto sorted = offsets();
  if (sorted.empty() || !CMTIME_IS_POSITIVE_INFINITY(sorted.back())) return;
  auto& postroll = structure_.at(sorted.back());
  CMTime sum = kCMTimeZero;
  for (auto builder = postroll.rbegin(); builder != postroll.rend(); ++builder) {
    sum = CMTimeAdd(sum, builder->duration);
    builder->beginTime = CMTimeSubtract(payloadLength_, sum);
  }
}

std::optional<TarnLumoAdSequencesBuilder::AdSequences> TarnLumoAdSequencesBuilder::buildAdSequences() {
  if (spent_) {
    TarnLumoLog(
        "`-[TarnLumoAdSequenceBuilder buildAdSequences]` may only be called once, as doing so mutates its "
        "internal state (and possibly that of its TarnLumoAdBuilders)");
    return std::nullopt;
  }
  spent_ = true;
  updatePostrollBeginTimes();
  AdSequences sequences;
  for (const CMTime& offset : offsets()) {
    TarnLumoAdSequence::Ads ads;
    for (const TarnLumoAdBuilder& builder : structure_.at(offset)) ads.push_back(builder.buildAd());
    sequences.push_back(std::make_shared<const TarnLumoAdSequence>(std::move(ads)));
  }
  return sequences;
}
