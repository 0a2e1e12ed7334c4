#include "Host/PlayerSeek.h"

#include <algorithm>

namespace tarn {
namespace {

/// No picture is shown for longer.
const CMTime kMaxPicture = CMTimeMake(1, 10);

}  // namespace

CMTime PlayerSeek::pictureTime() const {
  return isToEnd ? std::max(CMTimeSubtract(time, kMaxPicture), kCMTimeZero) : time;
}

CMTime PlayerSeek::exactLanding(CMTime position) const {
  const bool isNear =
      CMTimeSubtract(time, kMaxPicture) <= position && position <= CMTimeAdd(time, kMaxPicture);
  return isNear ? time : position;
}

}  // namespace tarn
