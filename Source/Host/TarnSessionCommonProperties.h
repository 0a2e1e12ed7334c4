#pragma once

#include <functional>
#include <memory>

#include "Host/TarnVideo.h"
#include "Platform/Observable.h"

/// Which of a video's sources to play: null for none of them. Called on whatever thread makes sessions; the
/// source may be one of the video's own or made for the purpose.
using TarnSourceSelectionPolicy = std::function<std::shared_ptr<const TarnSource>(const TarnVideo&)>;

/// What holds for all sessions of one playback controller, which owns it; sessions and providers refer to it
/// weakly and read it when they need it. Main thread.
struct TarnSessionCommonProperties {
  /// Empty until a provider sets its own.
  tarn::Observable<TarnSourceSelectionPolicy> sourceSelectionPolicy;
  /// The viewer is not to be made to watch ads: a seek over an ad break does not play it.
  tarn::Observable<bool> adsDisabled{false};
};
