#include "Document/AdIndex.h"

namespace tarn::cli {
namespace {

std::optional<std::size_t> find(const std::unordered_map<const void*, std::size_t>& indexes,
                                const void* key) {
  const auto found = indexes.find(key);
  return found == indexes.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace

AdIndex::AdIndex(const TarnLumoTimeline& timeline) {
  const auto& sequences = timeline.adSequences();
  for (std::size_t i = 0; i < sequences.size(); ++i) {
    indexes_.emplace(sequences[i].get(), i);
    for (const auto& ad : sequences[i]->ads()) indexes_.emplace(ad.get(), i);
  }
}

std::optional<std::size_t> AdIndex::indexOf(const TarnLumoAdSequence* sequence) const {
  return find(indexes_, sequence);
}

std::optional<std::size_t> AdIndex::indexOf(const TarnLumoAd* ad) const {
  return find(indexes_, ad);
}

}  // namespace tarn::cli
