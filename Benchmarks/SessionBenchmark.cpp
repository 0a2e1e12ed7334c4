#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <chrono>
#include <memory>
#include <string>
#include <utility>

#include "CountingBeaconSink.h"
#include "Host/PlayerBase.h"
#include "Host/TarnBasicSessionProvider.h"
#include "Host/TarnPlaybackController.h"
#include "KeepAliveResponder.h"
#include "Kyr/TarnKyrSession.h"
#include "Kyr/TarnKyrSessionProvider.h"
#include "Lumo/TarnLumoTimelineOperation.h"
#include "Platform/MainQueue.h"

/// The cost of a session: from the video to the first content time, for one report of the player, and for an
/// hour of playback. The document is loaded over HTTP from this machine; the benchmark sets the player's
/// positions.
namespace {

using namespace kyr_benchmarks;

constexpr int kBreaks = 12;
constexpr int kContentSeconds = 3600;
constexpr int kAdSeconds = 30;
constexpr int kPayloadSeconds = kContentSeconds + kBreaks * kAdSeconds;
constexpr CMTimeScale kTimescale = 600;
constexpr std::int64_t kStep = kTimescale / 4;

/// An hour of content with a break of two ads every five minutes, the first at the start.
std::string hourOfContent() {
  std::string text = fmt::format(
      "<vmap:VMAP xmlns:vmap=\"http://www.iab.net/videosuite/vmap\" xmlns:mh=\"urn:mh\" version=\"1.0\">"
      "<vmap:Extensions><mh:Marlith contenturi=\"https://stream.example/m.m3u8\" payloadlength=\"{}\" "
      "contentlength=\"{}\"/></vmap:Extensions>",
      kPayloadSeconds, kContentSeconds);
  for (int i = 0; i < 2 * kBreaks; ++i) {
    text += fmt::format(
        "<vmap:AdBreak timeOffset=\"00:{:02}:00\" breakType=\"linear\"><vmap:AdSource><vmap:VASTAdData>"
        "<VAST version=\"3.0\"><Ad id=\"{}\"><InLine><Impression>https://t.example/i</Impression><Creatives>"
        "<Creative><Linear><Duration>00:00:15</Duration><TrackingEvents>"
        "<Tracking event=\"start\" offset=\"0\">https://t.example/s</Tracking>"
        "<Tracking event=\"firstQuartile\" offset=\"3.75\">https://t.example/q1</Tracking>"
        "<Tracking event=\"midpoint\" offset=\"7.5\">https://t.example/q2</Tracking>"
        "<Tracking event=\"thirdQuartile\" offset=\"11.25\">https://t.example/q3</Tracking>"
        "<Tracking event=\"complete\">https://t.example/c</Tracking></TrackingEvents></Linear></Creative>"
        "</Creatives></InLine></Ad></VAST></vmap:VASTAdData></vmap:AdSource></vmap:AdBreak>",
        5 * (i / 2), i);
  }
  return text + "</vmap:VMAP>";
}

/// A player whose position the benchmark sets, so that only the report is measured. A seek alone leads back.
class GivenPlayer final : public tarn::PlayerBase {
 public:
  void report(CMTime time) {
    if (time >= playhead_) {
      playhead_ = time;
      return (void)reportPosition();
    }
    seekToTime(time, kCMTimeZero, kCMTimeZero, nullptr);
    tarn::MainQueue::shared().drain();
  }

 private:
  void doLoad(const tarn::URL&) override { reportReady({.duration = CMTimeMake(kPayloadSeconds, 1)}); }
  void doPlay() override {}
  void doPause() override {}
  void doSeek(const tarn::PlayerSeek& seek) override { reportLanded(playhead_ = seek.time); }
  [[nodiscard]] std::optional<CMTime> playhead() const override { return playhead_; }

  CMTime playhead_ = kCMTimeZero;
};

/// One video from the controller to the application's subscriber.
class Viewing final : public TarnSessionConsumer, public std::enable_shared_from_this<Viewing> {
 public:
  explicit Viewing(const tarn::URL& document) {
    auto options = std::make_shared<TarnKyrSessionProviderOptions>();
    options->beaconSink = beaconSink_;
    auto players = std::make_shared<TarnBasicSessionProvider>(
        [this] { return player_ = std::make_shared<GivenPlayer>(); });
    controller_ = std::make_shared<TarnPlaybackController>(
        std::make_shared<TarnKyrSessionProvider>(std::move(options), std::move(players)), nullptr);
    TarnMutableVideo video;
    video.sources = {std::make_shared<TarnSource>(document, kTarnSourceDeliveryLumo)};
    controller_->addVideo(std::make_shared<TarnVideo>(std::move(video)));
  }

