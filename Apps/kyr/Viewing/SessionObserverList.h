#pragma once

#include <initializer_list>
#include <vector>

#include "Viewing/SessionObserver.h"

namespace tarn::cli {

/// Passes every call on to several observers, in their order. They outlive it.
class SessionObserverList final : public SessionObserver {
 public:
  SessionObserverList(std::initializer_list<SessionObserver*> observers)
      : SessionObserver({}), observers_(observers) {}

  void loaded(const TarnKyrSession* session) override { notify(&SessionObserver::loaded, session); }
  void lifecycle(const TarnPlaybackSessionLifecycleEvent& event) override {
    notify(&SessionObserver::lifecycle, event);
  }
  void progress(CMTime time) override { notify(&SessionObserver::progress, time); }
  void duration(CMTime duration) override { notify(&SessionObserver::duration, duration); }
  void ranges(std::string_view kind, const TarnPlaybackSession::TimeRanges& ranges) override {
    notify(&SessionObserver::ranges, kind, ranges);
  }
  void canSeek(bool allowed) override { notify(&SessionObserver::canSeek, allowed); }
  void player(const PlayerAction& action) override { notify(&SessionObserver::player, action); }
  void seek(CMTime to, bool finished) override { notify(&SessionObserver::seek, to, finished); }
  void beacon(const URL& url) override { notify(&SessionObserver::beacon, url); }
  void note(std::string_view text) override { notify(&SessionObserver::note, text); }
  void finish() override { notify(&SessionObserver::finish); }

 private:
  template <class Operation, class... Arguments>
  void notify(Operation operation, const Arguments&... arguments) {
    for (auto* const observer : observers_) (observer->*operation)(arguments...);
  }

  const std::vector<SessionObserver*> observers_;
};

}  // namespace tarn::cli
