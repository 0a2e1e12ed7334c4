#pragma once

#include <memory>
#include <vector>

#include "Host/TarnPlaybackSession.h"
#include "Lumo/TarnLumoAd.h"
#include "Reactive/Tarn_RACSubject.h"
#include "Support/FakePlayer.h"

namespace tarn::test {

/// A session that sends the lifecycle events chosen by the test, over a player in virtual time.
class ScriptedSession final : public TarnPlaybackSession {
 public:
  using LumoAd = std::shared_ptr<const TarnLumoAd>;

  /// Makes the player's item ready, with that duration.
  explicit ScriptedSession(double itemSeconds = 600);

  void enterBreak(const std::vector<LumoAd>& ads);
  void exitBreak() { send(kTarnPlaybackSessionLifecycleEventAdSequenceExit); }
  void enterAd(const LumoAd& ad) { sendWithAd(kTarnPlaybackSessionLifecycleEventAdEnter, ad); }
  void exitAd(const LumoAd& ad) { sendWithAd(kTarnPlaybackSessionLifecycleEventAdExit, ad); }
  void progress(const LumoAd& ad, double inAdSeconds);
  void send(const char* type, tarn::Dictionary properties = {});
  void sendNothing() { lifecycle_.sendNext(nullptr); }

  [[nodiscard]] FakePlayer& fakePlayer() { return *player_; }
  /// The calls of the player since the last `takeCalls`.
  [[nodiscard]] std::vector<std::string> takeCalls() { return std::exchange(*player_->calls(), {}); }
  void dropPlayer() { player_.reset(); }

  [[nodiscard]] std::shared_ptr<const TarnVideo> video() const override { return nullptr; }
  [[nodiscard]] std::shared_ptr<const TarnSource> source() const override { return nullptr; }
  [[nodiscard]] std::shared_ptr<TarnPlayer> player() const override { return player_; }
  void setSessionCommonProperties(const std::shared_ptr<TarnSessionCommonProperties>&) override {}
  [[nodiscard]] std::shared_ptr<TarnSessionCommonProperties> sessionCommonProperties() const override {
    return nullptr;
  }
  void loadVideoURL(const tarn::URL&) override {}
  void begin() override {}
  void terminate() override {
    send(kTarnPlaybackSessionLifecycleEventTerminate);
    dropPlayer();
  }
  void avPlayerPlay() override { player_->play(); }
  void avPlayerPause() override { player_->pause(); }
  void resumeVideoAtTime(CMTime, bool) override {}
  [[nodiscard]] Tarn_RACSignal<CMTime> progress() const override { return Silence(); }
  [[nodiscard]] Tarn_RACSignal<CMTime> durationChanges() const override { return Silence(); }
  [[nodiscard]] Tarn_RACSignal<TimeRanges> seekableRangesChanges() const override { return Silence(); }
  [[nodiscard]] Tarn_RACSignal<TimeRanges> loadedTimeRangesChanges() const override { return Silence(); }
  [[nodiscard]] Tarn_RACSignal<bool> isExternalPlaybackActive() const override { return Silence(); }
  [[nodiscard]] Tarn_RACSignal<CuePoints> cuePoints() const override { return Silence(); }
  [[nodiscard]] Tarn_RACSignal<LifecycleEvent> lifecycle() const override { return lifecycle_; }

 private:
  struct Silence {
    template <typename T>
    operator Tarn_RACSignal<T>() const {
      return Tarn_RACSignal<T>::never();
    }
  };

  void sendWithAd(const char* type, const LumoAd& ad, tarn::Dictionary properties = {});

  std::shared_ptr<FakePlayer> player_ = std::make_shared<FakePlayer>();
  Tarn_RACSubject<LifecycleEvent> lifecycle_;
};

/// An ad of the stream, in seconds of absolute time.
struct AdPlan {
  double beginTime = 0;
  double duration = 30;
  std::optional<double> skipOffset = std::nullopt;
  bool hasPage = false;
  std::string id = "a";
};
[[nodiscard]] std::shared_ptr<const TarnLumoAd> makeAd(const AdPlan& plan);

}  // namespace tarn::test
