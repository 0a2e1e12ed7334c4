#pragma once

#include <initializer_list>
#include <vector>

#include "Viewing/SessionView.h"

namespace tarn::cli {

/// Tells several views of everything, in their order. They outlive it.
class TeeSessionView final : public SessionView {
 public:
  TeeSessionView(std::initializer_list<SessionView*> views) : SessionView({}), views_(views) {}

  void loaded(const TarnKyrSession* session) override { tell(&SessionView::loaded, session); }
  void lifecycle(const TarnPlaybackSessionLifecycleEvent& event) override {
    tell(&SessionView::lifecycle, event);
  }
  void progress(CMTime time) override { tell(&SessionView::progress, time); }
  void duration(CMTime duration) override { tell(&SessionView::duration, duration); }
  void ranges(std::string_view kind, const TarnPlaybackSession::TimeRanges& ranges) override {
    tell(&SessionView::ranges, kind, ranges);
  }
  void canSeek(bool allowed) override { tell(&SessionView::canSeek, allowed); }
  void player(const PlayerAction& action) override { tell(&SessionView::player, action); }
  void seek(CMTime to, bool finished) override { tell(&SessionView::seek, to, finished); }
  void beacon(const URL& url) override { tell(&SessionView::beacon, url); }
  void note(std::string_view text) override { tell(&SessionView::note, text); }
  void finish() override { tell(&SessionView::finish); }

 private:
  template <class Operation, class... Arguments>
  void tell(Operation operation, const Arguments&... arguments) {
    for (auto* const view : views_) (view->*operation)(arguments...);
  }

  const std::vector<SessionView*> views_;
};

}  // namespace tarn::cli
