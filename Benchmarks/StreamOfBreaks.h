#pragma once

#include <memory>
#include <random>
#include <vector>

#include "Lumo/TarnLumoAd+Private.h"
#include "Lumo/TarnLumoTimeline.h"

namespace kyr_benchmarks {

inline constexpr CMTimeScale kTimescale = 600;
inline constexpr int kContentSeconds = 300;
inline constexpr int kAdSeconds = 15;
inline constexpr int kAdsPerBreak = 2;
inline constexpr int kPeriodSeconds = kContentSeconds + kAdsPerBreak * kAdSeconds;

inline CMTime seconds(std::int64_t value) {
  return CMTimeMake(value * kTimescale, kTimescale);
}

/// A stream of content with a break of two ads after every five minutes. The ads have the usual quartiles.
inline std::shared_ptr<const TarnLumoTimeline> streamOfBreaks(std::int64_t breaks) {
  TarnLumoTrackingEventsCollectionBuilder events;
  for (const char* offset : {"0", "3.75", "7.5", "11.25"}) {
    events.addTrackingEventNamed("progress", offset, tarn::URL::fromString("https://t.example/q"));
  }
  TarnLumoTimeline::AdSequences sequences;
  for (std::int64_t i = 0; i < breaks; ++i) {
    TarnLumoAdSequence::Ads ads;
    for (int ad = 0; ad < kAdsPerBreak; ++ad) {
      TarnLumoAdBuilder builder;
      builder.adId = std::to_string(i * kAdsPerBreak + ad);
      builder.beginTime = seconds(i * kPeriodSeconds + kContentSeconds + ad * kAdSeconds);
      builder.duration = seconds(kAdSeconds);
      builder.logicalOffset = seconds((i + 1) * kContentSeconds);
      builder.trackingEventsCollection = events.buildTrackingEventsCollection();
      ads.push_back(builder.buildAd());
    }
    sequences.push_back(std::make_shared<const TarnLumoAdSequence>(std::move(ads)));
  }
  return TarnLumoTimeline::make(tarn::URL::fromString("https://cdn.example/s.m3u8"),
                                seconds((breaks + 1) * kContentSeconds),
                                seconds(breaks * kPeriodSeconds + kContentSeconds), std::move(sequences), {});
}

}  // namespace kyr_benchmarks
