#include "Playback.h"

#include <functional>
#include <utility>

namespace tarn::cli {
namespace {

/// Shows each beacon, and sends it.
class ShowingDigester final : public TarnLumoAnalyticsDigester {
 public:
  explicit ShowingDigester(PlayView& view) : view_(view) {}

  void digestEvent(const std::optional<URL>& url) override {
    if (url) view_.beacon(*url);
    TarnLumoAnalyticsDigester::digestEvent(url);
  }

 private:
  PlayView& view_;
};

CMTime totalAdTime(const TarnLumoTimeline& timeline) {
  CMTime sum = kCMTimeZero;
  for (const auto& sequence : timeline.adSequences()) sum = CMTimeAdd(sum, sequence->duration());
  return sum;
}

}  // namespace

Playback::Playback(std::shared_ptr<const TarnLumoTimeline> timeline, TarnPlayer& player, PlayView& view)
    : player_(player),
      view_(view),
      adTime_(totalAdTime(*timeline)),
      tracker_(std::make_shared<TarnLumoProgressTracker>(std::move(timeline))),
      digester_(std::make_shared<ShowingDigester>(view)) {
  // The view listens before the analytics does, so that it hears of an event before the beacons it causes.
  showTracker();
  analytics_ = TarnLumoAnalyticsSession::initWithProgessTracker(tracker_, digester_);
  feedTracker();
  showPlayer();
}

void Playback::showTracker() {
  observations_.push_back(tracker_->event().observe(
      [this](const auto& event) { view_.event(*event, tracker_->absoluteTime()); }));
  observations_.push_back(tracker_->contentTime().observe([this](CMTime time) { view_.progress(time); }));
  observations_.push_back(tracker_->contentSeekableTimeRanges().observe(
      [this](const auto& ranges) { view_.ranges("seekable", ranges); }));
  observations_.push_back(tracker_->contentLoadedTimeRanges().observe(
      [this](const auto& ranges) { view_.ranges("loaded", ranges); }));
}

template <typename T, typename React>
void Playback::observePlayer(Observable<T>& value, React react) {
  observations_.push_back(value.observe([this, react](const T& now) {
    view_.beginUpdate();
    react(now);
  }));
}

void Playback::feedTracker() {
  observePlayer(player_.progress(), [this](CMTime time) { tracker_->setAbsoluteTime(time); });
  observePlayer(player_.seekableTimeRanges(),
                [this](const auto& ranges) { tracker_->setAbsoluteSeekableTimeRanges(ranges); });
  observePlayer(player_.loadedTimeRanges(),
                [this](const auto& ranges) { tracker_->setAbsoluteLoadedTimeRanges(ranges); });
}

void Playback::showPlayer() {
  observePlayer(player_.currentItemDuration(), [this](const auto& duration) {
    if (duration && CMTIME_IS_NUMERIC(*duration)) view_.duration(CMTimeSubtract(*duration, adTime_));
  });
  observePlayer(player_.buffering(), [this](bool waits) { view_.buffering(waits); });
  observePlayer(player_.playing(), [this](bool plays) { view_.playing(plays); });
  observePlayer(player_.state(), [this](TarnPlayerState state) {
    if (state == TarnPlayerState::ended) view_.ended();
  });
}

void Playback::load(const URL& stream) {
  view_.beginUpdate();
  view_.action("load", stream);
  player_.loadURL(stream);
}

void Playback::play() {
  view_.beginUpdate();
  view_.action("play", std::nullopt);
  player_.play();
}

void Playback::pause() {
  view_.beginUpdate();
  view_.action("pause", std::nullopt);
  player_.pause();
}

void Playback::togglePlaying() {
  player_.playing().get() ? pause() : play();
}

}  // namespace tarn::cli
