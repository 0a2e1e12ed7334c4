#include "Host/TarnBasicSessionProvider.h"

#include <gmock/gmock.h>

#include "Support/FakePlayer.h"

namespace {

using tarn::test::FakePlayer;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Video = std::shared_ptr<const TarnVideo>;
using Source = std::shared_ptr<const TarnSource>;

Source makeSource(const char* url, std::optional<std::string> method) {
  return std::make_shared<const TarnSource>(url ? tarn::URL::fromString(url) : std::nullopt,
                                            std::move(method));
}

Video makeVideo(std::vector<Source> sources) {
  return std::make_shared<const TarnVideo>(TarnMutableVideo{.sources = std::move(sources)});
}

class TarnBasicSessionProviderTest : public ::testing::Test {
 protected:
  TarnBasicSessionProvider provider{[] { return std::make_shared<FakePlayer>(); }};
  std::shared_ptr<TarnSessionCommonProperties> common = std::make_shared<TarnSessionCommonProperties>();

  std::vector<std::shared_ptr<TarnPlaybackSession>> sessionsFor(std::vector<Video> videos) {
    std::vector<std::shared_ptr<TarnPlaybackSession>> sessions;
    bool completed = false;
    provider.playbackSessionsForVideos(TarnSessionProvider::Videos::values(std::move(videos)))
        .subscribeNext([&](const auto& session) { sessions.push_back(session); }, [](const auto&) {},
                       [&] { completed = true; });
    EXPECT_TRUE(completed);
    return sessions;
  }
  static std::vector<std::string> callsOf(const std::shared_ptr<TarnPlaybackSession>& session) {
    return *std::static_pointer_cast<FakePlayer>(session->player())->calls();
  }
};

TEST_F(TarnBasicSessionProviderTest, SelectsTheFirstSourceWithAPlayableDeliveryMethod) {
  const auto policy = provider.sourceSelectionPolicy();
  const auto hls = makeSource("http://host/a", "KTARNSOURCEDELIVERYhls");
  const auto plain = makeSource("http://host/b", std::nullopt);
  const auto foreign = makeSource("http://host/c", kTarnSourceDeliveryQuillSSAI);
  const auto nowhere = makeSource(nullptr, kTarnSourceDeliveryHLS);
  EXPECT_EQ(policy(*makeVideo({foreign, nowhere, hls, plain})), hls);
  EXPECT_EQ(policy(*makeVideo({plain, hls})), plain);
  EXPECT_EQ(policy(*makeVideo({foreign, nowhere})), nullptr);
}

TEST_F(TarnBasicSessionProviderTest, MakesALoadedSessionWithItsOwnPlayerForEachVideo) {
  provider.setSessionCommonProperties(common);
  const auto first = makeVideo({makeSource("http://host/a", std::nullopt)});
  const auto second = makeVideo({makeSource("http://host/b", std::nullopt)});
  const auto sessions = sessionsFor({first, second});
  EXPECT_EQ(sessions.at(0)->video(), first);
  EXPECT_EQ(sessions.at(1)->source(), second->sources()[0]);
  EXPECT_THAT(callsOf(sessions[0]), ElementsAre("load http://host/a"));
  EXPECT_THAT(callsOf(sessions[1]), ElementsAre("load http://host/b"));
  EXPECT_EQ(sessions[0]->sessionCommonProperties(), common);
}

TEST_F(TarnBasicSessionProviderTest, LoadsNothingWhenAutomaticLoadingIsOffOrWithoutAUsableSource) {
  const auto video = makeVideo({makeSource("http://host/a", std::nullopt)});
  EXPECT_THAT(callsOf(sessionsFor({makeVideo({})}).at(0)), IsEmpty());
  provider.setShouldLoadVideo(false);
  EXPECT_THAT(callsOf(sessionsFor({video}).at(0)), IsEmpty());
}

TEST_F(TarnBasicSessionProviderTest, UsesTheCommonPropertiesPolicyWhileTheyHaveOne) {
  const auto chosen = makeSource("http://host/chosen", kTarnSourceDeliveryHLS);
  const auto video = makeVideo({makeSource("http://host/a", std::nullopt)});
  provider.setSessionCommonProperties(common);
  common->sourceSelectionPolicy.set([chosen](const TarnVideo&) { return chosen; });
  EXPECT_EQ(sessionsFor({video})[0]->source(), chosen);
  common.reset();
  EXPECT_EQ(sessionsFor({video})[0]->source(), video->sources()[0]);
}

}  // namespace
