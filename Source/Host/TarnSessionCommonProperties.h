#pragma once

#include <functional>
#include <memory>

#include "Host/TarnVideo.h"
#include "Platform/Observable.h"

/// Selects the source of a video to play: null for none. Called on the thread that makes sessions; may return
/// one of the video's sources or a new one.
using TarnSourceSelectionPolicy = std::function<std::shared_ptr<const TarnSource>(const TarnVideo&)>;

/// The properties that all sessions of one playback controller share. The controller owns them; sessions and
/// providers refer to them weakly and read them when needed. Main thread.
struct TarnSessionCommonProperties {
  /// Empty until a provider sets its own.
  tarn::Observable<TarnSourceSelectionPolicy> sourceSelectionPolicy;
  /// Do not force ads: a seek over an ad break does not play it.
  tarn::Observable<bool> adsDisabled{false};
};
