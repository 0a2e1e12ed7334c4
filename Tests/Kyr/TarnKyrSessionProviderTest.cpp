#include "Kyr/TarnKyrSessionProvider.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "Host/TarnBasicSessionProvider.h"
#include "Host/TarnErrorSession.h"
#include "KyrStage.h"
#include "Platform/Device.h"
#include "Platform/ProgrammingError.h"

namespace {

using namespace tarn::test;
using ::testing::ElementsAre;

class TarnKyrSessionProviderTest : public ::testing::Test {
 protected:
  TarnKyrSessionProviderTest() {
    provider->setSessionCommonProperties(common);
    subscription = provider->playbackSessionsForVideos(videos).subscribeNext(
        [this](const auto& session) { sessions.push_back(session); });
    server.setResponse("/vmap", {.body = drawVMAP("a..")});
  }
  ~TarnKyrSessionProviderTest() override { drainAll(); }

  void awaitSessions(std::size_t count) {
    ASSERT_TRUE(await([&] { return sessions.size() >= count; }));
  }
  /// Returns the error of the error session for the video.
  [[nodiscard]] tarn::Error errorFor(const std::shared_ptr<const TarnVideo>& video) {
    sessions.clear();
    videos.sendNext(video);
    awaitSessions(1);
    const auto& event = dynamic_cast<const TarnErrorSession&>(*sessions.at(0)).errorEvent();
    EXPECT_TRUE(event->is(kTarnKyrLifecycleErrorEvent));
    return *event->properties()->get<tarn::Error>(kTarnKyrLifecycleEventPropertiesKeyError);
  }

  LoopbackServer server;
  std::shared_ptr<TarnSessionCommonProperties> common = std::make_shared<TarnSessionCommonProperties>();
  std::shared_ptr<TarnBasicSessionProvider> upstream =
      std::make_shared<TarnBasicSessionProvider>([] { return std::make_shared<FakePlayer>(); });
  std::unique_ptr<TarnKyrSessionProvider> provider =
      std::make_unique<TarnKyrSessionProvider>(nullptr, upstream);
  Tarn_RACSubject<std::shared_ptr<const TarnVideo>> videos;
  std::vector<std::shared_ptr<TarnPlaybackSession>> sessions;
  Tarn_RACDisposable subscription;
};

TEST_F(TarnKyrSessionProviderTest, HasDefaultsForAbsentArguments) {
  const TarnKyrSessionProvider alone(nullptr, nullptr);
  EXPECT_FALSE(alone.upstreamSessionProvider()->shouldLoadVideo());
  provider->setOptions(nullptr);
  EXPECT_NE(provider->options(), nullptr);
  const auto agent = "ios-lumo-ux/6.3.12 (" + tarn::deviceModel() + "; " + tarn::systemVersion() + "; " +
                     tarn::localeIdentifier() + ")";
  EXPECT_THAT(alone.options()->httpHeaders, ElementsAre(::testing::Pair("User-Agent", agent)));
  LogLines log;
  EXPECT_THROW(TarnKyrSessionProvider(), tarn::ProgrammingError);
  EXPECT_THAT(log.take(), ElementsAre("Do not call -[TarnKyrSessionProvider init] directly, instead use "
                                      "-[TarnPlayerSDKManager createKyrSessionProviderWithOptions:]"));
}

TEST_F(TarnKyrSessionProviderTest, YieldsSessionsThatAreLoadedAndHaveNotBegun) {
  const auto options = std::make_shared<TarnKyrSessionProviderOptions>();
  options->httpHeaders = {{"User-Agent", "set-top/1"}, {"X-Device", "living room"}};
  provider->setOptions(options);
  videos.sendNext(ssaiVideo(server.url("/vmap")));
  awaitSessions(1);
  const auto session = std::dynamic_pointer_cast<TarnKyrSession>(sessions.at(0));
  ASSERT_NE(session, nullptr);
  EXPECT_EQ(session->loadState().get(), TarnKyrLoadStateComplete);
  EXPECT_EQ(session->sessionCommonProperties(), common);
  EXPECT_EQ(session->innerPlaybackSession()->sessionCommonProperties(), common);
  EXPECT_THAT(*static_cast<const FakePlayer&>(*session->player()).calls(),
              ElementsAre("load http://stream.example/m.m3u8"));  // by the session, not from upstream
  EXPECT_THAT(server.requests().at(0).values("user-agent"), ElementsAre("set-top/1"));
  EXPECT_THAT(server.requests().at(0).values("x-device"), ElementsAre("living room"));
}

TEST_F(TarnKyrSessionProviderTest, LoadsDocumentsIndependentlyAndFinishesAfterItsRelease) {
  server.hold("/vmap");
  const auto fast = serve(drawVMAP("b.."));
  videos.sendNext(ssaiVideo(server.url("/vmap")));
  videos.sendNext(ssaiVideo(fast));
  provider.reset();
  awaitSessions(1);
  server.release();
  awaitSessions(2);
  EXPECT_EQ(sessions.at(0)->source()->url(), fast);
  EXPECT_EQ(sessions.at(1)->source()->url(), server.url("/vmap"));
}

TEST_F(TarnKyrSessionProviderTest, YieldsNoSessionAfterTheSubscriptionHasEnded) {
  server.hold("/vmap");
  videos.sendNext(ssaiVideo(server.url("/vmap")));
  ASSERT_TRUE(server.waitForRequests(1));
  subscription.dispose();
  server.release();
  drainAll();
  EXPECT_TRUE(sessions.empty());
}

TEST_F(TarnKyrSessionProviderTest, YieldsAnErrorSessionWithTheCauseForADocumentThatCannotBeLoaded) {
  const auto noServer = std::make_unique<LoopbackServer>()->url("/vmap");
  const auto empty = serve("");
  const auto unreadable = serve(vmap(simpleBreak("soon", "00:00:10")));
  for (const auto& [document, cause] :
       {std::pair(noServer, 4010), std::pair(empty, 4011), std::pair(unreadable, 4011)}) {
    const auto error = errorFor(ssaiVideo(document));
    ASSERT_NE(error.underlying, nullptr);
    EXPECT_EQ(fmt::format("{} {}: {} {}", error.domain, error.code, error.underlying->domain,
                          error.underlying->code),
              fmt::format("kTarnKyrErrorDomain 509: TarnLumoErrorDomain {}", cause));
  }
}

TEST_F(TarnKyrSessionProviderTest, YieldsAnErrorSessionWithoutACauseForAVideoWithoutADocument) {
  EXPECT_EQ(errorFor(std::make_shared<const TarnVideo>(TarnMutableVideo{})),
            (tarn::Error{.domain = kTarnKyrErrorDomain, .code = 509}));
  SessionRecorder recorder(*sessions.at(0));
  sessions.at(0)->begin();
  EXPECT_THAT(recorder.take(), ElementsAre("Begin", "kTarnKyrLifecycleErrorEvent", "Terminate"));
}

}  // namespace
