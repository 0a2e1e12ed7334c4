#pragma once

#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "Lumo/TarnLumoAd+Private.h"
#include "Lumo/TarnLumoAdSequence.h"
#include "Platform/MediaTime.h"
#include "Platform/NumberFormatter.h"

/// Groups the ads of a document by the content time of their breaks. Built once, used by one thread.
class TarnLumoAdSequencesBuilder {
 public:
  using AdSequences = std::vector<std::shared_ptr<const TarnLumoAdSequence>>;

  TarnLumoAdSequencesBuilder(CMTime payloadLength, const tarn::NumberFormatter& numberFormatter);

  /// Breaks at one offset (the same value, timescale, flags and epoch) form one sequence, in insertion order.
  void insertAdBuilder(TarnLumoAdBuilder builder, CMTime timeOffset);

  /// The sequences in ascending order of offset, the post-roll's begin times set. Absent, with a log line,
  /// from the second call on.
  [[nodiscard]] std::optional<AdSequences> buildAdSequences();

  /// Sets the ads of the post-roll back to back at the end of the payload.
  void updatePostrollBeginTimes();

  /// The offsets of the sequences, ascending.
  [[nodiscard]] std::vector<CMTime> offsets() const;
  /// Ascending by media-time comparison; equal times keep their order.
  [[nodiscard]] static std::vector<CMTime> sortedArrayOfCMTimes(std::vector<CMTime> times);

  [[nodiscard]] const tarn::NumberFormatter& numberFormatter() const { return numberFormatter_; }

  /// Orders times so that only identical ones are alike.
  struct ByIdentity {
    [[nodiscard]] bool operator()(const CMTime& a, const CMTime& b) const;
  };

 private:
  CMTime payloadLength_;
  const tarn::NumberFormatter& numberFormatter_;
  std::map<CMTime, std::vector<TarnLumoAdBuilder>, ByIdentity> structure_;
  bool spent_ = false;
};
