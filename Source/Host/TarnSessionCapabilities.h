#pragma once

#include <functional>

#include "Platform/MediaTime.h"

/// The further things that some sessions can do. A session that can answers a pointer to the interface, one
/// that cannot answers null; both are asked for on the session. Main thread; a pointer lives as long as the
/// session that answered it.

/// Seeks under the session's own rules.
class TarnSessionSeeking {
 public:
  /// `finished` is whether the playhead went where it was sent.
  using Completion = std::function<void(bool finished)>;

  /// Whether a seek would be accepted now.
  [[nodiscard]] virtual bool canSeek() const = 0;

  /// `time` is content time. `completion` may be empty; it is called at once with false when the seek is
  /// refused or there is no player, and left out when the session terminates while a forced ad plays.
  virtual void seekToTime(CMTime time, Completion completion) = 0;

 protected:
  ~TarnSessionSeeking() = default;
};

/// Translates between the two axes: of the content alone, and of the stream with its ads (absolute time).
class TarnSessionTimeMapping {
 public:
  /// Both answer an invalid time for what does not map.
  [[nodiscard]] virtual CMTime absoluteTimeAtContentTime(CMTime contentTime) const = 0;
  [[nodiscard]] virtual CMTime contentTimeAtAbsoluteTime(CMTime absoluteTime) const = 0;

 protected:
  ~TarnSessionTimeMapping() = default;
};
