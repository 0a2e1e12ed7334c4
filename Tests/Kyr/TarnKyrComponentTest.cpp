#include "Kyr/TarnKyrComponent.h"

#include <gmock/gmock.h>

#include "Host/TarnBasicPlaybackSession.h"
#include "Host/TarnNotificationCenter.h"
#include "KyrStage.h"
#include "Support/TimePrinter.h"

namespace {

using namespace tarn::test;
using ::testing::ElementsAre;

class TarnKyrComponentTest : public ::testing::Test {
 protected:
  ~TarnKyrComponentTest() override { drainAll(); }

  std::shared_ptr<TarnPlayerSDKManager> manager = std::make_shared<TarnPlayerSDKManager>([this] {
    auto made = std::make_shared<FakePlayer>();
    player = made;
    return made;
  });
  std::weak_ptr<FakePlayer> player;
};

TEST_F(TarnKyrComponentTest, IsRegisteredTwiceForEachControllerAndPostsOneNotification) {
  Lines versions;
  const auto token = TarnNotificationCenter::defaultCenter().addObserverForName(
      kTarnNotificationAnalyticsPostFeatureAnalytics, [&](const TarnNotification& notification) {
        EXPECT_EQ(notification.sender, nullptr);
        versions.push_back(*notification.info->get<std::string>("kyr"));
      });
  const auto strategy = std::make_shared<TarnViewStrategy>();
  EXPECT_EQ(createKyrPlaybackControllerWithViewStrategy(manager, strategy)->viewStrategy(), strategy);
  EXPECT_THAT(versions, ElementsAre("6.3.12"));
  EXPECT_EQ(manager->components().size(), 2U);

  const auto upstream = std::make_shared<TarnBasicSessionProvider>();
  const auto provider = createKyrSessionProviderWithUpstreamSessionProvider(manager, upstream);
  EXPECT_EQ(std::static_pointer_cast<TarnKyrSessionProvider>(provider)->upstreamSessionProvider(), upstream);
  EXPECT_EQ(manager->components().size(), 3U);
}

/// Also when the application terminates a session inside one of its events.
TEST_F(TarnKyrComponentTest, MakesControllersThatPlayOneVideoAfterTheOther) {
  const auto controller = createKyrPlaybackController(manager);
  const char* const lastEvents[] = {"WillPauseForAd", "AdSequenceEnter", "AdEnter", "AdProgress",
                                    "AdExit",         "AdSequenceExit",  "End"};
  for (std::size_t i = 0; i < std::size(lastEvents); ++i) {
    controller->addVideo(ssaiVideo(serve(drawVMAP("a.."))));
    controller->addVideo(std::make_shared<const TarnVideo>(TarnMutableVideo{}));  // cannot be loaded
  }
  controller->begin();
  std::shared_ptr<TarnPlaybackSession> before;
  for (const auto* const name : lastEvents) {
    SCOPED_TRACE(name);
    const auto last = std::string("kTarnPlaybackSessionLifecycleEvent") + name;
    ASSERT_TRUE(await([&] {
      const auto session = controller->currentSession();
      return session && session != before && session->video();
    }));
    before = controller->currentSession();
    SessionRecorder recorder(*before);
    before->lifecycle().subscribeNext([last, &session = *before](const auto& event) {
      if (event->is(last) && !last.ends_with("EventEnd")) session.terminate();
    });
    player.lock()->becomeReady(15);
    if (const auto playing = player.lock()) playing->advance(20);
    EXPECT_NE(recorder.lastEvent(last), nullptr);
  }
}

TEST_F(TarnKyrComponentTest, ExtensionAsksAKyrSession) {
  KyrStage stage("..aa....");
  const auto extension = stage.session->providerExtension();
  EXPECT_TRUE(kyr_canSeek(extension));
  EXPECT_THAT(kyr_absoluteTimeAtContentTime(extension, at(12)), TimeEq(at(22)));
  EXPECT_THAT(kyr_contentTimeAtAbsoluteTime(extension, at(22)), TimeEq(at(12)));
  bool finished = false;
  kyr_seekToTime(extension, at(5), [&](bool landed) { finished = landed; });
  stage.tell("turn; run 8");
  EXPECT_TRUE(finished);
  EXPECT_FALSE(kyr_canSeek(extension));
}

TEST_F(TarnKyrComponentTest, ExtensionReturnsInvalidTimesBeforeTheLoadAndAfterTheSessionIsGone) {
  auto session = std::make_shared<TarnKyrSession>(nullptr, TarnLumoHTTPHeaders{});
  const auto extension = session->providerExtension();
  LogLines log;
  for (int i = 0; i < 2; ++i) {
    EXPECT_THAT(kyr_absoluteTimeAtContentTime(extension, at(1)), IdenticalTo(CMTime{}));
    EXPECT_THAT(kyr_contentTimeAtAbsoluteTime(extension, at(1)), IdenticalTo(CMTime{}));
    EXPECT_THAT(log.take(), ElementsAre());
    session.reset();
  }
  EXPECT_FALSE(kyr_canSeek(extension));
  kyr_seekToTime(extension, at(1), [](bool) { ADD_FAILURE(); });
}

TEST_F(TarnKyrComponentTest, ExtensionRefusesOnAnOrdinarySession) {
  const auto session = std::make_shared<TarnBasicPlaybackSession>(nullptr, nullptr, nullptr);
  const auto extension = session->providerExtension();
  LogLines log;
  EXPECT_FALSE(kyr_canSeek(extension));
  kyr_seekToTime(extension, at(1), [](bool) { ADD_FAILURE(); });
  EXPECT_THAT(log.take(), ElementsAre());
  EXPECT_THAT(kyr_absoluteTimeAtContentTime(extension, at(1)), IdenticalTo(kCMTimeZero));
  EXPECT_THAT(kyr_contentTimeAtAbsoluteTime(extension, at(1)), IdenticalTo(kCMTimeZero));
  EXPECT_THAT(log.take(), ElementsAre("absoluteTimeAtContentTime: not available in current session",
                                      "contentTimeAtAbsoluteTime: not available in current session"));
}

}  // namespace
