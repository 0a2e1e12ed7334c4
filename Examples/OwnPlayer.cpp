// An application that brings its own player, which shows nothing: it plays a stream of a given length against
// the clock. What is printed is what the application sees: content time, and the ads.

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <thread>
#include <utility>

#include "Host/TarnPlayerSDKManager.h"
#include "Kyr/TarnKyrComponent.h"
#include "Lumo/HTTPBeaconSink.h"
#include "Platform/Queue.h"

/// Each operation and each task holds the player, so that a listener may drop it in the middle of a report.
class ClockPlayer final : public TarnPlayer, public std::enable_shared_from_this<ClockPlayer> {
 public:
  explicit ClockPlayer(CMTime length) : length_(length) {}

  void loadURL(const tarn::URL& url) override {
    const auto keepAlive = shared_from_this();
    if (!reporter_.joinable()) startReporting();
    settle();
    dropSeek();
    position_ = kCMTimeZero;
    error_.reset();
    currentItemDuration_.set(kCMTimeIndefinite);
    seekableTimeRanges_.set(std::nullopt);
    loadedTimeRanges_.set(std::nullopt);
    state_.set(TarnPlayerState::loading);
    const bool isWeb = tarn::isWebScheme(url.scheme());
    later([isWeb, load = ++loads_](ClockPlayer& self) {
      if (load == self.loads_) isWeb ? self.becomeReady() : self.refuseItem();
    });
  }

  void play() override {
    const auto keepAlive = shared_from_this();
    if (state_.get() == TarnPlayerState::failed) return;
    if (state_.get() == TarnPlayerState::ended && !seek_) return;
    settle();
    playing_.set(true);
  }

  void pause() override {
    const auto keepAlive = shared_from_this();
    settle();
    playing_.set(false);
  }

  void seekToTime(CMTime time, CMTime /*before*/, CMTime /*after*/, SeekCompletion completion) override {
    settle();
    dropSeek();
    const bool hasItem = state_.get() != TarnPlayerState::empty && state_.get() != TarnPlayerState::failed;
    const bool isPlace = CMTIME_IS_NUMERIC(time) || CMTIME_IS_POSITIVE_INFINITY(time);
    seek_ = Seek{time, std::move(completion)};
    if (!hasItem || !isPlace) return dropSeek();
    if (state_.get() != TarnPlayerState::loading) landLater();
  }

