#include "Overlay/Internal/AdBreakDurations.h"

#include <utility>

#include "Kyr/TarnKyrConstants.h"

namespace tarn {
namespace {

using LumoAd = std::shared_ptr<const TarnLumoAd>;

CMTime accumulated(const Dictionary& entry) {
  const auto* const time = entry.get<CMTime>(kAdBreakDurationsKeyAccumulated);
  return time ? *time : kCMTimeZero;
}

bool isFor(const Dictionary& entry, const TarnLumoAd& ad) {
  const auto* const own = entry.get<LumoAd>(kTarnKyrAdPropertiesKeyLumoAd);
  return own != nullptr && (*own)->isEqualToAd(ad);
}

CMTime accumulatedBefore(const AdBreakDurations& durations, const LumoAd& ad) {
  if (!ad) return kCMTimeZero;
  for (const auto& entry : durations) {
    if (isFor(entry, *ad)) return accumulated(entry);
  }
  return kCMTimeZero;
}

}  // namespace

std::shared_ptr<const TarnLumoAd> lumoAd(const std::shared_ptr<const TarnAd>& ad) {
  const auto* const found = ad ? ad->properties().get<LumoAd>(kTarnKyrAdPropertiesKeyLumoAd) : nullptr;
  return found ? *found : nullptr;
}

AdBreakDurations adBreakDurations(const std::shared_ptr<const TarnAdSequence>& adSequence) {
  AdBreakDurations table;
  CMTime total = kCMTimeZero;
  const auto add = [&table, &total](const LumoAd& ad) {
    Dictionary entry;
    if (ad) entry.set(kTarnKyrAdPropertiesKeyLumoAd, ad);
    entry.set(kAdBreakDurationsKeyAccumulated, total);
    table.push_back(std::move(entry));
  };
  if (adSequence) {
    for (const auto& hostAd : adSequence->ads()) {
      const auto ad = lumoAd(hostAd);
      if (!ad) continue;
      add(ad);
      total = CMTimeAdd(total, ad->duration());
    }
  }
  add(nullptr);
  return table;
}

CMTime remainingTime(const AdBreakDurations& durations, const LumoAd& ad, CMTime inAdTime) {
  const CMTime total = durations.empty() ? kCMTimeZero : accumulated(durations.back());
  return CMTimeSubtract(total, CMTimeAdd(accumulatedBefore(durations, ad), inAdTime));
}

}  // namespace tarn
