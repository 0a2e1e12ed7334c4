#pragma once

#include <functional>
#include <memory>
#include <unordered_map>

#include "Host/TarnAd.h"
#include "Lumo/TarnLumoAd.h"
#include "Lumo/TarnLumoAdSequence.h"

namespace tarn {

/// Called when the viewer skips that ad.
using SkipAd = std::function<void(const std::shared_ptr<const TarnLumoAd>& ad)>;

/// The ads of a session as the host's controls know them: the parsed ad and its extensions in the properties,
/// and click URLs, skip time and skip handler in the private properties.
///
/// The ads of a break are made when it is first entered and kept, so that an ad is the same object in all
/// events of all its plays. Main thread.
class HostAds {
 public:
  /// The ads' skip handlers own a copy of `skip` and outlive this object.
  explicit HostAds(SkipAd skip);

  /// Null for null.
  [[nodiscard]] std::shared_ptr<const TarnAd> adForLumoAd(const std::shared_ptr<const TarnLumoAd>& ad);
  /// The operation that the system calls `adSeqeunceForLumoAdSequence:`. Null for null.
  [[nodiscard]] std::shared_ptr<const TarnAdSequence> adSeqeunceForLumoAdSequence(
      const std::shared_ptr<const TarnLumoAdSequence>& adSequence);

 private:
  const SkipAd skip_;
  // Each host object owns the parsed one that is its key.
  std::unordered_map<const TarnLumoAd*, std::shared_ptr<const TarnAd>> ads_;
  std::unordered_map<const TarnLumoAdSequence*, std::shared_ptr<const TarnAdSequence>> adSequences_;
};

}  // namespace tarn