  void begin() {
    controller_->addSessionConsumer(weak_from_this());
    controller_->begin();
    const auto hasBegun = [this] {
      return controller_->currentSession() && player_->state().get() == TarnPlayerState::ready;
    };
    tarn::MainQueue::shared().runUntil(hasBegun, std::chrono::seconds(10));
  }

  void didAdvanceToPlaybackSession(const std::shared_ptr<TarnPlaybackSession>& session) override {
    session->progress().subscribeNext([this](CMTime) { ++contentTimes; });
    session->lifecycle().subscribeNext([this](const auto&) { ++lifecycleEvents; });
  }

  /// Sets and reports the player's position.
  void report(std::int64_t ticks) { player_->report(CMTimeMake(ticks, kTimescale)); }

  [[nodiscard]] const TarnKyrSession& session() const {
    return dynamic_cast<const TarnKyrSession&>(*controller_->currentSession());
  }
  [[nodiscard]] std::int64_t beacons() const { return beaconSink_->beacons; }

  std::int64_t contentTimes = 0;
  std::int64_t lifecycleEvents = 0;

 private:
  std::shared_ptr<CountingBeaconSink> beaconSink_ = std::make_shared<CountingBeaconSink>();
  std::shared_ptr<GivenPlayer> player_;
  std::shared_ptr<TarnPlaybackController> controller_;
};

tarn::URL documentURL() {
  static const KeepAliveResponder responder(hourOfContent());
  return *tarn::URL::fromString(responder.url("/hour.xml"));
}

std::shared_ptr<Viewing> beginViewing() {
  auto viewing = std::make_shared<Viewing>(documentURL());
  viewing->begin();
  return viewing;
}

/// The baseline of the construction: the load of the timeline alone.
void loadTimeline(benchmark::State& state) {
  const auto url = documentURL();
  for (auto _ : state) {
    const auto operation = TarnLumoTimeline::timelineOperationForLumoUXURL(url);
    operation->start();
    const auto isFinished = [&] { return operation->isFinished(); };
    tarn::MainQueue::shared().runUntil(isFinished, std::chrono::seconds(10));
  }
}

void constructionToFirstContentTime(benchmark::State& state) {
  for (auto _ : state) {
    const auto viewing = beginViewing();
    viewing->report((kAdSeconds + 1) * kTimescale);
    if (viewing->contentTimes == 0) state.SkipWithError("no content time arrived");
  }
}

/// Between two breaks.
constexpr std::int64_t kStretchBegin = (kAdSeconds + 1) * kTimescale;
constexpr std::int64_t kStretchEnd = kStretchBegin + 298 * kTimescale;

std::int64_t nextInStretch(std::int64_t ticks) {
  return ticks + kStep < kStretchEnd ? ticks + kStep : kStretchBegin;
}

/// The baseline of the update: the tracker alone.
void updateOfTracker(benchmark::State& state) {
  const auto viewing = beginViewing();
  const auto tracker = std::make_shared<TarnLumoProgressTracker>(viewing->session().timeline());
  std::int64_t ticks = kStretchBegin;
  for (auto _ : state) tracker->setAbsoluteTime(CMTimeMake(ticks = nextInStretch(ticks), kTimescale));
}

void updateThroughSession(benchmark::State& state) {
  const auto viewing = beginViewing();
  std::int64_t ticks = kStretchBegin;
  for (auto _ : state) viewing->report(ticks = nextInStretch(ticks));
  if (viewing->contentTimes < state.iterations()) state.SkipWithError("content times are missing");
}

void hourOfViewing(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    const auto viewing = beginViewing();
    state.ResumeTiming();
    for (std::int64_t ticks = 0; ticks <= kPayloadSeconds * kTimescale; ticks += kStep)
      viewing->report(ticks);
    state.counters["beacons"] = static_cast<double>(viewing->beacons());
    state.counters["lifecycleEvents"] = static_cast<double>(viewing->lifecycleEvents);
  }
}

BENCHMARK(loadTimeline)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(constructionToFirstContentTime)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(updateOfTracker);
BENCHMARK(updateThroughSession);
BENCHMARK(hourOfViewing)->Unit(benchmark::kMillisecond);

}  // namespace