  [[nodiscard]] CMTime currentTime() const override {
    if (!isMoving()) return position_;
    const std::chrono::duration<double> elapsed = Clock::now() - since_;
    const CMTime now = CMTimeAdd(position_, CMTimeMakeWithSeconds(elapsed.count(), 90'000));
    return now < length_ ? now : length_;
  }

 private:
  using Clock = std::chrono::steady_clock;
  struct Seek {
    CMTime time;
    SeekCompletion completion;
  };

  /// A task for a later turn of the main queue; forgotten when the player is gone by then.
  void later(std::function<void(ClockPlayer&)> task) {
    tarn::MainQueue::shared().async([weak = weak_from_this(), task = std::move(task)] {
      if (const auto self = weak.lock()) task(*self);
    });
  }

  /// A thread that does nothing but post; the playhead is looked at on the main queue.
  void startReporting() {
    reporter_ = std::jthread([weak = weak_from_this()](const std::stop_token& stop) {
      while (!stop.stop_requested()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        tarn::MainQueue::shared().async([weak] {
          if (const auto self = weak.lock()) self->report();
        });
      }
    });
  }

  [[nodiscard]] bool isMoving() const {
    return playing_.get() && !seek_ && state_.get() == TarnPlayerState::ready;
  }
  /// To be called before anything that starts or stops the playhead.
  void settle() {
    position_ = currentTime();
    since_ = Clock::now();
  }

  void becomeReady() {
    currentItemDuration_.set(length_);
    seekableTimeRanges_.set(std::vector{CMTimeRangeMake(kCMTimeZero, length_)});
    loadedTimeRanges_.set(seekableTimeRanges_.get());
    settle();
    state_.set(TarnPlayerState::ready);
    if (seek_) landLater();
  }

  void refuseItem() {
    dropSeek();
    error_ = tarn::Error::make(TarnPlayerErrorDomain, TarnPlayerErrorCode::unsupportedScheme,
                               "The stream is neither http nor https");
    state_.set(TarnPlayerState::failed);
    playing_.set(false);
  }

  void report() {
    if (!isMoving()) return;
    const CMTime now = currentTime();
    if (now < length_) return progress_.set(now);
    settle();
    progress_.set(length_);
    state_.set(TarnPlayerState::ended);
    playing_.set(false);
  }

  void landLater() {
    later([number = seeks_](ClockPlayer& self) { self.land(number); });
  }

  void land(int number) {
    if (!seek_ || number != seeks_) return;
    const Seek seek = *std::exchange(seek_, std::nullopt);
    position_ = std::clamp(seek.time, kCMTimeZero, length_);
    since_ = Clock::now();
    if (state_.get() == TarnPlayerState::ended) state_.set(TarnPlayerState::ready);
    if (seek.completion) seek.completion(true);
    if (!seek_) progress_.set(currentTime());
  }

  void dropSeek() {
    ++seeks_;
    const auto seek = std::exchange(seek_, std::nullopt);
    if (seek && seek->completion) later([completion = seek->completion](ClockPlayer&) { completion(false); });
  }

  const CMTime length_;
  CMTime position_ = kCMTimeZero;  // when it was `since_`
  Clock::time_point since_ = Clock::now();
  int loads_ = 0;
  int seeks_ = 0;
  std::optional<Seek> seek_;
  std::jthread reporter_;
};

class Screen final : public TarnSessionConsumer {
 public:
  void didAdvanceToPlaybackSession(const std::shared_ptr<TarnPlaybackSession>& session) override {
    session->progress().subscribeNext(
        [](CMTime t) { std::cout << "content " << CMTimeGetSeconds(t) << '\n'; });
    session->lifecycle().subscribeNext([this](const TarnPlaybackSession::LifecycleEvent& event) {
      if (event) show(*event);
    });
  }
  bool over = false;

 private:
  void show(const TarnPlaybackSessionLifecycleEvent& event) {
    if (const auto error = event.error()) std::cerr << tarn::chainDescription(*error) << '\n';
    if (event.is(kTarnPlaybackSessionLifecycleEventAdEnter) && event.ad())
      std::cout << "ad \"" << event.ad()->title().value_or("") << "\"\n";
    if (event.is(kTarnPlaybackSessionLifecycleEventAdSequenceExit)) std::cout << "back to the content\n";
    if (event.is(kTarnPlaybackSessionLifecycleEventEnd)) over = true;
    if (event.is(kTarnPlaybackSessionLifecycleEventTerminate)) over = true;
  }
};

int main(int argc, char** argv) {
  const auto vmap = argc == 3 ? tarn::URL::fromString(argv[1]) : std::nullopt;
  const double seconds = argc == 3 ? std::atof(argv[2]) : 0;
  if (!vmap || !(seconds > 0)) {
    std::cerr << "usage: own_player VMAP-URL SECONDS-OF-THE-STREAM\n";
    return 2;
  }
  const auto manager = std::make_shared<TarnPlayerSDKManager>(
      [seconds] { return std::make_shared<ClockPlayer>(CMTimeMakeWithSeconds(seconds, 600)); });
  const auto controller = createKyrPlaybackController(manager);
  const auto screen = std::make_shared<Screen>();
  controller->addSessionConsumer(screen);
  const auto source = std::make_shared<const TarnSource>(vmap, kTarnSourceDeliveryLumo);
  controller->addVideo(std::make_shared<const TarnVideo>(TarnMutableVideo{.sources = {source}}));
  controller->begin();
  tarn::MainQueue::shared().runUntil([&] { return screen->over; }, std::chrono::hours(24));
  controller->terminate();
  tarn::HTTPBeaconSink::shared()->flush(std::chrono::seconds(5));  // the last ad's beacons
}
