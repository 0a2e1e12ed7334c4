#include "Support/SessionRecorder.h"

#include <fmt/format.h>

#include <algorithm>

namespace tarn::test {
namespace {

std::string shortType(const std::string& type) {
  constexpr std::string_view kCommon = "kTarnPlaybackSessionLifecycleEvent";
  return type.starts_with(kCommon) ? type.substr(kCommon.size()) : type;
}

std::string text(const TarnPlaybackSession::TimeRanges& ranges) {
  if (!ranges) return " unknown";
  std::string all;
  for (const auto& range : *ranges) {
    all += fmt::format(" {}+{}", CMTimeGetSeconds(range.start), CMTimeGetSeconds(range.duration));
  }
  return all;
}

}  // namespace

SessionRecorder::SessionRecorder(const TarnPlaybackSession& session) {
  const auto write = [lines = lines_](std::string line) { lines->push_back(std::move(line)); };
  subscriptions_.add(session.lifecycle().subscribeNext([write, events = events_](const auto& event) {
    events->push_back(event);
    write(event ? shortType(event->eventType()) : "none");
  }));
  subscriptions_.add(session.progress().subscribeNext(
      [write](CMTime time) { write(fmt::format("progress {}", CMTimeGetSeconds(time))); }));
  subscriptions_.add(session.durationChanges().subscribeNext(
      [write](CMTime time) { write(fmt::format("duration {}", CMTimeGetSeconds(time))); }));
  subscriptions_.add(session.seekableRangesChanges().subscribeNext(
      [write](const auto& ranges) { write("seekable" + text(ranges)); }));
  subscriptions_.add(session.loadedTimeRangesChanges().subscribeNext(
      [write](const auto& ranges) { write("loaded" + text(ranges)); }));
  subscriptions_.add(session.cuePoints().subscribeNext(
      [write](const auto& points) { write(fmt::format("cuePoints {}", points->array().size())); }));
  subscriptions_.add(session.isExternalPlaybackActive().subscribeNext(
      [write](bool active) { write(fmt::format("external {}", active)); }));
}

TarnPlaybackSession::LifecycleEvent SessionRecorder::lastEvent(std::string_view type) const {
  const auto found = std::find_if(events_->rbegin(), events_->rend(),
                                  [&](const auto& event) { return event && event->is(type); });
  return found == events_->rend() ? nullptr : *found;
}

}  // namespace tarn::test
