#pragma once

#include <memory>

#include "Host/TarnPlaybackSession.h"
#include "Host/TarnSessionCommonProperties.h"
#include "Host/TarnVideo.h"
#include "Reactive/Tarn_RACSignal.h"

/// Makes sessions for videos. Providers chain: a plug-in's provider requests ordinary sessions from its
/// upstream provider and returns its own sessions around them. Main thread.
class TarnSessionProvider {
 public:
  using Videos = Tarn_RACSignal<std::shared_ptr<const TarnVideo>>;
  using Sessions = Tarn_RACSignal<std::shared_ptr<TarnPlaybackSession>>;

  TarnSessionProvider() = default;
  TarnSessionProvider(const TarnSessionProvider&) = delete;
  TarnSessionProvider& operator=(const TarnSessionProvider&) = delete;
  virtual ~TarnSessionProvider() = default;

  /// Whether the provider loads the stream of each session's source into the player before it returns the
  /// session. A downstream provider that determines the stream itself sets it to false; initially true.
  [[nodiscard]] virtual bool shouldLoadVideo() const = 0;
  virtual void setShouldLoadVideo(bool shouldLoad) = 0;

  /// Set on each session made from now on. Kept weakly.
  virtual void setSessionCommonProperties(const std::shared_ptr<TarnSessionCommonProperties>& properties) = 0;
  /// The provider's own policy for selecting a source.
  [[nodiscard]] virtual TarnSourceSelectionPolicy sourceSelectionPolicy() const = 0;

  /// One session for each video, sent when it is ready to begin, at once or later: one that plays, or a
  /// `TarnErrorSession`. The sessions have not begun; their receiver owns them. The signal never
  /// fails, and completes after `videos` has.
  [[nodiscard]] virtual Sessions playbackSessionsForVideos(Videos videos) = 0;
};
