#include "Lumo/TarnLumoTimeline.h"

#include <utility>

#include "Lumo/Internal/TarnLumoTimelineIndex.h"
#include "Lumo/Internal/ValueSupport.h"
#include "Lumo/TarnLumoTimelineOperation.h"

std::shared_ptr<const TarnLumoTimeline> TarnLumoTimeline::make(std::optional<tarn::URL> lumoURL,
                                                               CMTime contentLength, CMTime payloadLength,
                                                               AdSequences adSequences,
                                                               ContentImpressions contentImpressions) {
  return std::make_shared<const TarnLumoTimeline>(Key{}, std::move(lumoURL), contentLength, payloadLength,
                                                  std::move(adSequences), std::move(contentImpressions));
}

TarnLumoTimeline::TarnLumoTimeline(Key, std::optional<tarn::URL> lumoURL, CMTime contentLength,
                                   CMTime payloadLength, AdSequences adSequences,
                                   ContentImpressions contentImpressions)
    : lumoURL_(std::move(lumoURL)),
      contentLength_(contentLength),
      payloadLength_(payloadLength),
      adSequences_(std::move(adSequences)),
      contentImpressions_(std::move(contentImpressions)),
      index_(std::make_unique<const Index>(adSequences_, payloadLength_)) {}

TarnLumoTimeline::~TarnLumoTimeline() = default;

std::vector<TarnLumoContentSegment> TarnLumoTimeline::contentSegments() const {
  return index_->content.segments();
}

CMTime TarnLumoTimeline::contentTimeAtAbsoluteTime(CMTime absoluteTime) const {
  return index_->content.contentTimeAtAbsoluteTime(absoluteTime);
}

CMTime TarnLumoTimeline::absoluteTimeAtContentTime(CMTime contentTime) const {
  return index_->content.absoluteTimeAtContentTime(contentTime);
}

TarnLumoPath TarnLumoTimeline::pathAtTime(CMTime absoluteTime) const {
  auto position = index_->breaks.positionAt(absoluteTime, adSequences_);
  return TarnLumoPath(shared_from_this(), absoluteTime, std::move(position.adSequence),
                      std::move(position.ad));
}

bool TarnLumoTimeline::isEqualToTimeline(const TarnLumoTimeline& other) const {
  if (this == &other) return true;
  return lumoURL_ == other.lumoURL_ && payloadLength_ == other.payloadLength_ &&
         contentLength_ == other.contentLength_ && tarn::equalValues(adSequences_, other.adSequences_) &&
         contentImpressions_ == other.contentImpressions_;  // by identity, as impressions compare
}

std::uint64_t TarnLumoTimeline::hash() const {
  std::uint64_t hash = tarn::foldHash(tarn::hashOf(lumoURL_), 961);
  hash = tarn::truncateToHash(CMTimeGetSeconds(payloadLength_) + static_cast<double>(hash));
  hash = tarn::truncateToHash(CMTimeGetSeconds(contentLength_) + static_cast<double>(31 * hash));
  for (const auto& sequence : adSequences_) hash = tarn::foldHash(hash, sequence->hash());
  return tarn::foldHash(hash, tarn::hashOf(contentImpressions_));
}

std::string TarnLumoTimeline::description() const {
  return tarn::Description("TarnLumoTimeline", this)
      .piece("lumoURL", lumoURL_)
      .piece("payloadLength", payloadLength_)
      .piece("contentLength", contentLength_)
      .piece("adSequences", adSequences_)
      .piece("contentImpressions", contentImpressions_)
      .text();
}

std::shared_ptr<TarnLumoTimelineOperation> TarnLumoTimeline::timelineOperationForLumoUXURL(
    std::optional<tarn::URL> url) {
  return std::make_shared<TarnLumoTimelineOperation>(std::move(url));
}
