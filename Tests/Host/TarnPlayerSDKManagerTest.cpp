#include "Host/TarnPlayerSDKManager.h"

#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;

template <int kClass>
struct StubComponent final : TarnComponent {
  StubComponent(std::string given, std::vector<std::string>& log) : version(std::move(given)), posted(log) {}
  [[nodiscard]] std::type_index componentClass() const override { return typeid(StubComponent); }
  [[nodiscard]] std::string versionIdentifier() const override { return version; }
  void tarn_componentIdentity() override { ++identified; }
  void tarn_setComponentContext(const TarnComponentContext& given) override { context = given; }
  void postFeatureAnalytics() override { posted.push_back(version); }

  int identified = 0;
  TarnComponentContext context;
  const std::string version;
  std::vector<std::string>& posted;
};

TEST(TarnPlayerSDKManagerTest, KeepsEveryComponentAndLetsTheNewestOfEachClassPost) {
  std::vector<std::string> posted;
  const auto manager = std::make_shared<TarnPlayerSDKManager>(nullptr);
  const auto first = std::make_shared<StubComponent<1>>("1.0", posted);
  const auto other = std::make_shared<StubComponent<2>>("2.0", posted);
  const auto again = std::make_shared<StubComponent<1>>("1.1", posted);
  manager->registerComponent(first);
  manager->registerComponent(other);
  manager->registerComponent(again);
  EXPECT_THAT(manager->components(), ElementsAre(first, other, again));
  EXPECT_EQ(again->identified, 1);
  EXPECT_EQ(again->context.manager.lock(), manager);
  EXPECT_NE(manager->createPlaybackControllerWithSessionProvider(nullptr), nullptr);
  EXPECT_THAT(posted, ElementsAre("1.1", "2.0"));
}

}  // namespace
