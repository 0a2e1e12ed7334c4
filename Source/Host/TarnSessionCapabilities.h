#pragma once

#include <functional>

#include "Platform/MediaTime.h"

/// Optional capabilities of sessions. A session returns a pointer to the interface of a capability, or null
/// if it does not have it. Main thread; a pointer is valid as long as the session that returned it.

/// Seeks under the session's own rules.
class TarnSessionSeeking {
 public:
  /// `finished` is whether the playhead reached its target.
  using Completion = std::function<void(bool finished)>;

  /// Whether a seek would be accepted now.
  [[nodiscard]] virtual bool canSeek() const = 0;

  /// `time` is content time. `completion` may be empty; it is called at once with false when the seek is
  /// refused or there is no player, and never called when the session terminates while a forced ad plays.
  virtual void seekToTime(CMTime time, Completion completion) = 0;

 protected:
  ~TarnSessionSeeking() = default;
};

/// Translates between the two axes: of the content alone, and of the stream with its ads (absolute time).
class TarnSessionTimeMapping {
 public:
  /// Both return an invalid time for a time that cannot be translated.
  [[nodiscard]] virtual CMTime absoluteTimeAtContentTime(CMTime contentTime) const = 0;
  [[nodiscard]] virtual CMTime contentTimeAtAbsoluteTime(CMTime absoluteTime) const = 0;

 protected:
  ~TarnSessionTimeMapping() = default;
};
